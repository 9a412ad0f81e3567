// Copies between types, layouts and colour models, conversions, bounds, histograms, arithmetic and colour.
#include <cstring>

#include "pzel/bounds/histogram.h"
#include "pzel/bounds/min_max.h"
#include "pzel/colour/convert_image.h"
#include "pzel/pixels/arithmetic.h"
#include "pzel/pixels/bits.h"
#include "pzel/pixels/typed_copy.h"
#include "pzel/pixels/yuv.h"
#include "tests/guard/operations.h"
#include "tests/guard/picture.h"
#include "tests/support/curve.h"

namespace guard {

namespace {

using Operations = std::vector<Operation>;

const std::initializer_list<int> kAllTypes = {DataBit,   DataUInt8,  DataInt8,  DataUInt16,
                                              DataInt16, DataUInt32, DataInt32, DataFloat};
const std::initializer_list<int> kMeasured = {DataUInt8, DataInt8, DataUInt16, DataInt16, DataFloat};

/// A rectangle that ends with its image, to another offset of an image that ends there.
void addCopies(Operations& all) {
    const auto add = [&](const Kind& from, const Kind& to, Levels levels, unsigned short mode) {
        const auto run = [=](Memory& memory, Span span) {
            const int left = span.offset * 5 % 64;
            Picture source(memory, from, span.offset + span.width, levels);
            Picture target(memory, to, left + span.width);
            CopyImage(&source, &target, span.offset, 0, left, 0, span.width, kRows, mode);
        };
        all.push_back({"CopyImage" + from.text() + (levels == Levels::Narrow ? " narrow" : "") + " to" +
                           to.text() + " mode " + std::to_string(mode),
                       std::min(from.elementBits(), to.elementBits()), true, run});
    };
    for (const int from : kAllTypes) {
        for (const int to : kAllTypes) {
            add({from, 1, true, SubGrey}, {to, 1, true, SubGrey}, Levels::Narrow, CopyBorderNone);
            for (const bool source : {false, true}) {
                for (const bool target : {false, true})
                    add({from, 3, source, SubColour}, {to, 3, target, SubColour}, Levels::Default,
                        CopyBorderZero);
            }
        }
    }
    const Kind models[] = {{0, 3, true, SubColour}, {0, 3, false, SubYuv}, {0, 1, true, SubGrey}};
    for (Kind from : models) {
        for (Kind to : models) {
            for (from.type = DataUInt8; from.type <= DataFloat; from.type += 2)
                for (to.type = DataUInt8; to.type <= DataFloat; to.type += 2)
                    if (from.sub != to.sub) add(from, to, Levels::Narrow, CopyBorderExtend);
        }
    }
    all.push_back({"CopyBits", 8, true, [](Memory& memory, Span span) {
                       const int start = span.offset % 8, from = span.offset / 8;
                       auto* to = memory.take(std::size_t(start + span.width + 7) / 8);
                       const auto* bits = memory.take(std::size_t(from + span.width + 7) / 8);
                       CopyBits(to, bits, std::uint16_t(span.width), std::uint8_t(start), std::uint8_t(from));
                   }});
}

void addConversions(Operations& all) {
    for (const int type : {DataBit, DataInt8, DataUInt16, DataInt16, DataUInt32, DataInt32, DataFloat}) {
        for (const bool interleaved : {false, true}) {
            for (const int direction : {ConversionToYuv, ConversionToRgb}) {
                const Kind kind{type, 3, interleaved, SubColour};
                all.push_back({"Conversion" + kind.text() + " direction " + std::to_string(direction),
                               kind.elementBits(), false, [=](Memory& memory, Span span) {
                                   Picture source(memory, kind, span.width);
                                   Picture target(memory, {DataFloat, 3, interleaved, SubColour}, span.width);
                                   Conversion(&target, &source, direction);
                                   Conversion(&target, direction);
                               }});
            }
        }
    }
}

/// One operation on a whole image of each kind.
template <class Run>
void addForKinds(Operations& all, const char* name, std::initializer_list<int> types, Run run) {
    forKinds(types, [&](const Kind& kind) {
        all.push_back({name + kind.text(), kind.elementBits(), false, [=](Memory& memory, Span span) {
                           Picture image(memory, kind, span.width);
                           run(memory, image);
                       }});
    });
}

template <class T, class MinMax>
void addMinMax(Operations& all, const char* name, MinMax minMax) {
    all.push_back({name, 8 * sizeof(T), false, [=](Memory& memory, Span span) {
                       if (span.width == 0) return;
                       auto* const values =
                           reinterpret_cast<T*>(memory.take(sizeof(T) * std::size_t(span.width)));
                       T low, high;
                       minMax(values, span.width, &low, &high);
                       memory.put(double(low)), memory.put(double(high));
                   }});
}

void put(Memory& memory, const ValueStatistics& of) {
    for (const double value :
         {double(of.count), double(of.notNumbers), of.minimum, of.maximum, of.sum, of.mean, of.deviation})
        memory.put(value);
}

void addMeasures(Operations& all) {
    addMinMax<unsigned char>(all, "MinMaxUChar", MinMaxUChar);
    addMinMax<signed char>(all, "MinMaxChar", MinMaxChar);
    addMinMax<unsigned short>(all, "MinMaxUShort", MinMaxUShort);
    addMinMax<short>(all, "MinMaxShort", MinMaxShort);
    addMinMax<int>(all, "MinMaxInt", MinMaxInt);
    addForKinds(all, "MinMaxBound", {2, 3, 4, 5, 6, 7, 8}, [](Memory& memory, Picture& image) {
        const auto bytes = std::size_t(DataBytes(image.dataType));
        auto* const low = memory.take(bytes);
        MinMaxBound(&image, low, memory.take(bytes));
    });
    addForKinds(all, "ComputeBound", {2, 3, 4, 5, 6, 7, 8},
                [](Memory&, Picture& image) { ComputeBound(&image); });
    addForKinds(all, "ComputeVctBound", {2, 3, 4, 5, 6, 7, 8},
                [](Memory&, Picture& image) { ComputeVctBound(&image); });
    // Tables of 16-bit values take their time whatever the width: whole images are enough for all channels.
    forKinds(kAllTypes, [&](const Kind& kind) {
        if (kind.sub == SubYuv) return;
        for (const int channel : {AllChannels, kind.channels - 1}) {
            const auto run = [=](Memory& memory, Span span) {
                const Picture image(memory, kind, span.offset + span.width);
                const ImagePart part{channel, span.offset, 0, span.width, kRows};
                put(memory, ComputeStatistics(&image, part));
                Histogram bins(-100, 300, 7);
                bins.Add(&image, part);
                for (int i = 0; i < bins.GetNumbBins(); ++i) memory.put(double(bins.GetCount(i)));
            };
            all.push_back({"Histogram" + kind.text() + " channel " + std::to_string(channel),
                           std::max(8, kind.elementBits()), kind.elementBits() < 16 || channel >= 0, run});
        }
        all.push_back({"ValueRanks" + kind.text(), 32, false, [=](Memory& memory, Span span) {
                           const Picture image(memory, kind, span.width);
                           const ValueRanks ranks(&image);
                           if (ranks.GetCount() > 0) memory.put(ranks.GetValue(ranks.GetCount() / 2));
                       }});
    });
}

struct Sum {
    const char* name;
    double (*of)(Image* a, Image* b, Image* w);  // what it gives, where it gives something
};

const Sum kArithmetic[] = {
    {"AddImage", [](Image* a, Image* b, Image*) { return AddImage(a, b), 0.0; }},
    {"AddImage k", [](Image* a, Image* b, Image*) { return AddImage(a, b, 0.3f), 0.0; }},
    {"SubtractImage", [](Image* a, Image* b, Image*) { return SubtractImage(a, b), 0.0; }},
    {"MultiplyImage", [](Image* a, Image* b, Image*) { return MultiplyImage(a, b), 0.0; }},
    {"MultiplyImage k", [](Image* a, Image* b, Image*) { return MultiplyImage(a, b, 0.3f), 0.0; }},
    {"MultiplyConstant", [](Image* a, Image*, Image*) { return MultiplyConstant(a, 0.3f), 0.0; }},
    {"PlusConst", [](Image* a, Image*, Image*) { return PlusConst(a, 0.3f), 0.0; }},
    {"DivideImage", [](Image* a, Image*, Image*) { return DivideImage(3, a, 0.3f), 0.0; }},
    {"DivideByImage", [](Image* a, Image* b, Image*) { return DivideByImage(a, b, 0.3f), 0.0; }},
    {"SqureSum", [](Image* a, Image*, Image*) { return double(SqureSum(a)); }},
    {"MultipSum", [](Image* a, Image* b, Image*) { return double(MultipSum(a, b)); }},
    {"DifferenceSqureSum", [](Image* a, Image* b, Image*) { return double(DifferenceSqureSum(a, b)); }},
    {"WeightDifferenceSum",
     [](Image* a, Image* b, Image* w) { return double(WeightDifferenceSum(a, b, w)); }},
    {"ImageDiffEnergy", [](Image* a, Image* b, Image*) { return double(ImageDiffEnergy(a, b)); }},
    {"CopyCh2Ch", [](Image* a, Image* b, Image*) { return CopyCh2Ch(a, b, 2, 0), 0.0; }},
    {"Ch2ChSubtract", [](Image* a, Image* b, Image*) { return Ch2ChSubtract(a, b, 2, 0), 0.0; }},
    {"Ch2ChAdd", [](Image* a, Image* b, Image*) { return Ch2ChAdd(a, b, 0, 2), 0.0; }},
    {"Ch2ChAdd k", [](Image* a, Image* b, Image*) { return Ch2ChAdd(a, b, 2, 0, 0.3f), 0.0; }},
};

void addArithmetic(Operations& all) {
    for (const Sum& sum : kArithmetic) {
        all.push_back({sum.name, 32, false, [&sum](Memory& memory, Span span) {
                           const Kind kind{DataFloat, 3, false, SubColour};
                           Picture a(memory, kind, span.width), b(memory, kind, span.width);
                           Picture w(memory, kind, span.width);
                           const double value = sum.of(&a, &b, &w);
                           if (span.width > 0) memory.put(value);  // the mean of nothing is no number
                       }});
    }
    addForKinds(all, "InvertImage", kAllTypes, [](Memory&, Picture& image) { InvertImage(&image); });
    addForKinds(all, "FillData", kAllTypes, [](Memory&, Picture& image) {
        AnyType values[3];
        for (AnyType& value : values) value.float32 = 7.5f;
        FillData(&image, values);
    });
}

void addColour(Operations& all) {
    addForKinds(all, "ConvertImage", kMeasured, [](Memory&, Picture& image) {
        test::Curve curve;
        ConvertImage(&image, &curve);
    });
    addForKinds(all, "ConvertAllDataToRGB", kMeasured, [](Memory&, Picture& image) {
        test::Curve curve;
        ConvertAllDataToRGB(&image, &curve);
    });
    addForKinds(all, "SwitchBoundType", kMeasured,
                [](Memory&, Picture& image) { SwitchBoundType(&image, BoundData, BoundHsi); });
}

}  // namespace

std::vector<Operation> elementOperations() {
    Operations all;
    addCopies(all);
    addConversions(all);
    addMeasures(all);
    addArithmetic(all);
    addColour(all);
    return all;
}

}  // namespace guard

// Bound arrays, minimum and maximum, levels as values, histograms and ranks.
#include <algorithm>
#include <cstring>
#include <limits>

#include "tests/fuzz/rows.h"

namespace fuzz {

namespace {

/// Any image, with its bound array as it may be: none, the library's, or the host's with the promised room
/// alone.
Image* bounded(World& w, const Want& want = {}) {
    Image* const image = w.out(w.image(want));
    const auto bytes = 3 * std::size_t(GetBoundBytes(image));
    if (w.draw.oneIn(4) && bytes > 0) {
        u8* const brought = static_cast<u8*>(::operator new(bytes));
        std::memset(brought, w.draw.pick({0, 1, 127, 255}), bytes);
        ::operator delete(std::exchange(image->bound, brought));
        image->state = u8((image->state & ~StateHsiBound) | StateBoundSet);
        image->frameOffset2 = kHostBound;
    } else if (w.draw.oneIn(3)) {
        w.setLevels(image);
    }
    return image;
}

bool hasPairs(const Image* image) {
    return DataBytes(image->dataType) > 0 && image->channels > 0;
}

ImagePart part(World& w, const Image* image) {
    ImagePart all;
    if (w.draw.coin()) all.channel = w.draw(-1, image->channels);
    if (w.draw.coin())
        all.x = w.draw(-3, 9), all.y = w.draw(-3, 4), all.width = w.draw(-1, 40), all.height = w.draw(-1, 9);
    return all;
}

template <class T, class F>
void minMax(World& w, const char* name, F function) {
    std::vector<T> values(std::size_t(w.draw(1, 140)));
    for (T& value : values) value = T(w.draw.coin() ? w.draw.word() : w.draw.word() & 0x3F);
    T low{}, high{};
    w.call(name, function, values.data(), int(values.size()), &low, &high);
    HOLDS(low == *std::min_element(values.begin(), values.end()));
    HOLDS(high == *std::max_element(values.begin(), values.end()));
}

Want countable(World& w) {
    return {.type = w.draw.pick<int>(
                {DataUInt8, DataInt8, DataUInt16, DataInt16, DataUInt32, DataInt32, DataFloat, DataBit}),
            .channels = w.draw.coin() ? 1 : -1};
}
}  // namespace

void addBoundsRows(Table& table) {
    table.strong("GetBoundBytes, CheckBoundArray", [](World& w) {
        Image* const image = w.out(w.image({.pixels = false}));
        const int bytes = CALL(GetBoundBytes, image);
        HOLDS(bytes == DataBytes(image->dataType) * image->channels * 2);
        CALL(CheckBoundArray, image);
        HOLDS(image->bound != nullptr || !hasPairs(image));
    });
    table.strong("GetBound and the other sections", [](World& w) {
        Image* const image = bounded(w, {.pixels = false});
        const bool has = hasPairs(image);
        const int bytes = GetBoundBytes(image);
        const u8* const first = CALL(GetBound, image);
        HOLDS(has ? first != nullptr && first == image->bound : first == nullptr);
        if (!has) return;
        HOLDS(CALL(GetSpatialBound, image) == first + bytes);
        const u8* const hsi = image->channels < 3 ? first : first + 2 * bytes;
        HOLDS(CALL(GetHSIBound, image) == hsi);
        HOLDS(CALL(GetSelectedBound, image) == (image->state & StateHsiBound ? hsi : first));
        const u8 type = u8(w.draw.pick<int>({BoundData, BoundSpatial, BoundHsi, 1}));
        HOLDS(CALL(GetBound, image, type) ==
              (image->channels < 3 || type == 1 ? first : first + bytes * (type >> 4)));
    });
    table.never("SetBoundDefault", [](World& w) {
        std::array<u8, 24> entries;
        entries.fill(0x77);
        const u16 sub = u16(w.draw.pick<int>({0, 1, 3, 255}));
        const u8 type = u8(w.draw(0, 9));
        CALL(SetBoundDefault, entries.data(), sub, type);
        const int pairs = type == DataBit || type < 1 || type > 8 || (type > 5 && type < 8) ? 0
                          : sub < 2                                                         ? 3
                          : sub == 3                                                        ? 1
                                                                                            : 0;
        const std::size_t size = std::size_t(2 * pairs * DataBytes(type));
        HOLDS(std::all_of(entries.begin() + std::ptrdiff_t(size), entries.end(),
                          [](u8 one) { return one == 0x77; }));
        Digest digest;
        digest.add(entries.data(), entries.size());
        w.see(digest.value());
    });
    table.strong("SetDefaultBound", [](World& w) {
        Image* const image = bounded(w, {.pixels = false});
        CALL(SetDefaultBound, image);
        HOLDS(image->state & StateBoundSet && image->state & StateBoundDefault);
    });
    table.strong("SetDefaultSpatialBounds", [](World& w) {
        Image* const image = bounded(w, {.pixels = false});
        CALL(SetDefaultSpatialBounds, image);
    });
    table.strong("CopyBoundToSpatialBound", [](World& w) {
        Image* const image = bounded(w, {.pixels = false});
        CALL(CopyBoundToSpatialBound, image);
        const auto bytes = std::size_t(GetBoundBytes(image));
        HOLDS(bytes == 0 || !std::memcmp(image->bound, image->bound + bytes, bytes));
    });
    table.strong("ComputeBound", [](World& w) {
        Image* const image = bounded(w);
        CALL(ComputeBound, image);
        HOLDS(image->state & StateBoundSet);
    });
    table.strong("ComputeVctBound", [](World& w) {
        Image* const image = bounded(w, {.twoOrMore = true});
        CALL(ComputeVctBound, image);
        HOLDS(!hasPairs(image) ||
              !std::memcmp(image->bound, image->bound + GetBoundBytes(image) / image->channels,
                           std::size_t(GetBoundBytes(image) / image->channels)));
    });
    table.strong("CheckBound", [](World& w) {
        Image* const image = bounded(w);
        CALL(CheckBound, image);
    });
    table.strong("SetBound of a channel, GetBound", [](World& w) {
        Image* const image = bounded(w);
        if (image->channels == 0) return;
        const int type = typeOf(image), c = w.draw(0, image->channels - 1);
        const AnyType low = w.element(type), high = w.element(type);
        CALL(SetBound, image, low, high, c);
        float least = 7, most = 7;
        CALL(GetBound, image, &least, &most, c);
        if (!hasPairs(image)) return HOLDS(least == 0 && most == 1);
        HOLDS(image->state & StateBoundSet);
        const auto pair = test::readPair(image->bound, c, test::trueType(*image, c));
        HOLDS(same(least, float(pair.first)) && same(most, float(pair.second)));
        HOLDS(same(CALL(GetScale, image, c), most - least));
    });
    table.strong("SetBound of all, GetScale", [](World& w) {
        Image* const image = bounded(w);
        const AnyType low = w.element(typeOf(image)), high = w.element(typeOf(image));
        CALL(SetBound, image, low, high);
        w.see(CALL(GetScale, image));
        if (!hasPairs(image)) return;
        const int pair = 2 * DataBytes(image->dataType);
        for (int c = 0; c < image->channels; ++c)
            HOLDS(!std::memcmp(image->bound + c * pair, &low, std::size_t(pair / 2)) &&
                  !std::memcmp(image->bound + c * pair + pair / 2, &high, std::size_t(pair / 2)));
    });
    table.never("GetBoundType, SetBoundType", [](World& w) {
        Image* const image = bounded(w);
        const u8 type = u8(w.draw.pick<int>({BoundData, BoundSpatial, BoundHsi, 3}));
        if (type == BoundHsi && !w.mayJoin(image)) return;
        const u8 before = CALL(GetBoundType, image);
        CALL(SetBoundType, image, type);
        HOLDS(CALL(GetBoundType, image) == (type == 3 ? before : type == BoundHsi ? type : 0));
    });
    table.strong("SwitchBoundType", [](World& w) {
        Image* const image = bounded(w);
        const u8 from = u8(w.draw.pick<int>({BoundData, BoundHsi, BoundSpatial})),
                 to = u8(w.draw.pick<int>({BoundHsi, BoundData}));
        if (!w.mayJoin(image)) return;
        CALL(SwitchBoundType, image, from, to);
    });
    table.never("GetHSIFullScale", [](World& w) {
        const int type = w.draw(0, 12);
        HOLDS(CALL(GetHSIFullScale, u8(type)) == (type == 4 || type == 5 ? 65535 : type == 8 ? 1 : 255));
    });
    table.never("CompareBounds", [](World& w) {
        Image *const a = w.image(), *const b = w.image();
        const int result = CALL(CompareBounds, a, b);
        HOLDS(CALL(CompareBounds, b, a) == result);
        HOLDS(a->channels == b->channels || !(a->bound || b->bound) || result == 0);
        if (!a->bound != !b->bound && hasPairs(a) && hasPairs(b)) HOLDS(result == 0);
    });
    table.strong("CopyBound", [](World& w) {
        Image *const from = bounded(w), *const to = bounded(w);
        if (from == to) return;
        const auto room = std::size_t(GetBoundBytes(to));
        CALL(CopyBound, to, from);
        if (typeOf(from) == typeOf(to) && from->imageType == to->imageType &&
            from->channels == to->channels && from->bound)
            HOLDS(std::equal(from->bound, from->bound + 3 * room, to->bound));
    });
    // Levels as values.
    table.basic("FullBlackWhite, DefaultBlackWhite", [](World& w) {
        const auto type = ImageDataType(w.draw(0, 9));
        const u16 word = u16(w.draw.pick<int>({0, 1, 3}));
        const int c = w.draw(0, 3);
        const CompBlackWhite full = CALL(FullBlackWhite, word, type, c),
                             start = CALL(DefaultBlackWhite, word, type, c);
        HOLDS(full.black < full.white && start.black < start.white);
        HOLDS(type < DataUInt8 || type >= DataFloat ||
              (full.black == start.black && full.white == start.white));
        std::unique_ptr<CompBlackWhite> alone(new CompBlackWhite(full));
        HOLDS(alone->white == full.white);
    });
    table.strong("GetSpatialBounds", [](World& w) {
        Image* const image = bounded(w);
        const CompBlackWhite pair =
            CALL(GetSpatialBounds, image, u16(w.draw.pick<int>({0, 1, 3})),
                 ImageDataType(w.draw.coin() ? typeOf(image) : w.draw(0, 9)), w.draw(-1, 6));
        w.see(float(pair.black)), w.see(float(pair.white));
    });
    table.strong("SetSpatialBounds", [](World& w) {
        Image* const image = bounded(w);
        const int c = w.draw(-1, 6);
        CALL(SetSpatialBounds, image, CompBlackWhite(w.real(), w.real()), c);
    });
    // Minimum and maximum.
    table.never("MinMaxUChar", [](World& w) { minMax<u8>(w, "MinMaxUChar", MinMaxUChar); });
    table.never("MinMaxChar", [](World& w) { minMax<signed char>(w, "MinMaxChar", MinMaxChar); });
    table.never("MinMaxUShort", [](World& w) { minMax<u16>(w, "MinMaxUShort", MinMaxUShort); });
    table.never("MinMaxShort", [](World& w) { minMax<short>(w, "MinMaxShort", MinMaxShort); });
    table.never("MinMaxInt", [](World& w) { minMax<int>(w, "MinMaxInt", MinMaxInt); });
    table.never("MinMaxBound", [](World& w) {
        Image* const image = w.image({.pixels = false});
        AnyType low{}, high{};
        CALL(MinMaxBound, image, &low, &high);
        w.see(typeOf(image) == DataFloat ? low.float32 : float(low.uint32));
        w.see(typeOf(image) == DataFloat ? high.float32 : float(high.uint32));
    });
    // Counts.
    table.strong("Histogram", [](World& w) {
        w.touch(World::Small);
        const int bins = w.draw(1, 40);
        const float low = w.real(), high = w.real();
        if (w.draw.coin() || !std::isfinite(low) || !std::isfinite(high)) {
            w.histogram.emplace(CALL(Histogram, bins));
        } else {
            w.histogram.emplace(
                CALL(Histogram, double(std::min(low, high)), double(std::max(low, high)), bins));
        }
        HOLDS(w.histogram->GetStatistics().count == 0 && std::isnan(w.histogram->GetValue(0)));
    });
    table.strong("Histogram::Add, GetStatistics, GetValue, GetBinStart", [](World& w) {
        w.touch(World::Small);
        Image* const image = w.image(countable(w));
        if (!w.histogram) w.histogram.emplace(9);
        const ImagePart p = part(w, image);
        const u64 before = w.histogram->GetStatistics().count;
        const bool added = CALL_ON(&*w.histogram, Add, image, p);
        w.see(u64(added));
        const ValueStatistics s = CALL_ON(&*w.histogram, GetStatistics);
        HOLDS(added || s.count == before);
        u64 counted = w.histogram->GetBelow() + w.histogram->GetAbove();
        for (int i = 0; i < w.histogram->GetNumbBins(); ++i) counted += w.histogram->GetCount(i);
        HOLDS(counted == s.count);
        const int bins = w.histogram->GetNumbBins();
        if (bins > 0)
            HOLDS(CALL_ON(&*w.histogram, GetBinStart, 0) <= CALL_ON(&*w.histogram, GetBinStart, bins));
        w.see(float(CALL_ON(&*w.histogram, GetValue, u64(w.draw(0, 300)))));
    });
    table.strong("Histogram::Add of another", [](World& w) {
        if (!w.histogram) return;
        w.touch(World::Small);
        Histogram other(w.draw(1, 9));
        other.Add(w.image(countable(w)));
        const u64 before = w.histogram->GetStatistics().count;
        const bool added = CALL_ON(&*w.histogram, Add, other);
        HOLDS(w.histogram->GetStatistics().count == before + (added ? other.GetStatistics().count : 0));
    });
    table.strong("ComputeStatistics", [](World& w) {
        Image* const image = w.image(countable(w));
        const ImagePart p = part(w, image);
        const ValueStatistics s = CALL(ComputeStatistics, image, p);
        HOLDS(s.count == 0 ? std::isnan(s.minimum) && std::isnan(s.mean)
                           : s.minimum <= s.mean && s.mean <= s.maximum);
        w.see(s.notNumbers + s.negativeInfinite + s.positiveInfinite), w.see(float(s.sum)),
            w.see(float(s.deviation));
    });
    table.never("RankOfPercent", [](World& w) {
        const double percent = w.draw.pick({0.0, 50.0, 99.9, 100.0, 33.333});
        const auto count = std::uint64_t(w.draw(0, 1000));
        const std::uint64_t rank = CALL(RankOfPercent, percent, count);
        HOLDS(count == 0 ? rank == 0
                         : rank < count && rank <= std::uint64_t(double(count) * percent / 100 + 1e-9));
    });
    table.strong("ValueRanks, GetValue", [](World& w) {
        Image* const image = w.image(countable(w));
        const ValueRanks ranks = CALL(ValueRanks, image, part(w, image));
        w.see(ranks.GetCount()), w.see(float(CALL_ON(&ranks, GetValue, u64(w.draw(0, 300)))));
    });
}

}  // namespace fuzz

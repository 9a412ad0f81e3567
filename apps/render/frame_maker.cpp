// Prepares frames. The display shows no 32-bit integers, takes 8-bit values as unsigned and bits as whole
// rows: where that would not show the picture, a converted copy is shown, and the conversion noted.
#include "frame_maker.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>

#include "apps/io/colour_copy.h"
#include "apps/io/display_copy.h"
#include "pzel/bounds/black_white.h"
#include "pzel/bounds/bounds.h"
#include "pzel/bounds/histogram.h"

namespace {

using pzel_io::FileError;
using pzel_io::ModelName;
using pzel_io::OwnedImage;
using pzel_io::PictureInfo;
using pzel_io::TypeName;

constexpr int kU = 1;
constexpr int kV = 2;

bool IsDifference(Channel channel) {
    return channel == Channel::U || channel == Channel::V;
}

bool IsBend(const Layer& layer, const PictureInfo& info) {
    return layer.look.IsCurved(info.lowIsWhite);
}

std::string IsA(const PictureInfo& info) {
    return std::string(": it is a ") + ModelName(info.model) + " picture";
}

void CheckHsi(const PictureInfo& info) {
    if (info.type == DataUInt32 || info.type == DataInt32 || info.type == DataBit) {
        throw FileError(info.file,
                        "intensity, saturation and hue are those of 8 bits, 16 bits and floats, not of " +
                            std::string(TypeName(info.type)));
    }
}

void CheckChannel(const Layer& layer, const PictureInfo& info) {
    const bool colour = info.model == SubColour && info.channels == 3;
    switch (layer.look.channel) {
        case Channel::All: break;
        case Channel::Red:
        case Channel::Green:
        case Channel::Blue:
            if (!colour) throw FileError(info.file, "has no red, green and blue" + IsA(info));
            break;
        case Channel::Y:
        case Channel::U:
        case Channel::V:
            if (info.model != SubYuv && !layer.look.toYuv)
                throw FileError(info.file, "has no y, u and v" + IsA(info));
            break;
        case Channel::Intensity:
        case Channel::Saturation:
        case Channel::Hue:
        case Channel::Hsi:
            if (!colour) throw FileError(info.file, "has no intensity, saturation and hue" + IsA(info));
            CheckHsi(info);
            break;
    }
    if (layer.look.toYuv && !colour)
        throw FileError(info.file, "is no colour picture (--to-yuv)" + IsA(info));
}

// Set pixels are bits, or bytes that are not zero, whatever a threshold says of a grey picture, or one label.
void CheckMask(const Layer& layer, const PictureInfo& info) {
    const std::string type = TypeName(info.type);
    const bool colour = info.model == SubColour;
    const bool bytes = info.type == DataUInt8 || info.type == DataInt8;
    if (info.channels != 1 && !colour) throw FileError(info.file, "is no mask" + IsA(info));
    if (info.type == DataBit && (layer.threshold || layer.maskValue))
        throw FileError(info.file, "is a picture of bits, which needs no threshold and no label");
    if (colour && layer.threshold) throw FileError(info.file, "has no threshold" + IsA(info));
    if (layer.maskValue) {
        const bool isColour = layer.maskValue->rgb.has_value();
        if (isColour && (!colour || info.type != DataUInt8))
            throw FileError(info.file,
                            "has no label of a colour: it is " + type + ", " + ModelName(info.model));
        if (!isColour && colour)
            throw FileError(info.file, "has no label of a value, but of a colour, #RRGGBB" + IsA(info));
    } else if (!layer.threshold && info.type != DataBit && !bytes) {
        throw FileError(info.file, "values of " + type +
                                       " are no mask; threshold=LOW:HIGH or mask=VALUE makes one of them");
    }
}

void CheckOverlay(const Layer& layer, const PictureInfo& info) {
    if (layer.role != Role::Vectors) return CheckMask(layer, info);
    if (info.channels != 2)
        throw FileError(info.file,
                        "a vector field has 2 channels, this has " + std::to_string(info.channels));
}

void CheckOptions(const Layer& layer, const PictureInfo& info) {
    CheckChannel(layer, info);
    if (info.type == DataBit && !layer.look.levels.empty())
        throw FileError(info.file, "a picture of bits has no levels");
    if (layer.look.tones.size() > 1 && info.channels != 3)
        throw FileError(info.file, "three curves are given for " + std::to_string(info.channels) +
                                       (info.channels == 1 ? " channel" : " channels"));
    if (!layer.look.bake) return;
    if (info.type == DataBit) throw FileError(info.file, "a picture of bits has nothing to bake");
    // On its way through a table the display gives a y,u,v picture a red of its own, which no data can show.
    if (info.model == SubYuv && layer.look.channel == Channel::All && IsBend(layer, info))
        throw FileError(info.file, "gamma and inversion cannot be baked into a y,u,v picture as it is shown");
}

pzel_io::HsiValue ValueOf(Channel channel) {
    return channel == Channel::Intensity    ? pzel_io::HsiValue::Intensity
           : channel == Channel::Saturation ? pzel_io::HsiValue::Saturation
                                            : pzel_io::HsiValue::Hue;
}

const char* NameOf(pzel_io::HsiValue value) {
    return value == pzel_io::HsiValue::Intensity    ? "intensity"
           : value == pzel_io::HsiValue::Saturation ? "saturation"
                                                    : "hue";
}

bool IsHsiPlane(Channel channel) {
    return channel == Channel::Intensity || channel == Channel::Saturation || channel == Channel::Hue;
}

// The ranges of an image of the file's own values. A copy for the display may be of another type: the file's
// counts.
Levels FileRanges(const PictureInfo& info) {
    Levels full;
    if (info.type == DataFloat || info.type == DataBit) return full;
    for (int channel = 0; channel < info.channels; ++channel)
        full.push_back(FullRange(info.model, info.type, channel));
    return full;
}

}  // namespace

FrameMaker::FrameMaker(const Layer& wishes, pzel_io::PictureSource& file)
    : layer(wishes), source(file), layout(wishes.look.layout) {
    if (layer.IsOverlay()) {
        CheckOverlay(layer, source.Info());
    } else {
        CheckOptions(layer, source.Info());
    }
}

OwnedImage FrameMaker::Make(std::uint32_t frame) {
    if (layout == pzel_io::Layout::Planar) return MakeInLayout(frame);
    try {
        return MakeInLayout(frame);
    } catch (const std::length_error&) {  // a copy for the display whose rows are too long
        layout = pzel_io::Layout::Planar;
        Note("kept planar: rows of its copy for the display are too long to be interleaved");
        return MakeInLayout(frame);
    }
}

OwnedImage FrameMaker::MakeInLayout(std::uint32_t frame) {
    const PictureInfo& info = source.Info();
    pzel_io::Frame read = source.Read(frame, layout);
    for (const std::string& line : read.notes) Note(line);
    if (layer.IsOverlay()) return AsOverlay(std::move(read.image));
    if (layer.look.perFrame) colourRange.reset();
    scale = {0, FileRanges(info), read.window, false};
    unconverted.reset();
    OwnedImage image = ForDisplay(InModel(std::move(read.image)));
    stored.clear();
    if (GetDataType(image.get()) != DataBit) ChooseFor(image);
    if (layer.look.bake) NoteBaking();
    return image;
}

// Bits for masks and for what outlines are made of; vectors as they are, with the length of the longest one
// of the first frame for all, unless each frame chooses its own.
OwnedImage FrameMaker::AsOverlay(OwnedImage image) {
    if (layer.threshold) return pzel_io::RangeMask(*image, *layer.threshold);
    if (layer.maskValue) {
        const MaskValue& label = *layer.maskValue;
        return label.rgb ? pzel_io::ColourMask(*image, *label.rgb)
                         : pzel_io::RangeMask(*image, {label.value, label.value});
    }
    if (layer.role != Role::Vectors)
        return GetDataType(image.get()) == DataBit ? std::move(image) : pzel_io::NonZeroMask(*image);
    SetMajorType(image.get(), MajorVector);
    if (std::exchange(isFirst, false) || layer.look.perFrame) ComputeVctBound(image.get());
    return image;
}

std::vector<std::string> FrameMaker::Conversions() const {
    std::vector<std::string> all = source.Info().conversions;
    all.insert(all.end(), notes.begin(), notes.end());
    return all;
}

const pzel_io::Window& FrameMaker::ColourRange(const Image& image) {
    if (!colourRange) {
        const ImageDataType type = GetDataType(&image);
        colourRange = type == DataFloat ? ValueRange(image, AllChannels) : FullRange(SubColour, type, 0);
        // Floats have no full scale: the data give one, that starts at 0 where it can.
        if (type == DataFloat) colourRange->low = std::min(colourRange->low, 0.0);
    }
    return *colourRange;
}

OwnedImage FrameMaker::InModel(OwnedImage image) {
    if (layer.look.toYuv) return AsYuv(*image);
    if (IsHsiPlane(layer.look.channel)) return AsHsiPlane(*image);
    if (layer.look.channel == Channel::Hsi) PrepareJoint(*image);
    return image;
}

OwnedImage FrameMaker::AsYuv(const Image& image) {
    const pzel_io::Window range = ColourRange(image);
    const double half = (range.high - range.low) / 2;
    scale = {0, {range, {-half, half}, {-half, half}}, std::nullopt, true};
    if (GetDataType(&image) != DataFloat) Note(std::string(TypeName(GetDataType(&image))) + " to float");
    Note("red, green, blue to y, u, v");
    return pzel_io::ToYuv(image, range);
}

OwnedImage FrameMaker::AsHsiPlane(const Image& image) {
    const pzel_io::HsiValue value = ValueOf(layer.look.channel);
    const pzel_io::Window range = ColourRange(image);
    const pzel_io::Window full = pzel_io::HsiPlaneRange(GetDataType(&image), value, range);
    scale = {0, {full}, std::nullopt, false};
    Note(std::string("red, green, blue to ") + NameOf(value) + " of " + pzel_io::NumberText(full.low) +
         " to " + pzel_io::NumberText(full.high));
    return pzel_io::HsiPlane(image, value, range);
}

// The full scale that the joint display refers to, and a bound for the component to start from.
void FrameMaker::PrepareJoint(Image& image) {
    const pzel_io::Window& range = ColourRange(image);
    for (int channel = 0; channel < image.channels; ++channel)
        SetSpatialBounds(&image, {range.low, range.high}, channel);
    ComputeBound(&image);
}

// What 32-bit integers are less by as floats, so that those between the levels are exact: 0 where they are
// anyway.
double FrameMaker::CentreOf(const Image& image) {
    constexpr double kExact = 1 << 24;
    if (layer.look.bake) return 0;  // which is told of as data
    if (!centre || layer.look.perFrame) {
        const std::vector<LevelSpec>& levels = layer.look.levels;
        const bool given = !levels.empty() && levels[0].kind == LevelSpec::Kind::Given;
        const pzel_io::Window range =
            given ? pzel_io::Window{levels[0].low, levels[0].high} : ValueRange(image, AllChannels);
        const bool isFar = std::max(std::abs(range.low), std::abs(range.high)) > kExact;
        centre = isFar ? std::round((range.low + range.high) / 2) : 0;
    }
    return *centre;
}

OwnedImage FrameMaker::ForDisplay(OwnedImage image) {
    const Image* const shown = image.get();
    const ImageDataType type = GetDataType(shown);
    const std::string name = TypeName(type);
    if (type == DataBit && (layer.area || IsBend(layer, source.Info()))) {
        Note("bits to uint8 of 0 and 255, for display");
        return Instead(std::move(image), pzel_io::ToBytes(*shown));
    }
    if (type == DataUInt32 || type == DataInt32) {
        Note(name + " to float, for display");
        scale.offset = -CentreOf(*shown);
        return Instead(std::move(image), pzel_io::ToFloat(*shown, -scale.offset));
    }
    if (IsDifference(layer.look.channel) && type != DataFloat) {
        const int channel = layer.look.channel == Channel::U ? kU : kV;
        const int offset = pzel_io::DifferenceOffset(type);
        scale = {
            static_cast<double>(offset), {FullRange(SubYuv, type, channel)}, source.Info().window, false};
        Note(std::string(layer.look.channel == Channel::U ? "u" : "v") + " plus " + std::to_string(offset) +
             ", for display");
        return Instead(std::move(image), pzel_io::DifferencePlane(*shown, channel));
    }
    // The joint display alone knows the sign of 8-bit values.
    if (type == DataInt8 && GetSubType(image.get()) != SubYuv && layer.look.channel != Channel::Hsi) {
        Note("int8 to int16, for display");
        return Instead(std::move(image), pzel_io::ToInt16(*shown));
    }
    return image;
}

// A copy to be shown; the image that it was made of has the values still.
OwnedImage FrameMaker::Instead(OwnedImage image, OwnedImage copy) {
    if (!unconverted) unconverted = std::move(image);
    return copy;
}

void FrameMaker::ChooseFor(OwnedImage& image) {
    const std::filesystem::path& file = source.Info().file;
    const bool joint = layer.look.channel == Channel::Hsi;
    if (layer.look.perFrame || !shared || FollowsWindow()) {
        sharedWindow = scale.window;
        // A converted picture has a full scale of its own.
        const bool full = layer.look.toYuv && layer.look.levels.empty();
        shared = joint  ? ChooseJointLevels(layer.look.levels, file, *image)
                 : full ? scale.full
                        : ChooseLevels(layer.look.levels, file, *image, scale);
    }
    if (!joint && NeedsFloat(*shared, *image, scale.offset)) {
        Note(std::string(TypeName(static_cast<ImageDataType>(GetDataType(image.get())))) +
             " to float, for display: its integers cannot stand for the levels");
        const Image* const integers = image.get();
        image = Instead(std::move(image), pzel_io::ToFloat(*integers));
    }
    stored = joint ? *shared : StoredLevels(*shared, *image, scale.offset);
}

// Frames that come with windows of their own are shown as each asks, where the file is asked.
bool FrameMaker::FollowsWindow() {
    const std::vector<LevelSpec>& asked = layer.look.levels;
    const bool byFile = asked.empty() ? scale.window.has_value() : asked[0].kind == LevelSpec::Kind::File;
    if (!byFile || layer.look.channel == Channel::Hsi || !scale.window || !sharedWindow) return false;
    const bool same = scale.window->low == sharedWindow->low && scale.window->high == sharedWindow->high;
    if (!same) Note("levels follow the window of each frame");
    return !same;
}

void FrameMaker::NoteBaking() {
    std::string line = "levels " + LevelsText(stored, scale.offset);
    if (IsBend(layer, source.Info()))
        line += ", curve " + TonesText(layer.look.TonesOf(source.Info().lowIsWhite));
    Note(line + " baked into the data");
}

void FrameMaker::Note(const std::string& line) {
    if (std::find(notes.begin(), notes.end(), line) == notes.end()) notes.push_back(line);
}

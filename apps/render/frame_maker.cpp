// Prepares frames. The display shows no 32-bit integers, takes 8-bit values as unsigned and bits as whole
// rows: where that would not show the picture, a converted copy is shown, and the conversion noted.
#include "frame_maker.h"

#include <algorithm>

#include "apps/io/display_copy.h"

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

void CheckOptions(const Options& options, const PictureInfo& info) {
    const bool colour = info.model == SubColour && info.channels == 3;
    const bool asksColour = options.channel == Channel::Red || options.channel == Channel::Green ||
                            options.channel == Channel::Blue;
    if (asksColour && !colour) {
        throw FileError(info.file, std::string("has no red, green and blue: it is a ") +
                                       ModelName(info.model) + " picture");
    }
    if (options.channel != Channel::All && !asksColour && info.model != SubYuv) {
        throw FileError(info.file,
                        std::string("has no y, u and v: it is a ") + ModelName(info.model) + " picture");
    }
    if (options.area && (options.area->right >= info.width || options.area->bottom >= info.height)) {
        throw FileError(info.file, "the area goes beyond the picture of " + std::to_string(info.width) +
                                       " x " + std::to_string(info.height) + " pixels");
    }
    if (info.type == DataBit && !options.levels.empty())
        throw FileError(info.file, "a picture of bits has no levels");
}

}  // namespace

FrameMaker::FrameMaker(const Options& wishes, pzel_io::PictureSource& file) : options(wishes), source(file) {
    CheckOptions(options, source.Info());
}

OwnedImage FrameMaker::Make(std::uint32_t frame) {
    OwnedImage image = ForDisplay(source.Read(frame, options.layout));
    if (GetDataType(image.get()) != DataBit) ApplyLevels(image);
    return image;
}

std::vector<std::string> FrameMaker::Conversions() const {
    std::vector<std::string> all = source.Info().conversions;
    all.insert(all.end(), notes.begin(), notes.end());
    return all;
}

std::string FrameMaker::LevelsOf(Image& image) const {
    return LevelsText(image, offset);
}

OwnedImage FrameMaker::ForDisplay(OwnedImage image) {
    const ImageDataType type = GetDataType(static_cast<const Image*>(image.get()));
    const std::string name = TypeName(type);
    const bool inverted = options.invert != source.Info().lowIsWhite;
    if (type == DataBit && (options.area || options.gamma != 1 || inverted)) {
        Note("bits to uint8 of 0 and 255, for display");
        return pzel_io::ToBytes(*image);
    }
    if (type == DataUInt32 || type == DataInt32) {
        Note(name + " to float, for display");
        return pzel_io::ToFloat(*image);
    }
    if (IsDifference(options.channel)) {
        offset = pzel_io::DifferenceOffset(type);
        Note(std::string(options.channel == Channel::U ? "u" : "v") + " plus " + std::to_string(offset) +
             ", for display");
        return pzel_io::DifferencePlane(*image, options.channel == Channel::U ? kU : kV);
    }
    if (type == DataInt8 && GetSubType(image.get()) != SubYuv) {
        Note("int8 to int16, for display");
        return pzel_io::ToInt16(*image);
    }
    return image;
}

void FrameMaker::ApplyLevels(OwnedImage& image) {
    if (options.perFrame || !shared) shared = ChooseLevels(options.levels, source.Info(), *image, offset);
    if (NeedsFloat(*shared, *image, offset)) {
        Note(std::string(TypeName(static_cast<ImageDataType>(GetDataType(image.get())))) +
             " to float, for display: its integers cannot stand for the levels");
        image = pzel_io::ToFloat(*image);
    }
    SetLevels(*image, *shared, offset);
}

void FrameMaker::Note(const std::string& line) {
    if (std::find(notes.begin(), notes.end(), line) == notes.end()) notes.push_back(line);
}

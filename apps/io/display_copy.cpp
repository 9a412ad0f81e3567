// Copies for the display, value by value. Speed matters less here than that every value comes out as said.
#include "apps/io/display_copy.h"

#include <cstring>
#include <limits>
#include <stdexcept>

#include "apps/io/pixel_values.h"

namespace pzel_io {

namespace {

// A copy may need longer rows than its original.
void CheckRow(const Image& image, ImageDataType type, int channels) {
    const std::size_t row =
        ElementBytes(type) * image.width * static_cast<std::size_t>(IsInterleaved(&image) ? channels : 1);
    if (row > std::numeric_limits<std::uint16_t>::max()) {
        throw std::length_error("a row of " + std::to_string(row) + " bytes as " + TypeName(type) +
                                " is longer than a record can hold (65535)" +
                                (channels > 1 ? "; the planar layout may hold it" : ""));
    }
}

OwnedImage Like(const Image& image, ImageDataType type, int channels) {
    CheckRow(image, type, channels);
    OwnedImage copy(NewImage(image.width, image.height, static_cast<unsigned char>(channels), type,
                             channels > 1 && IsInterleaved(&image)));
    SetImageType(copy.get(),
                 channels == image.channels ? GetImageType(&image) : static_cast<unsigned short>(SubGrey));
    return copy;
}

// All elements in the order in which they are stored.
template <class To>
OwnedImage Converted(const Image& image, ImageDataType type, double lessBy = 0) {
    OwnedImage copy = Like(image, type, image.channels);
    unsigned char* to = copy->data;
    ForEachValue(GetDataType(&image), {image.data, 1}, GetImageVolume(&image), [&](auto value) {
        // Floats as they are: those that are not numbers stay what they are.
        const auto converted =
            lessBy == 0 ? static_cast<To>(value) : static_cast<To>(static_cast<double>(value) - lessBy);
        std::memcpy(to, &converted, sizeof converted);
        to += sizeof converted;
    });
    return copy;
}

// Bits that are set where the rule holds for the values of any channel, or of all of them.
enum class Holds { ForAny, ForAll };

template <class Rule>
OwnedImage MaskWhere(const Image& image, Holds holds, Rule rule) {
    OwnedImage mask(NewImage(image.width, image.height, 1, DataBit, false));
    SetImageType(mask.get(), static_cast<unsigned short>(SubGrey));
    ClearImage(mask.get());
    if (holds == Holds::ForAll)
        std::fill_n(mask->data, static_cast<std::size_t>(mask->rowBytes) * mask->height, 0xFF);
    for (int c = 0; c < image.channels; ++c) {
        std::size_t x = 0;
        unsigned char* row = mask->data;
        ForEachValue(GetDataType(&image), ChannelPlane(image, c), GetImageSize(&image), [&](auto value) {
            const auto bit = static_cast<unsigned char>(0x80 >> x % 8);
            const bool set = rule(static_cast<double>(value), c);
            if (set && holds == Holds::ForAny) row[x / 8] |= bit;
            if (!set && holds == Holds::ForAll) row[x / 8] &= static_cast<unsigned char>(~bit);
            if (++x < image.width) return;
            x = 0;
            row += mask->rowBytes;
        });
    }
    return mask;
}

}  // namespace

OwnedImage ToFloat(const Image& image, double lessBy) {
    return Converted<float>(image, DataFloat, lessBy);
}

OwnedImage ToInt16(const Image& image) {
    return Converted<std::int16_t>(image, DataInt16);
}

OwnedImage ToBytes(const Image& image) {
    constexpr unsigned char kWhite = 255;
    OwnedImage copy = Like(image, DataUInt8, 1);
    for (std::size_t y = 0; y < image.height; ++y) {
        const unsigned char* row = image.data + y * image.rowBytes;
        for (std::size_t x = 0; x < image.width; ++x) {
            copy->data[y * image.width + x] = row[x / 8] & 0x80 >> x % 8 ? kWhite : 0;
        }
    }
    return copy;
}

OwnedImage RangeMask(const Image& grey, const Window& range) {
    return MaskWhere(grey, Holds::ForAny,
                     [&](double value, int) { return value >= range.low && value <= range.high; });
}

OwnedImage NonZeroMask(const Image& image) {
    return MaskWhere(image, Holds::ForAny, [](double value, int) { return value != 0; });
}

OwnedImage ColourMask(const Image& colour, std::uint32_t rgb) {
    constexpr int kChannelBits = 8;
    constexpr std::uint32_t kMost = 0xFF;
    // Colour is stored blue first, which is the lowest byte of the number.
    return MaskWhere(colour, Holds::ForAll, [&](double value, int c) {
        return value == static_cast<double>(rgb >> kChannelBits * c & kMost);
    });
}

int DifferenceOffset(ImageDataType type) {
    return ElementBytes(type) == 1 ? 0x80 : 0x8000;
}

OwnedImage DifferencePlane(const Image& image, int channel) {
    const ImageDataType type = GetDataType(&image);
    const int offset = DifferenceOffset(type);
    OwnedImage copy = Like(image, ElementBytes(type) == 1 ? DataUInt8 : DataUInt16, 1);
    unsigned char* to = copy->data;
    ForEachValue(TypeOfChannel(image, channel), ChannelPlane(image, channel), GetImageSize(&image),
                 [&](auto value) {
                     const auto shifted = static_cast<std::uint16_t>(static_cast<int>(value) + offset);
                     std::memcpy(to, &shifted, ElementBytes(type));
                     to += ElementBytes(type);
                 });
    return copy;
}

}  // namespace pzel_io

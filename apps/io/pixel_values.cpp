// Values of any type as numbers and as text.
#include "apps/io/pixel_values.h"

#include <array>
#include <charconv>
#include <cmath>

namespace pzel_io {

Plane ChannelPlane(const Image& image, int channel) {
    const std::size_t bytes = ElementBytes(GetDataType(&image));
    if (IsInterleaved(&image))
        return {image.data + bytes * static_cast<std::size_t>(channel), image.channels};
    return {image.data + static_cast<std::size_t>(GetImageBytes(&image)) * static_cast<std::size_t>(channel),
            1};
}

ImageDataType TypeOfChannel(const Image& image, int channel) {
    const bool signedChroma = GetSubType(&image) == SubYuv;
    return static_cast<ImageDataType>(
        GetTrueDataType(signedChroma, image.channels, channel, GetDataType(&image)));
}

int StoredChannel(const Image& image, int channel) {
    return image.channels == 3 && GetSubType(&image) != SubYuv ? 2 - channel : channel;
}

std::vector<double> RowValues(const Image& image, int row, int column, int count) {
    const std::size_t channels = image.channels;
    std::vector<double> values(static_cast<std::size_t>(count) * channels);
    if (GetDataType(&image) == DataBit) {
        const unsigned char* bits = image.data + static_cast<std::size_t>(row) * image.rowBytes;
        for (int i = 0; i < count; ++i)
            values[static_cast<std::size_t>(i)] = bits[(column + i) / 8] & 0x80 >> (column + i) % 8 ? 1 : 0;
        return values;
    }
    for (std::size_t c = 0; c < channels; ++c) {
        const int channel = StoredChannel(image, static_cast<int>(c));
        Plane plane = ChannelPlane(image, channel);
        plane.first += static_cast<std::size_t>(row) * image.rowBytes +
                       static_cast<std::size_t>(column) * plane.step * ElementBytes(GetDataType(&image));
        double* to = values.data() + c;
        ForEachValue(TypeOfChannel(image, channel), plane, static_cast<std::size_t>(count), [&](auto value) {
            *to = static_cast<double>(value);
            to += channels;
        });
    }
    return values;
}

std::string ValueText(double value, ImageDataType type) {
    if (std::isnan(value)) return "nan";
    if (std::isinf(value)) return value < 0 ? "-inf" : "inf";
    std::array<char, 32> text;
    const auto end = type == DataFloat
                         ? std::to_chars(text.begin(), text.end(), static_cast<float>(value))
                         : std::to_chars(text.begin(), text.end(), static_cast<std::int64_t>(value));
    return {text.data(), end.ptr};
}

}  // namespace pzel_io

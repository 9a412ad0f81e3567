// Channel by channel and tile by tile: a tile becomes floats of the same values, floats become 16 bits
// between the levels, and these go through the curve.
#include "deep_picture.h"

#include <algorithm>
#include <cstring>

#include "composition.h"
#include "pzel/bounds/black_white.h"
#include "pzel/bounds/bounds.h"
#include "pzel/colour/convert_image.h"
#include "pzel/image/lifecycle.h"
#include "pzel/pixels/typed_copy.h"
#include "tone_curve.h"

namespace {

using pzel_io::OwnedImage;

constexpr int kTileColumns = 8192;  // far less than a record's row holds of floats
constexpr int kTileRows = 64;

int ChannelIndex(::Channel channel) {
    return channel == ::Channel::Green || channel == ::Channel::U  ? 1
           : channel == ::Channel::Blue || channel == ::Channel::V ? 2
                                                                   : 0;
}

OwnedImage NewTile(const Area& tile, ImageDataType type) {
    OwnedImage image(NewImage(static_cast<unsigned short>(WidthOf(tile)),
                              static_cast<unsigned short>(HeightOf(tile)), 1, type, false));
    SetImageType(image.get(), static_cast<unsigned short>(SubGrey));
    return image;
}

void SetLevels(Image& floats, const pzel_io::Window& levels) {
    AnyType low{}, high{};
    low.float32 = static_cast<float>(levels.low);
    high.float32 = static_cast<float>(levels.high);
    SetBound(&floats, low, high);
}

// Every value as a float.
template <class T>
void Take(const Image& image, int channel, const Area& tile, float* to) {
    const bool interleaved = IsInterleaved(&image);
    const std::size_t step = interleaved ? image.channels : 1;
    const unsigned char* first =
        image.data + (interleaved ? sizeof(T) * static_cast<std::size_t>(channel)
                                  : static_cast<std::size_t>(GetImageBytes(&image)) * channel);
    for (int y = tile.top; y <= tile.bottom; ++y) {
        const unsigned char* from = first + static_cast<std::size_t>(y) * image.rowBytes +
                                    static_cast<std::size_t>(tile.left) * step * sizeof(T);
        for (int x = tile.left; x <= tile.right; ++x, from += step * sizeof(T)) {
            T value;
            std::memcpy(&value, from, sizeof value);
            *to++ = static_cast<float>(value);
        }
    }
}

bool TakeFloats(const Image& image, int channel, const Area& tile, float* to) {
    switch (GetTrueDataType(GetSubType(&image) == SubYuv, image.channels, channel, GetDataType(&image))) {
        case DataUInt8: Take<std::uint8_t>(image, channel, tile, to); return true;
        case DataInt8: Take<std::int8_t>(image, channel, tile, to); return true;
        case DataUInt16: Take<std::uint16_t>(image, channel, tile, to); return true;
        case DataInt16: Take<std::int16_t>(image, channel, tile, to); return true;
        case DataFloat: Take<float>(image, channel, tile, to); return true;
        default: return false;
    }
}

}  // namespace

const char* DeepObjection(const Layer& layer, const pzel_io::PictureInfo& info) {
    if (info.type == DataBit) return "a picture of bits has no values of 16 bits (--depth 16)";
    if (layer.look.colourMap) return "colours of a map have 8 bits";
    if (layer.look.channel == Channel::Hsi) return "intensity, saturation and hue are shown with 8 bits";
    const bool yuv = layer.look.toYuv || info.model == SubYuv;
    if (yuv && layer.look.channel == Channel::All)
        return "a y,u,v picture is shown with 8 bits; --channel y, u or v alone has 16 (--depth 16)";
    return "";
}

DeepPicture::DeepPicture(const Image& image, const Levels& levels, const Layer& wishes,
                         const pzel_io::PictureInfo& info)
    : layer(wishes),
      tones(wishes.look.TonesOf(info.lowIsWhite)),
      area(layer.area ? *layer.area : Area{0, 0, image.width - 1, image.height - 1}),
      channels(image.channels == 3 && layer.look.channel == ::Channel::All ? 3 : 1) {
    const auto width = static_cast<std::size_t>(WidthOf(area));
    samples.resize(width * static_cast<std::size_t>(HeightOf(area)) * channels);
    const bool colour = image.channels == 3 && GetSubType(&image) == SubColour;
    const bool yuv = image.channels == 3 && !colour;
    const bool isCurved = !layer.look.bake && layer.look.IsCurved(info.lowIsWhite);
    const int first = image.channels == 3 ? ChannelIndex(layer.look.channel) : 0;
    for (std::size_t c = 0; c < channels; ++c) {
        const int user = first + static_cast<int>(c);
        const Channel channel{user, colour ? 2 - user : user, levels.at(static_cast<std::size_t>(user)),
                              isCurved && (!yuv || user == 0 || tones.size() > 1)};
        for (int y = area.top; y <= area.bottom; y += kTileRows) {
            for (int x = area.left; x <= area.right; x += kTileColumns) {
                ConvertTile(image, channel, c,
                            {x, y, std::min(area.right, x + kTileColumns - 1),
                             std::min(area.bottom, y + kTileRows - 1)});
            }
        }
    }
}

void DeepPicture::ConvertTile(const Image& image, const Channel& channel, std::size_t place,
                              const Area& tile) {
    const OwnedImage exact = NewTile(tile, DataFloat);
    if (!TakeFloats(image, channel.stored, tile, reinterpret_cast<float*>(exact->data)))
        throw std::runtime_error("its values have no 16 bits");
    SetLevels(*exact, channel.level);
    if (channel.isCurved) {
        constexpr pzel_io::Window kUnit{0, 1};
        SetSpatialBounds(exact.get(), {kUnit.low, kUnit.high}, 0);
        ToneCurve curve({tones.size() > 1 ? tones[static_cast<std::size_t>(channel.user)] : tones[0]},
                        ToneCurve::Model::Grey);
        ConvertImage(exact.get(), &curve);
        SetLevels(*exact, kUnit);
    }
    const OwnedImage deep = NewTile(tile, DataUInt16);
    SetDefaultBound(deep.get());
    CopyImage(exact.get(), deep.get(), 0, 0, 0, 0, deep->width, deep->height,
              static_cast<unsigned short>(CopyBorderNone));
    const auto* from = reinterpret_cast<const std::uint16_t*>(deep->data);
    const auto width = static_cast<std::size_t>(WidthOf(area));
    for (int y = tile.top; y <= tile.bottom; ++y) {
        std::uint16_t* to = samples.data() +
                            (static_cast<std::size_t>(y - area.top) * width +
                             static_cast<std::size_t>(tile.left - area.left)) *
                                channels +
                            place;
        for (int x = tile.left; x <= tile.right; ++x, to += channels) *to = *from++;
    }
}

pzel_io::FilePicture DeepPicture::AsFilePicture() const {
    const int width = WidthOf(area);
    return {reinterpret_cast<const unsigned char*>(samples.data()), width, HeightOf(area),
            static_cast<std::ptrdiff_t>(width * channels * sizeof(std::uint16_t)),
            channels == 3 ? pzel_io::PixelKind::Rgb48 : pzel_io::PixelKind::Grey16};
}

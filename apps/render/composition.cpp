// Composing at the least depth that shows every layer, so that bits and greys stay small and exact.
#include "composition.h"

#include <algorithm>
#include <cstring>

#include "pzel/component/comp.h"
#include "pzel/display/compose.h"
#include "pzel/image/lifecycle.h"

namespace {

constexpr std::int64_t kLargestSide = 65535;
constexpr std::int64_t kLargestBitmap = std::int64_t{1} << 30;  // bytes
constexpr int kColourBytes = 3;

std::int64_t Zoomed(int size, int zoom) {
    const int step = std::max(-zoom, 1);
    return static_cast<std::int64_t>((size + step - 1) / step) * std::max(zoom, 1);
}

}  // namespace

Area PlaceOf(const Layer& layer, const pzel_io::PictureInfo& info) {
    const Area part = layer.area.value_or(Area{0, 0, info.width - 1, info.height - 1});
    return {layer.x + part.left, layer.y + part.top, layer.x + part.right, layer.y + part.bottom};
}

Area UnionOf(const Area& one, const Area& other) {
    return {std::min(one.left, other.left), std::min(one.top, other.top), std::max(one.right, other.right),
            std::max(one.bottom, other.bottom)};
}

std::optional<Area> SharedPart(const Area& one, const Area& other) {
    const Area part{std::max(one.left, other.left), std::max(one.top, other.top),
                    std::min(one.right, other.right), std::min(one.bottom, other.bottom)};
    if (WidthOf(part) < 1 || HeightOf(part) < 1) return {};
    return part;
}

pzel_io::OwnedImage AsBoundary(const ShownBitmap& drawn) {
    const auto width = static_cast<unsigned short>(drawn.width);
    pzel_io::OwnedImage boundary(
        NewImage(width, static_cast<unsigned short>(drawn.height), 2, DataBit, true));
    SetImageType(boundary.get(), MajorBoundary);
    ClearImage(boundary.get());
    for (std::ptrdiff_t y = 0; y < drawn.height; ++y)
        std::memcpy(boundary->data + y * boundary->rowBytes, drawn.pixels + y * drawn.rowBytes,
                    static_cast<std::size_t>(boundary->rowBytes / 2));
    return boundary;
}

int DepthOf(Comp& comp) {
    constexpr std::uint8_t kPicture = 255;
    const int bits = comp.ComputeBmpBits();
    if (bits != 1) return bits;
    const bool white =
        comp.overlayColour == kPicture || comp.overlayColour == static_cast<std::uint8_t>(Colour::White);
    if (!white) return 24;
    return comp.transparency == 0 ? 1 : 8;
}

int WidthOf(const Area& area) {
    return area.right - area.left + 1;
}

int HeightOf(const Area& area) {
    return area.bottom - area.top + 1;
}

Composition::Composition(Movie& layers, const Area& shown, int zoomOfBoth)
    : movie(layers), area(shown), zoom(static_cast<signed char>(zoomOfBoth)) {
    movie.SetSize(WidthOf(area), HeightOf(area));
}

const ShownBitmap& Composition::Draw() {
    const int bits = Depth();
    const int width = static_cast<int>(Zoomed(WidthOf(area), zoom));
    const int height = static_cast<int>(Zoomed(HeightOf(area), zoom));
    const int rowBytes = (width * bits + 7) / 8;
    pixels.assign(static_cast<std::size_t>(rowBytes) * static_cast<std::size_t>(height), 0);
    const SRect shown{static_cast<std::int16_t>(area.left), static_cast<std::int16_t>(area.right),
                      static_cast<std::int16_t>(area.top), static_cast<std::int16_t>(area.bottom)};
    ComposeMovie(&movie, {pixels.data(), rowBytes, width, height}, shown, zoom, nullptr, bits);
    bitmap = {pixels.data(), width, height, rowBytes, bits, 1};
    return bitmap;
}

std::string Composition::Objection(const Area& shown, int zoom) {
    const std::int64_t width = Zoomed(WidthOf(shown), zoom), height = Zoomed(HeightOf(shown), zoom);
    if (width > kLargestSide || height > kLargestSide || width * height * kColourBytes > kLargestBitmap) {
        return "the picture would be " + std::to_string(width) + " x " + std::to_string(height) +
               " pixels: more than 65535 columns or rows, or than 1 GiB";
    }
    return {};
}

int Composition::Depth() const {
    int bits = 1;
    for (int i = 0; i < movie.GetNumbChildren(); ++i) {
        Comp& comp = *movie.GetChildren()[i];
        if (comp.IsVisible()) bits = std::max(bits, DepthOf(comp));
    }
    return bits;
}

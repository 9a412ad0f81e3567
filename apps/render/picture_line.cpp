// One line, layer after layer.
#include "picture_line.h"

#include <cstdio>
#include <set>

#include "composition.h"

namespace {

void PrintLayer(std::ostream& out, const OpenedLayer& opened, const View& view, std::uint32_t frame) {
    const pzel_io::PictureInfo& info = opened.Info();
    const Layer& layer = opened.layer;
    out << opened.NameOf(frame) << ": " << pzel_io::TypeName(info.type) << " x " << info.channels << " "
        << pzel_io::ModelName(info.model) << ", " << info.width << " x " << info.height << ", "
        << view.Text();
    if (layer.opacity != 1) out << ", opacity " << pzel_io::NumberText(layer.opacity);
    if (layer.x != 0 || layer.y != 0) out << ", at " << layer.x << "," << layer.y;
    if (layer.hidden) out << ", hidden";
}

// Of a file that serves several layers once.
void PrintConversions(std::ostream& out, const std::deque<OpenedLayer>& layers) {
    std::set<std::string> told;
    for (const OpenedLayer& opened : layers) {
        for (std::string line : opened.Maker().Conversions()) {
            if (layers.size() > 1) line = opened.Info().file.string() + ": " + line;
            if (told.insert(line).second) out << "; " << line;
        }
    }
}

bool IsInside(const Area& inner, const Area& outer) {
    return inner.left >= outer.left && inner.right <= outer.right && inner.top >= outer.top &&
           inner.bottom <= outer.bottom;
}

// Slices that were meant to be a stack lie over one another as layers: nobody would know.
void PrintHidden(std::ostream& out, const std::deque<OpenedLayer>& layers) {
    for (std::size_t below = 0; below < layers.size(); ++below) {
        const Layer& layer = layers[below].layer;
        if (layer.hidden || layer.IsOverlay()) continue;
        for (std::size_t above = below + 1; above < layers.size(); ++above) {
            const Layer& cover = layers[above].layer;
            if (cover.hidden || cover.IsOverlay() || cover.opacity != 1) continue;
            if (!IsInside(PlaceOf(layer, layers[below].Info()), PlaceOf(cover, layers[above].Info())))
                continue;
            out << "; " << layer.file << ": hidden behind " << cover.file
                << " (--stack makes frames of them)";
            break;
        }
    }
}

}  // namespace

void PrintPicture(std::ostream& out, const std::deque<OpenedLayer>& layers, const std::deque<View>& views,
                  const MadePicture& picture) {
    for (std::size_t i = 0; i < layers.size(); ++i) {
        if (i > 0) out << " + ";
        PrintLayer(out, layers[i], views[i], picture.frame);
    }
    constexpr int kByte = 8;
    const ShownBitmap& bitmap = picture.bitmap;
    const int bits = bitmap.bits * (picture.depth / kByte);
    out << ", " << bitmap.width << " x " << bitmap.height << " bitmap of " << bits
        << (bits == 1 ? " bit" : " bits");
    if (picture.zoom < -1 || picture.zoom > 1) out << " at zoom " << picture.zoom;
    char spent[32];
    std::snprintf(spent, sizeof spent, "%.3f", picture.milliseconds);
    out << " in " << spent << " ms";
    if (!picture.output.empty()) out << " -> " << picture.output.string();
    if (picture.isFirst) {
        PrintConversions(out, layers);
        PrintHidden(out, layers);
    }
    out << '\n';
}

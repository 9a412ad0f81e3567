// Layers are mapped where they are out of date, and then drawn over each other from the lowest on.
#include "seen_movie.h"

#include <algorithm>
#include <chrono>

namespace pzel_view {

namespace {

using Clock = std::chrono::steady_clock;

double MillisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

int ZoomedSize(int size, int zoom) {
    const int step = std::max(-zoom, 1);
    return (size + step - 1) / step * std::max(zoom, 1);
}

}  // namespace

SeenMovie::SeenMovie(Document& shown) : document(shown) {
    connect(&document, &Document::layersChanged, this, [this] {
        Follow();
        emit changed();
    });
    connect(&document, &Document::layerChanged, this, [this](Comp* comp, int event) {
        const auto found = layers.find(comp);
        if (found == layers.end() || event == EventActivated || event == EventName) return;
        if (event == EventImage) found->second->ForgetImage();
        if (event == EventBlackWhite || event == EventRemapper) found->second->ForgetBitmap();
        emit changed();
    });
    Follow();
}

void SeenMovie::Follow() {
    const std::vector<Comp*> shown = document.Layers();
    std::erase_if(layers, [&](const auto& layer) {
        return std::find(shown.begin(), shown.end(), layer.first) == shown.end();
    });
    for (Comp* comp : shown)
        if (!layers.contains(comp)) layers.emplace(comp, std::make_unique<SeenLayer>(*comp));
}

void SeenMovie::Start(const std::vector<SeenLayer*>& shown, const QRect& area, int zoom) {
    int bits = 1;
    for (SeenLayer* layer : shown) bits = std::max(bits, layer->Depth());
    const int width = ZoomedSize(area.width(), zoom), height = ZoomedSize(area.height(), zoom);
    const int rowBytes = (width * bits + 31) / 32 * 4;
    pixels.assign(static_cast<std::size_t>(rowBytes) * static_cast<std::size_t>(height), 0);
    bitmap = {pixels.data(), width, height, rowBytes, bits, 1};
}

const ShownBitmap& SeenMovie::Draw(const QRect& area, int zoom) {
    const Clock::time_point start = Clock::now();
    std::vector<SeenLayer*> shown;
    for (Comp* comp : document.Layers())
        if (SeenLayer* const layer = layers.at(comp).get(); layer->Map(area, zoom)) shown.push_back(layer);
    mapping = MillisecondsSince(start);
    ComposeAll(shown, area, zoom);
    return bitmap;
}

const ShownBitmap& SeenMovie::DrawAlone(const QRect& area, int zoom, Comp& layer) {
    const Clock::time_point start = Clock::now();
    SeenLayer* const seen = layers.at(&layer).get();
    const bool isThere = seen->Map(area, zoom, SeenLayer::Company::Alone);
    mapping = MillisecondsSince(start);
    ComposeAll(isThere ? std::vector<SeenLayer*>{seen} : std::vector<SeenLayer*>(), area, zoom);
    return bitmap;
}

void SeenMovie::ComposeAll(const std::vector<SeenLayer*>& shown, const QRect& area, int zoom) {
    const Clock::time_point start = Clock::now();
    Start(shown, area, zoom);
    for (SeenLayer* layer : shown)
        layer->Compose({pixels.data(), bitmap.rowBytes, bitmap.width, bitmap.height}, area, zoom,
                       bitmap.bits);
    composing = MillisecondsSince(start);
}

}  // namespace pzel_view

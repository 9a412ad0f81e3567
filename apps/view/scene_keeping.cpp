// Scenes are made of the wishes that frames are made by, and become settings again.
#include "scene_keeping.h"

#include <algorithm>

namespace pzel_view {

namespace {

Layer LayerOf(Document& document, Comp& comp) {
    Layer layer = document.WishesOf(comp);
    const std::filesystem::path file = layer.file;
    if (layer.name == file.filename().string()) layer.name.clear();
    return layer;
}

// The state that shows a component as a scene's layer says: under its file's name, where it tells none.
LayerState StateFor(const Layer& layer) {
    LayerState state = StateOfWishes(layer);
    if (state.name.empty()) state.name = std::filesystem::path(layer.file).filename().string();
    return state;
}

bool IsSameFile(const Layer& one, const Layer& other) {
    std::error_code ignored;
    return one.page == other.page && one.frame == other.frame && one.stack.size() == other.stack.size() &&
           one.asStored == other.asStored && one.partial == other.partial &&
           (one.file == other.file || std::filesystem::equivalent(one.file, other.file, ignored));
}

// The levels of a scene by hand are numbers; others are chosen when a file is opened.
bool HasNumbers(const Layer& layer) {
    return std::all_of(layer.look.levels.begin(), layer.look.levels.end(),
                       [](const LevelSpec& level) { return level.kind == LevelSpec::Kind::Given; });
}

bool FitsLayers(Document& document, const Scene& scene) {
    const auto comps = document.Layers();
    if (comps.size() != scene.layers.size()) return false;
    for (std::size_t i = 0; i < comps.size(); ++i)
        if (!IsSameFile(document.WishesOf(*comps[i]), scene.layers[i]) || !HasNumbers(scene.layers[i]))
            return false;
    return true;
}

}  // namespace

std::filesystem::path PictureOf(Document& document) {
    if (document.IsEmpty()) return {};
    return document.WishesOf(*document.Layers()[0]).file;
}

Scene SceneOf(Document& document, const QString& name, int zoom) {
    Scene scene;
    scene.name = name.toStdString();
    for (Comp* comp : document.Layers()) scene.layers.push_back(LayerOf(document, *comp));
    scene.frame = document.CurrentFrame();
    for (const Movie::FrameRange& range : document.GetMovie().GetFrameRanges())
        scene.ranges.emplace_back(static_cast<std::uint32_t>(range.first),
                                  static_cast<std::uint32_t>(range.second));
    scene.keep = document.Marks().ReturnKeepFrames();
    scene.cut = document.Marks().ReturnCutFrames();
    scene.zoom = zoom;
    return scene;
}

void Recall(Document& document, const Scene& kept) {
    Scene scene = kept;
    // The part of a single layer's picture is the part of the layer.
    if (scene.area && scene.layers.size() == 1) scene.layers[0].area = scene.area;
    if (!FitsLayers(document, scene)) return document.Open(scene.layers, OpenAs::Picture);
    const QString what = Document::tr("Scene %1").arg(QString::fromStdString(scene.name));
    document.History().beginMacro(what);
    const auto comps = document.Layers();
    for (std::size_t i = 0; i < comps.size(); ++i)
        document.Change(*comps[i], what, StateFor(scene.layers[i]));
    std::vector<Movie::FrameRange> ranges;
    for (const auto& [first, last] : scene.ranges) ranges.emplace_back(first, last);
    document.SetRanges(what, ranges);
    FrameInfo marks;
    marks.keepFrames = scene.keep;
    marks.cutFrames = scene.cut;
    document.SetMarks(what, marks);
    document.History().endMacro();
    document.GoTo(std::min(scene.frame, document.Frames() - 1));
}

}  // namespace pzel_view

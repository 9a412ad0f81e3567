// What a document tells: its layers, their settings and values; and the events of the library passed on.
#include "document.h"

#include <algorithm>
#include <utility>

#include "apps/render/tone_curve.h"
#include "pzel/display/vector.h"

namespace pzel_view {

namespace {

constexpr double kUsualRate = 25;  // frames a second

}  // namespace

Document::Document() : movie(new Movie) {
    VectorInit();
    movie->AttachObserver(this);
    connect(&reader, &FileReader::busyChanged, this, &Document::SetReading);
    player = std::make_unique<Player>(*this);
    connect(&history, &QUndoStack::indexChanged, this, &Document::SweepFiles);
}

Document::~Document() {
    player.reset();
    disconnect(&history, nullptr, this, nullptr);
    movie->DetachObserver(this);
    for (Comp* comp : Layers()) comp->DetachObserver(this);
    history.clear();
    VectorTermination();
}

std::vector<Comp*> Document::Layers() {
    return {movie->GetChildren(), movie->GetChildren() + movie->GetNumbChildren()};
}

Comp* Document::Active() {
    Comp* const active = movie->GetActiveComp();
    return active || IsEmpty() ? active : movie->GetChildren()[0];
}

Document::FileLayer& Document::FileOf(const Comp& comp) const {
    return **std::find_if(files.begin(), files.end(),
                          [&](const auto& file) { return file->comp.get() == &comp; });
}

Document::FileLayer* Document::FileOfSource(int source) const {
    const auto found =
        std::find_if(files.begin(), files.end(), [&](const auto& file) { return file->source == source; });
    return found == files.end() ? nullptr : found->get();
}

const pzel_io::PictureInfo& Document::InfoOf(const Comp& comp) const {
    return FileOf(comp).info;
}

LayerState Document::StateOf(Comp& comp) const {
    const FileLayer& file = FileOf(comp);
    LayerState state = StateOfWishes(file.wishes);
    if (file.asked) state = *file.asked;
    state.name = comp.GetName();
    state.visible = comp.IsVisible();
    state.opacity = static_cast<double>(comp.GetOpacity());
    state.x = comp.x;
    state.y = comp.y;
    if (state.role != Role::Picture) state.colour = static_cast<Colour>(comp.overlayColour);
    if (!file.asked) {
        state.area.reset();
        if (comp.dataArea)
            state.area =
                Area{comp.dataArea->left, comp.dataArea->top, comp.dataArea->right, comp.dataArea->bottom};
    }
    if (state.role == Role::Picture && !(file.asked && !file.asked->levels.empty())) {
        state.levels = GetLevels(comp);
        for (pzel_io::Window& level : state.levels)
            level = {level.low - file.offset, level.high - file.offset};
    }
    if (const auto* curve = dynamic_cast<const ToneCurve*>(comp.GetRemapper()); curve && !file.asked) {
        state.tones = curve->GetTones();
        if (file.info.lowIsWhite)
            for (Tone& tone : state.tones) tone.inverted = !tone.inverted;
    }
    return state;
}

Layer Document::WishesOf(Comp& comp) const {
    Layer wishes = WishesFor(StateOf(comp), FileOf(comp).wishes);
    wishes.look.levels.clear();
    for (const pzel_io::Window& level : StateOf(comp).levels)
        wishes.look.levels.push_back({LevelSpec::Kind::Given, level.low, level.high});
    return wishes;
}

const Image& Document::ValuesOf(Comp& comp) const {
    const FileLayer& file = FileOf(comp);
    return file.values ? *file.values : *comp.GetCurrentImage();
}

double Document::OffsetOf(const Comp& comp) const {
    return FileOf(comp).offset;
}

std::optional<pzel_io::Window> Document::WindowOf(const Comp& comp) const {
    return FileOf(comp).window;
}

std::vector<std::string> Document::NotesOf(const Comp& comp) const {
    return FileOf(comp).notes;
}

std::uint32_t Document::FrameOf(const Comp& comp) const {
    return FileOf(comp).frame;
}

QRect Document::Extent() {
    QRect visible, all;
    for (Comp* comp : Layers()) {
        const SRect place = comp->GetCompExtent();
        const QRect rectangle(QPoint(place.left, place.top), QPoint(place.right, place.bottom));
        all |= rectangle;
        if (comp->IsVisible()) visible |= rectangle;
    }
    return visible.isEmpty() ? all : visible;
}

std::uint32_t Document::Frames() {
    return IsEmpty() ? 0 : static_cast<std::uint32_t>(movie->GetMovieLength());
}

std::uint32_t Document::CurrentFrame() {
    return static_cast<std::uint32_t>(movie->GetCurrentFrame());
}

double Document::FrameRate() const {
    for (Comp* comp : const_cast<Document*>(this)->Layers()) {
        const pzel_io::PictureInfo& info = InfoOf(*comp);
        if (info.frames > 1 && info.frameRate > 0) return info.frameRate;
    }
    return kUsualRate;
}

void Document::SetSelection(const QRect& rectangle) {
    if (std::exchange(selection, rectangle) != rectangle) emit selectionChanged();
}

void Document::SetProfile(const std::optional<Segment>& line) {
    profile = line;
    emit profileChanged();
}

void Document::SetReading(bool busy) {
    if (std::exchange(reading, busy) != busy) emit readingChanged(busy);
}

void Document::Update(IComponent* source, int event, std::intptr_t) {
    if (!source->IsMovieObj()) {
        if (event == EventActivated) emit activeChanged();
        if (event != EventDestroyed) emit layerChanged(source->GetInternalComp(), event);
        return;
    }
    switch (event) {
        case EventChildAdded:
        case EventChildRemoved: emit layersChanged(); break;
        case EventCurrentFrame: emit frameShown(CurrentFrame()); break;
        case EventMovieLength: emit timeChanged(); break;
        default: break;
    }
}

}  // namespace pzel_view

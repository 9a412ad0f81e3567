// Changes and how they are undone. A change of settings is the state before and the state after; one of the
// layers as such is their order before and after.
#include <algorithm>
#include <cmath>
#include <utility>

#include "apps/render/tone_curve.h"
#include "document.h"

namespace pzel_view {

namespace {

// Something that is done and undone. The steps of one gesture become one, and what failed of them is left
// out; a step that failed as a whole does nothing, and leaves the history as soon as that gets there.
class Step final : public QUndoCommand {
  public:
    Step(const QString& what, std::function<void()> forth, std::function<void()> back, int ofGesture,
         std::shared_ptr<bool> hasFailed)
        : QUndoCommand(what), undoing(std::move(back)), gesture(ofGesture) {
        changes.push_back({std::move(forth), std::move(hasFailed)});
    }

    bool HasFailed() const { return Last() == changes.rend(); }

    void redo() override {
        setObsolete(HasFailed());
        if (!isObsolete()) Last()->redo();
    }
    void undo() override {
        setObsolete(HasFailed());
        if (!isObsolete()) undoing();
    }
    int id() const override { return gesture == 0 ? -1 : gesture; }
    bool mergeWith(const QUndoCommand* later) override {
        const auto& more = static_cast<const Step*>(later)->changes;
        changes.insert(changes.end(), more.begin(), more.end());
        return true;
    }

  private:
    struct Change {
        std::function<void()> redo;
        std::shared_ptr<bool> hasFailed;  // null: it cannot
    };
    std::vector<Change>::const_reverse_iterator Last() const {
        return std::find_if(changes.rbegin(), changes.rend(),
                            [](const Change& change) { return !change.hasFailed || !*change.hasFailed; });
    }

    std::vector<Change> changes;
    std::function<void()> undoing;
    int gesture;
};

ToneCurve::Model CurveModel(const Image& image) {
    if (image.channels != 3) return ToneCurve::Model::Grey;
    return GetSubType(&image) == SubYuv ? ToneCurve::Model::Yuv : ToneCurve::Model::Colour;
}

}  // namespace

void Document::Do(const QString& what, std::function<void()> redo, std::function<void()> undo, int gesture,
                  std::shared_ptr<bool> hasFailed) {
    history.push(new Step(what, std::move(redo), std::move(undo), gesture, std::move(hasFailed)));
}

std::shared_ptr<Comp> Document::Held(Comp& comp) const {
    comp.Hold();
    return {&comp, [](Comp* held) { held->Release(); }};
}

void Document::Change(Comp& comp, const QString& what, const LayerState& asked, int gesture) {
    const LayerState before = StateOf(comp);
    LayerState after = asked;
    // Levels of other values say nothing of these.
    if (NeedsOtherImage(before, after, InfoOf(comp)) && IsSame(before.levels, after.levels))
        after.levels.clear();
    if (IsSame(before, after)) return;
    const std::shared_ptr<Comp> held = Held(comp);
    FileLayer& file = FileOf(comp);
    const Awaited change{std::make_shared<bool>(false), std::make_shared<LayerState>(after)};
    file.awaited.push_back(change);
    Do(
        what, [this, held, change] { Apply(*held, *change.after); },
        [this, held, before] { Apply(*held, before); }, gesture, change.hasFailed);
    if (!file.asked) file.awaited.clear();
}

void Document::Apply(Comp& comp, const LayerState& to) {
    FileLayer& file = FileOf(comp);
    const LayerState now = StateOf(comp);
    if (file.asked || NeedsOtherImage(now, to, file.info)) return Remake(file, to);
    ApplyShown(file, to);
}

void Document::ApplyShown(FileLayer& file, const LayerState& to) {
    Comp& comp = *file.comp;
    const Layer before = file.wishes;
    file.wishes = WishesFor(to, file.wishes);
    if (to.name != comp.GetName()) {
        comp.SetNametag(to.name);
        comp.NotifyObserver(EventName, 0);
    }
    comp.SetVisible(to.visible);
    comp.SetOpacity(static_cast<float>(to.opacity));
    const bool hasArea = to.area && to.role == Role::Picture;  // overlays are shown whole
    const bool otherArea = !IsSame(before.area, to.area) || hasArea != (comp.dataArea != nullptr);
    const bool otherChannel = SetChannel(comp, to.channel);
    if (otherArea) SetArea(comp, hasArea ? to.area : std::nullopt);
    comp.SetLocation(to.x + (hasArea ? to.area->left : 0), to.y + (hasArea ? to.area->top : 0));
    if (otherArea || otherChannel) {
        reader.Follow(file.source, file.wishes);
        KeepSmallBitmap(comp);
        comp.NotifyObserver(EventImage, 0);
    }
    constexpr std::uint8_t kNoOverlay = 255;
    const std::uint8_t colour = to.role == Role::Picture ? kNoOverlay : static_cast<std::uint8_t>(to.colour);
    if (std::exchange(comp.overlayColour, colour) != colour) comp.NotifyObserver(EventColour, 0);
    if (to.role != Role::Picture) return;
    ApplyLevels(file, to.levels);
    SetCurve(file);
}

bool Document::SetChannel(Comp& comp, Channel channel) {
    const int flag = channel == Channel::Red     ? CompChannelRed
                     : channel == Channel::Green ? CompChannelGreen
                     : channel == Channel::Blue  ? CompChannelBlue
                     : channel == Channel::Y     ? CompChannelRed
                     : channel == Channel::U     ? CompChannelGreen
                     : channel == Channel::V     ? CompChannelBlue
                                                 : 0;
    const auto flags = static_cast<std::uint16_t>((comp.flagsA & ~CompChannelMask) | flag);
    return std::exchange(comp.flagsA, flags) != flags;
}

void Document::SetArea(Comp& comp, const std::optional<Area>& area) {
    delete std::exchange(comp.dataArea, nullptr);
    comp.flagsA &= static_cast<std::uint16_t>(~CompExtentMask);
    if (!area) return;
    comp.dataArea = new SRect{static_cast<std::int16_t>(area->left), static_cast<std::int16_t>(area->right),
                              static_cast<std::int16_t>(area->top), static_cast<std::int16_t>(area->bottom)};
    comp.flagsA |= CompExtentDataArea;
}

// Levels that the record's type cannot hold are moved into it, and apart.
void Document::ApplyLevels(FileLayer& file, const Levels& levels) {
    Comp& comp = *file.comp;
    Image& image = *comp.GetCurrentImage();
    if (levels.size() != image.channels || comp.GetDataType() == DataBit) return;
    const bool joint = file.wishes.look.channel == Channel::Hsi;
    const Levels stored = joint ? StoredJointLevels(levels, image) : StoredLevels(levels, image, file.offset);
    for (std::size_t i = 0; i < stored.size(); ++i) {
        const int channel = ComponentChannel(comp, static_cast<int>(i));
        if (!(stored[i].low < stored[i].high)) continue;
        comp.SetBlackWhite(channel, {stored[i].low, stored[i].high});
    }
}

// Pictures whose low values are white are turned over by their curves.
void Document::SetCurve(FileLayer& file) {
    Comp& comp = *file.comp;
    const Look& look = file.wishes.look;
    const Image& image = *comp.GetCurrentImage();
    if (comp.GetDataType() == DataBit || !look.IsCurved(file.info.lowIsWhite))
        return comp.SetRemapper(nullptr);
    auto curve = std::make_unique<ToneCurve>(look.TonesOf(file.info.lowIsWhite), CurveModel(image));
    curve->SetMode(look.channel == Channel::Hsi ? 1 : 0, 1);
    comp.SetRemapper(curve.release());
}

// One image is made at a time; what is asked for meanwhile comes next.
void Document::Remake(FileLayer& file, const LayerState& to) {
    file.asked = to;
    if (!file.remaking) AskForImage(file);
}

void Document::AskForImage(FileLayer& file) {
    file.remaking = WishesFor(*file.asked, file.wishes);
    file.beingMade = static_cast<std::ptrdiff_t>(file.awaited.size());
    if (file.asked->levels.empty()) file.remaking->look.levels.clear();
    const int source = file.source;
    reader.MakeBy(
        source, *file.remaking, file.frame,
        [this, source](MadeFrame made) { Remade(source, std::move(made)); },
        [this, source](const QString& reason) { NotRemade(source, reason); });
}

void Document::Remade(int source, MadeFrame made) {
    FileLayer* const file = FileOfSource(source);
    if (!file || !file->asked) return;
    file->wishes = *std::exchange(file->remaking, std::nullopt);
    Install(*file, std::move(made), true);
    const LayerState asked = *std::exchange(file->asked, std::nullopt);
    const auto rest = file->awaited.begin() + file->beingMade;
    const std::vector<Awaited> done(file->awaited.begin(), rest);
    file->awaited.erase(file->awaited.begin(), rest);
    file->comp->NotifyObserver(EventImage, 0);
    const LayerState now = StateOfWishes(file->wishes);
    if (NeedsOtherImage(now, asked, file->info)) return Remake(*file, asked);
    ApplyShown(*file, asked);
    // Levels that were chosen by the frame are the same when the change is done again at another.
    for (const Awaited& change : done)
        if (change.after->levels.empty()) change.after->levels = StateOf(*file->comp).levels;
    file->comp->NotifyObserver(EventImage, 0);
    CatchUp();
}

// The layer stays as it was, and the changes that wanted the image are none that could be undone.
void Document::NotRemade(int source, const QString& reason) {
    FileLayer* const file = FileOfSource(source);
    if (!file) return;
    file->remaking.reset();
    file->asked.reset();
    for (const Awaited& change : std::exchange(file->awaited, {})) *change.hasFailed = true;
    const auto last = [&] { return dynamic_cast<const Step*>(history.command(history.index() - 1)); };
    while (last() && last()->HasFailed()) history.undo();
    CatchUp();
    emit failed(reason);
}

void Document::DoOrder(const QString& what, const std::vector<Comp*>& after) {
    std::vector<std::shared_ptr<Comp>> before, then;
    for (Comp* comp : Layers()) before.push_back(Held(*comp));
    for (Comp* comp : after) then.push_back(Held(*comp));
    const auto setter = [this](const std::vector<std::shared_ptr<Comp>>& list) {
        return [this, list] {
            std::vector<Comp*> order;
            for (const auto& comp : list) order.push_back(comp.get());
            SetOrder(order);
        };
    };
    Do(what, setter(then), setter(before));
}

void Document::SetOrder(const std::vector<Comp*>& order) {
    Comp* const active = Active();
    const auto isIn = [](const std::vector<Comp*>& list, Comp* comp) {
        return std::find(list.begin(), list.end(), comp) != list.end();
    };
    const std::vector<Comp*> before = Layers();
    for (Comp* comp : before) {
        if (isIn(order, comp)) continue;
        comp->DetachObserver(this);
        movie->RemoveChild(comp);
    }
    for (Comp* comp : order) {
        if (isIn(before, comp)) continue;
        comp->AttachObserver(this);
        movie->AddChild(comp);
    }
    std::copy(order.begin(), order.end(), movie->GetChildren());
    movie->NotifyObserver(EventChildRemoved, 0);
    if (order.empty()) return;
    movie->MakeChildActive(isIn(order, active) ? active : order.back());
    const std::uint32_t last = Frames() - 1;
    GoTo(std::min(CurrentFrame(), last));
}

void Document::Remove(Comp& comp) {
    std::vector<Comp*> order = Layers();
    std::erase(order, &comp);
    DoOrder(tr("Remove Layer"), order);
}

void Document::MoveTo(Comp& comp, int index) {
    std::vector<Comp*> order = Layers();
    std::erase(order, &comp);
    order.insert(order.begin() + std::clamp(index, 0, static_cast<int>(order.size())), &comp);
    Reorder(order);
}

void Document::Reorder(const std::vector<Comp*>& order) {
    if (order != Layers()) DoOrder(tr("Reorder Layers"), order);
}

void Document::Duplicate(Comp& comp) {
    AddCopy(comp, tr("Duplicate Layer"), StateOf(comp));
}

void Document::AddCopy(Comp& comp, const QString& what, const LayerState& state) {
    const std::shared_ptr<Comp> original = Held(comp);
    const int number = loads;
    reader.Open(
        WishesFor(state, FileOf(comp).wishes), FileOf(comp).frame,
        [this, original, what, state, number](OpenedFile opened) {
            std::vector<Comp*> order = Layers();
            const auto below = std::find(order.begin(), order.end(), original.get());
            if (number != loads || below == order.end()) return reader.Close(opened.source);
            files.push_back(MakeLayer(std::move(opened)));
            FileLayer& file = *files.back();
            ApplyShown(file, state);
            order.insert(below + 1, file.comp.get());
            Comp* const copy = file.comp.get();
            DoOrder(what, order);
            movie->MakeChildActive(copy);
        },
        [this](const QString& reason) { emit failed(reason); });
}

void Document::MakeActive(Comp& comp) {
    if (Active() != &comp || !movie->IsChildActive(&comp)) movie->MakeChildActive(&comp);
}

void Document::SetRanges(const QString& what, const std::vector<Movie::FrameRange>& ranges, int gesture) {
    const std::vector<Movie::FrameRange> before = movie->GetFrameRanges();
    if (before == ranges) return;
    const auto setter = [this](const std::vector<Movie::FrameRange>& list) {
        return [this, list] {
            movie->ClearFrameRanges();
            for (const Movie::FrameRange& range : list) movie->AddFrameRange(range);
            emit timeChanged();
        };
    };
    Do(what, setter(ranges), setter(before), gesture);
}

void Document::SetMarks(const QString& what, const FrameInfo& to) {
    const auto setter = [this](const FrameInfo& value) {
        return [this, value] {
            marks = value;
            emit timeChanged();
        };
    };
    Do(what, setter(to), setter(marks));
}

// Files whose layers no undo can bring back.
void Document::SweepFiles() {
    std::erase_if(files, [this](const auto& file) {
        const bool isGone = file->comp->refCount == 1;
        if (isGone) reader.Close(file->source);
        return isGone;
    });
}

}  // namespace pzel_view

// Single components: life, copies, what they answer, flags, comp info, scenes and frames to keep.
#include <array>
#include <cstring>

#include "tests/fuzz/rows_shared.h"

namespace fuzz {

namespace {

Comp* childOfSome(World& w) {
    std::array<Comp*, World::kComps> children{};
    int count = 0;
    for (Comp* comp : w.comps)
        if (comp && comp->parent) children[std::size_t(count++)] = comp;
    return count ? children[std::size_t(w.draw(0, count - 1))] : nullptr;
}

/// Puts a fresh component into a slot, whose old one is released.
void place(World& w, Comp* made) {
    const int slot = w.draw(0, World::kComps - 1);
    w.touchAll();
    w.anyEvents();
    if (w.comps[std::size_t(slot)]) w.dropComp(slot);
    w.comps[std::size_t(slot)] = made;
    w.held[std::size_t(slot)] = 1;
}

template <class F>
void frameSet(World& w, F&& f) {
    w.touch(World::Small);
    f(w.frames, long(w.draw(-3, 9)));
}

}  // namespace

void addComponentRows(Table& table) {
    table.strong("AllocComp", [](World& w) {
        const auto frames = unsigned(w.draw(0, 3));
        Comp* const made = CALL(AllocComp, frames);
        HOLDS(made->imageFrames == frames && made->refCount == 1 && made->overlayColour == 255 &&
              !made->parent);
        HOLDS((made->images == nullptr) == (frames == 0));
        place(w, made);
    });
    table.strong("Comp, copied", [](World& w) {
        Comp* const from = w.comp();
        const auto before = contents(w, *from, true);
        Comp* const made = CALL(new Comp, *from);
        HOLDS(!before || (contents(w, *made, true) == before && contents(w, *from, true) == before));
        HOLDS(made->refCount == 1 && !made->observers);
        place(w, made);
    });
    table.strong("Comp, assigned", [](World& w) {
        Comp *const from = w.comp(), *const to = w.out(w.comp());
        const Movie* const parent = to->parent;
        const auto before = contents(w, *from, true);
        CALL_ON(to, operator=, *from);
        HOLDS((!before || contents(w, *to, true) == before) && to->parent == parent);
    });
    table.strong("CopyComp", [](World& w) {
        Comp *const from = w.comp(), *const to = w.out(w.comp());
        const auto* const observers = to->observers;
        const bool withBitmap = w.draw.coin();
        const auto before = contents(w, *from, withBitmap);
        CALL(CopyComp, to, from, withBitmap);
        HOLDS((!before || contents(w, *to, withBitmap) == before) && to->observers == observers);
        HOLDS(withBitmap || to == from || !to->bitmap);
    });
    table.basic("CompInit, Clear", [](World& w) {
        Comp fresh;
        CALL(CompInit, &fresh, 2ul);
        HOLDS(fresh.imageFrames == 2 && fresh.frameCount == 1);
        DeleteImages(fresh.images, 2);
        CALL_ON(&fresh, Clear);
        HOLDS(!fresh.images && fresh.imageFrames == 0);
    });
    table.basic("Comp::Cleanup", [](World& w) {
        Comp fresh;
        CopyComp(&fresh, w.comp(), true);
        fresh.AttachObserver(&w.ears[2]);
        CALL_ON(&fresh, Cleanup);
        HOLDS(!fresh.images && !fresh.bitmap && !fresh.remapper && !fresh.observers && !fresh.flatComp);
    });
    table.never("Comp::Release", [](World& w) {
        const auto slot = std::size_t(w.draw(0, World::kComps - 1));
        Comp* const comp = w.comps[slot];
        if (!comp) return;
        w.touchAll();
        if (w.held[slot] > 1 || w.draw.coin()) {
            if (w.held[slot] < 3) ++w.held[slot], HOLDS(CALL_ON(comp, Hold) == comp->refCount);
            return;
        }
        const int left = comp->refCount - 1;
        if (left == 0) w.expect(comp, EventDestroyed);
        w.comps[slot] = nullptr, w.held[slot] = 0;
        HOLDS(CALL_ON(comp, Release) == left);
    });
    table.never("Comp::Hold, Release", onAny<references<Comp>>);
    table.strong("Comp::AttachObserver, DetachObserver, GetObservers", onAny<observe<Comp>>);
    table.never("Comp::SetObservers", onAny<replaceObservers<Comp>>);
    table.never("Comp::NotifyObserver", onAny<notify<Comp>>);
    table.strong("Comp::AddScene, RemoveScene, GetSceneList", onAny<scenes<Comp>>);
    table.never("Comp::SetSceneList", onAny<sceneList<Comp>>);
    table.never("Comp::GetCompType and its kin", onAny<answers<Comp>>);
    table.never("Comp::SetVisible", onAny<visible<Comp>>);
    table.never("Comp::SetOpacity", onAny<opacity<Comp>>);
    table.basic("Comp::SetRemapper", onAny<remapper<Comp>>);
    table.strong("Comp::SetBlackWhite, GetBlackWhite", onAny<levels<Comp>>);
    table.never("Comp::SetLocation, GetLocation, GetSize", onAny<location<Comp>>);
    table.never("Comp::SetStartFrame, GetStartFrame", onAny<startFrame<Comp>>);
    table.basic("Comp::SetNametag, SetFilename, GetName", onAny<names<Comp>>);
    table.never("Comp::SetParent", [](World& w) {
        Comp* const comp = childOfSome(w);
        if (!comp) return;
        w.out(comp);
        Movie* const parent = comp->parent;
        CALL_ON(comp, SetParent, nullptr);
        HOLDS(!CALL_ON(comp, GetParent));
        if (w.draw.coin()) CALL_ON(comp, SetParent, parent);
    });
    table.never("GetCurrentImage, GetFrameCount", [](World& w) {
        Comp* const comp = w.comp();
        HOLDS(CALL_ON(comp, GetCurrentImage) == comp->images &&
              CALL_ON(comp, GetFrameCount) == comp->frameCount);
    });
    table.strong("GetCompBound", [](World& w) {
        Comp* const comp = w.out(w.comp());
        Image* const shown = comp->GetFlatImage();
        const u8* const bound = CALL_ON(comp, GetCompBound);
        HOLDS(bound == (shown && GetBoundBytes(shown) ? shown->bound : nullptr));
    });
    // What a component passes on to its movie.
    table.never("GetIndex, MakeActive, IsActive", [](World& w) {
        Comp* const comp = childOfSome(w);
        if (!comp) return;
        Movie* const movie = w.out(comp->parent);
        for (const Comp* child : w.children[std::size_t(w.slotOf(movie))])
            if (child == comp) w.expect(comp, EventActivated);
        CALL_ON(comp, MakeActive);
        HOLDS(CALL_ON(comp, IsActive) && movie->GetActiveComp() == comp);
        const int index = CALL_ON(comp, GetIndex);
        HOLDS(movie->GetChildAt(index) == comp);
    });
    table.never("SetMovieLength, GetMovieLength, CheckMovieLength", [](World& w) {
        Comp* const comp = childOfSome(w);
        if (!comp) return;
        const auto length = u32(w.draw(0, 9));
        w.out(comp->parent);
        w.expectLength(comp->parent, length);
        const auto before = comp->parent->GetMovieLength();
        CALL_ON(comp, SetMovieLength, length);
        HOLDS(CALL_ON(comp, GetMovieLength) == (length ? length : before));
        HOLDS(CALL_ON(comp, CheckMovieLength, false) == comp->parent->CheckMovieLength(false));
    });
    table.never("SetCurrentFrame, MoveToNextFrame", [](World& w) {
        Comp* const comp = childOfSome(w);
        if (!comp) return;
        Movie* const movie = w.out(comp->parent);
        w.anyEvents();
        const auto frame = u32(w.draw(0, 9)), before = u32(movie->GetCurrentFrame());
        const bool moves =
            frame + comp->startFrame < movie->GetMovieLength() && frame + comp->startFrame != before;
        HOLDS(CALL_ON(comp, SetCurrentFrame, frame) == moves);
        HOLDS(!moves || movie->GetCurrentFrame() == frame + comp->startFrame);
        CALL_ON(comp, MoveToNextFrame);
    });
    // Flags and fields.
    table.never("SetDataReady and its kin", [](World& w) {
        Comp* const comp = w.out(w.comp());
        const bool ready = w.draw.coin();
        CALL(SetDataReady, comp, ready);
        HOLDS(CALL(IsDataReady, comp) == ready);
        CALL(SetFlatFrameNotUpdated, comp);
        HOLDS(CALL(IsFlatFrameNotUpdated, comp));
        if (ready) CALL(SetFlatFrameUpdated, comp), HOLDS(!IsFlatFrameNotUpdated(comp));
        const bool can = CALL(CanExpandPictureToMovie, comp);
        CALL(SetNotExpandPictureToMovie, comp);
        HOLDS(CanExpandPictureToMovie(comp) == (can && comp->frameCount > 1));
    });
    table.never("SetCompMSType and its kin", [](World& w) {
        Comp* const comp = w.out(w.comp());
        const u16 before = CALL(GetCompMSType, comp), sub = u16(w.draw(0, 255));
        // Other major types say whose the images are.
        CALL(SetCompMajorType, comp, before), CALL(SetCompSubType, comp, sub);
        HOLDS(CALL(GetCompMajorType, comp) == (before & 0xFF00) && CALL(GetCompSubType, comp) == sub);
        CALL(SetCompMSType, comp, comp->msType);
        HOLDS(comp->msType == ((before & 0xFF00) | sub));
    });
    table.never("DeleteAttachment", [](World& w) {
        Comp* const comp = w.out(w.comp());
        if (!comp->attachment)
            comp->attachment = new (::operator new(sizeof(Attachment)))
                Attachment{8, 1, std::memset(::operator new(8), 3, 8)};
        if (w.draw.coin()) return;
        CALL(DeleteAttachment, comp);
        HOLDS(!comp->attachment);
    });
    table.basic("fields of the host", [](World& w) {
        Comp* const comp = w.out(w.comp());
        const int what = w.draw(0, 5);
        const Image none{};
        if (what < 3) {
            delete comp->dataArea;
            comp->dataArea = new SRect(w.area(comp->images ? *comp->images : none));
            comp->flagsA = u16((comp->flagsA & ~CompExtentMask) | (what ? CompExtentDataArea : 0));
        } else if (what == 3) {
            comp->flagsA = u16((comp->flagsA & ~CompChannelMask) | (w.draw(0, 3) << 6));
        } else if (what == 4 && !comp->flatComp) {
            comp->flatComp = AllocComp(1);
            Image* const picture = w.newRecord(w.shape());
            TransferImage(comp->flatComp->images, picture);
            DeleteImage(picture);
            comp->flatComp->x = std::int16_t(w.draw(-5, 20)), comp->flatComp->y = std::int16_t(w.draw(-5, 9));
        } else if (comp->flatComp) {
            comp->flatComp->flagsA ^= CompHidden;
        }
        // A bitmap of another depth is the host's to free.
        CALL_ON(comp, DeleteBitmap);
        HOLDS(!comp->bitmap && !(comp->bmpWidth | comp->bmpHeight | comp->bmpRowBytes | comp->bmpLeft |
                                 comp->bmpTop | comp->bmpBits));
    });
    // Comp info.
    table.basic("AllocCompInfo, CopyCompInfo, CleanupCompInfo, DeleteCompInfo", [](World& w) {
        Comp* const comp = w.out(w.comp());
        if (!comp->info) comp->info = CALL(AllocCompInfo);
        comp->info->vectorStepX = u8(w.draw(0, 5)), comp->info->currentFrame = u32(w.draw(0, 9));
        HOLDS(CALL_ON(comp, GetCurrentFrame) == comp->info->currentFrame);
        CompInfo other;
        CALL(CopyCompInfo, &other, comp->info, w.draw.coin());
        HOLDS(other.vectorStepX == comp->info->vectorStepX && other.currentFrame == comp->info->currentFrame);
        CALL(CleanupCompInfo, &other);
        HOLDS(other.vectorStepX == 0 && other.currentFrame == 0);
        if (w.draw.coin()) CALL(DeleteCompInfo, std::exchange(comp->info, nullptr));
    });
    // Scenes as values.
    table.basic("MovieScene", [](World& w) {
        w.touch(World::Small);
        const MovieScene::Range ranges[] = {{1, 2}, {9, 3}};
        const char* const text = w.draw.coin() ? w.text() : nullptr;
        MovieScene made = CALL(MovieScene, w.text(), text, u32(w.draw(0, 2)), ranges);
        HOLDS(!std::strcmp(made.description, text ? text : ""));
        const MovieScene copy = CALL(MovieScene, made);
        HOLDS(copy.numbRanges == made.numbRanges && !std::strcmp(copy.name, made.name) &&
              copy.name != made.name);
        MovieScene moved = w.call("MovieScene", [&] { return MovieScene(std::move(made)); });
        CALL_ON(&w.scene, operator=, moved);
        HOLDS(w.scene.numbRanges == copy.numbRanges && !std::strcmp(w.scene.name, copy.name));
    });
    table.basic("MovieScene::AddRange, RemoveRange", [](World& w) {
        w.touch(World::Small);
        const auto first = unsigned(w.draw(0, 5)), last = unsigned(w.draw(0, 9));
        // Before the first one that does not begin earlier; the first that is the same goes.
        std::vector<MovieScene::Range> model(w.scene.ranges, w.scene.ranges + w.scene.numbRanges);
        const MovieScene::Range range(first, last);
        if (model.size() < 9 && w.draw.coin()) {
            const auto later = [&](const auto& one) { return one.first >= range.first; };
            model.insert(std::find_if(model.begin(), model.end(), later), range);
            CALL_ON(&w.scene, AddRange, first, last);
        } else {
            const auto at = std::find(model.begin(), model.end(), range);
            if (at != model.end()) model.erase(at);
            CALL_ON(&w.scene, RemoveRange, first, last);
        }
        HOLDS(std::vector(w.scene.ranges, w.scene.ranges + w.scene.numbRanges) == model);
    });
    // Frames to keep and to cut.
    table.basic("FrameInfo, kept frames", [](World& w) {
        frameSet(w, [&](FrameInfo& f, long frame) {
            CALL_ON(&f, InsertKeepFrame, frame);
            HOLDS(CALL_ON(&f, FindKeepFrame, frame) && CALL_ON(&f, GetKeepFrame, frame) == frame);
            const FrameInfo::Frames kept = CALL_ON(&f, ReturnKeepFrames);
            HOLDS(CALL_ON(&f, GetKeepSize) == long(kept.size()) &&
                  CALL_ON(&f, GetKeepFrameByOrder, 0) == *kept.begin());
            if (w.draw.coin()) CALL_ON(&f, EraseKeepFrame, frame), HOLDS(!f.FindKeepFrame(frame));
        });
    });
    table.basic("FrameInfo, cut frames", [](World& w) {
        frameSet(w, [&](FrameInfo& f, long frame) {
            CALL_ON(&f, InsertCutFrame, frame);
            HOLDS(CALL_ON(&f, FindCutFrame, frame) && CALL_ON(&f, GetCutFrame, frame) == frame);
            const FrameInfo::Frames cut = CALL_ON(&f, ReturnCutFrames);
            HOLDS(CALL_ON(&f, GetCutSize) == long(cut.size()) &&
                  CALL_ON(&f, GetCutFrameByOrder, 0) == *cut.begin());
            if (w.draw.coin()) CALL_ON(&f, EraseCutFrame, frame), HOLDS(!f.FindCutFrame(frame));
        });
    });
    table.basic("AllocFrameInfo, Clone, SetStartframe", [](World& w) {
        frameSet(w, [&](FrameInfo& f, long frame) {
            CALL_ON(&f, SetStartframe, frame);
            const std::unique_ptr<FrameInfo> made(CALL(AllocFrameInfo)), copy(CALL_ON(&f, Clone));
            HOLDS(made->GetKeepSize() == 0 && made->startFrame == 0);
            HOLDS(copy->keepFrames == f.keepFrames && copy->cutFrames == f.cutFrames &&
                  copy->startFrame == frame);
            CALL_ON(copy.get(), ~FrameInfo);
            ::new (copy.get()) FrameInfo;
        });
    });
}

}  // namespace fuzz

// A component: what it announces, what it owns, and its copies, which share nothing.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <sstream>

#include "component_helpers.h"
#include "pzel/bounds/bounds.h"
#include "pzel/image/attachment.h"

namespace {

TEST(Comp, AnnouncesRealChangesOnce) {
    Recorder r;
    auto comp = newComp();
    Movie movie;
    movie.AddChild(comp.get());
    r.name('c', comp.get());
    r.name('m', &movie);
    char name[] = "one";
    constexpr unsigned long above32Bits = ~0xFFFFFFFFul;  // lost on the way
    unsigned long ranges[] = {9, above32Bits + 3};
    for (int i = 0; i < 2; ++i) {
        comp->AttachObserver(&r);
        comp->SetVisible(false);
        comp->SetOpacity(0.5f);
        comp->SetRemapper(new Tone(1));  // the second equals the first and is deleted
        comp->SetStartFrame(above32Bits + 7);
        comp->SetLocation(-5, 9);
        comp->AddScene(name, nullptr, 1, ranges);
        name[0] = 'X';
    }
    EXPECT_EQ(r.take(), "c10 c9 c11 c16 c6@3 c17 c17 ");
    EXPECT_EQ(movie.GetMovieLength(), 8u);
    const MovieScene scene = comp->GetSceneList()->front();
    EXPECT_FALSE(comp->RemoveScene(2) || comp->RemoveScene(-1));
    EXPECT_TRUE(comp->RemoveScene(0));
    comp->SetSceneList(comp->GetSceneList());
    EXPECT_STREQ(comp->GetSceneList()->front().name, "Xne");
    EXPECT_STREQ(scene.name, "one");
    EXPECT_EQ(scene.ranges[0], (MovieScene::Range{9, 3}));
    comp->SetRemapper(nullptr);
    EXPECT_EQ(Tone::alive, 0);
    EXPECT_EQ(r.take(), "c18 c11 ");

    // The shown corner counts; a move to the origin of an empty movie announces the movie first.
    comp->dataArea = new SRect{1, 2, 1, 1};
    comp->flagsA |= CompExtentDataArea;
    movie.RemoveChild(comp.get());
    comp->SetParent(&movie);
    comp->SetLocation(-4, 10);
    EXPECT_TRUE(r.log.empty());
    comp->SetLocation(0, 0);
    EXPECT_EQ(r.take(), "c5(m) c6@-3 ");
    EXPECT_EQ(comp->x, -1);
    comp->SetLocation(std::numeric_limits<int>::min(), std::numeric_limits<int>::max());
    EXPECT_TRUE(comp->x == -1 && comp->y == -2) << "narrowed, not clamped";
}

TEST(Comp, CallsObserversInOrderAndNotAfterTheyLeft) {
    Recorder a, b, c;
    std::string order;
    auto comp = newComp();
    a.onEvent = [&](int) {
        order += 'a';
        comp->DetachObserver(&a);
        comp->DetachObserver(&b);
    };
    b.onEvent = [&](int) { order += 'b'; };
    c.onEvent = [&](int) { order += 'c'; };
    for (Recorder* r : {&a, &b, &c}) comp->AttachObserver(r);
    comp->NotifyObserver(99, 5);
    comp->AttachObserver(&b);
    EXPECT_EQ(order, "ac");
    EXPECT_EQ(comp->Hold(), 2);
    EXPECT_EQ(comp->Release(), 1);
    EXPECT_EQ(comp.release()->Release(), 0);
    EXPECT_EQ(order, "accb");  // the end is announced, too
}

Attachment* newAttachment(char content) {
    auto* const attachment = new (::operator new(sizeof(Attachment))) Attachment{1, 42, ::operator new(1)};
    *static_cast<char*>(attachment->buffer) = content;
    return attachment;
}

/// One of everything that a component can own.
Ref<Comp> fullComp() {
    auto comp = newComp(2, 3, DataUInt8, SubColour);
    comp->images[1].data[5] = 55;
    SetImageAttachment(comp->images, newAttachment('i'));
    GetBound(comp->images)[0] = 17;
    comp->info = AllocCompInfo();
    comp->info->currentFrame = 6;
    comp->dataArea = new SRect{1, 2, 0, 2};
    comp->remapper = new Tone(3);
    comp->flatComp = newComp(1, 2).release();
    comp->flatImage = DuplicateImage(comp->images + 1);
    comp->levels = new CompBlackWhite(2, 3);
    comp->attachment = newAttachment('c');
    comp->SetNametag("tag");
    comp->SetFilename("file");
    comp->AddScene("scene", "text", 0, nullptr);
    comp->x = 1;
    comp->startFrame = 4;
    comp->frameCount = 5;
    comp->bmpRowBytes = 12;
    comp->bmpHeight = 1;
    comp->bitmap = static_cast<unsigned char*>(::operator new(12));
    std::memset(comp->bitmap, 7, 12);
    return comp;
}

std::string contents(const Comp& c) {
    std::ostringstream out;
    out << +c.images[1].data[5] << *static_cast<char*>(c.images->attachment->buffer) << +GetBound(c.images)[0]
        << c.info->currentFrame << c.dataArea->bottom << static_cast<const Tone*>(c.remapper)->id
        << +c.flatComp->images->channels << c.flatComp->refCount << +c.flatImage->data[5] << c.levels->white
        << *static_cast<char*>(c.attachment->buffer) << c.GetNametag() << c.GetFilename() << c.nametagSet
        << c.scenes->front().name << c.x << c.startFrame << c.frameCount << (c.bitmap ? +c.bitmap[11] : 0)
        << c.bmpRowBytes;
    return out.str();
}
const std::string full = "55i1762321553ctagfile1scene145";

TEST(CopyComp, DuplicatesAllAndSharesNothing) {
    auto original = fullComp();
    for (const bool withBitmap : {true, false}) {
        Comp copy;
        CopyComp(&copy, original.get(), withBitmap);
        EXPECT_EQ(contents(copy), full + (withBitmap ? "712" : "00"));
        copy.Cleanup();
        EXPECT_EQ(contents(*original), full + "712");
    }
    // The destination keeps who watches and holds it.
    Recorder r;
    auto target = newComp();
    Movie movie;
    original->AttachObserver(&r);
    movie.AddChild(target.get());
    *target = *original;
    const Image* const images = target->images;
    *target = *target.get();
    EXPECT_EQ(target->images, images);
    original.reset();
    EXPECT_EQ(contents(*target), full + "712");
    EXPECT_EQ(target->refCount, 2);
    EXPECT_EQ(target->GetParent(), &movie);
    EXPECT_EQ(target->GetObservers(), nullptr);
    *target = *target->flatComp;  // the source may be a part of the destination
    EXPECT_EQ(target->images->channels, 2);
    EXPECT_EQ(Tone::alive, 0);
}

TEST(CopyMovie, DeeplyOrSharingTheChildren) {
    Movie original;
    auto child = fullComp();
    original.AddChild(child.get());
    original.AddFrameRange({2, 3});
    original.SetStatus(MoviePlayToEnd);
    original.SetNametag("movie");
    original.MakeActive();
    Movie copy(original);
    copy = original;
    copy = *&copy;
    auto* const twin = copy.GetInternalComp();
    EXPECT_EQ(twin->refCount, 1);
    EXPECT_EQ(twin->GetParent(), &copy);
    EXPECT_EQ(contents(*twin), full + "00");
    EXPECT_EQ(copy.GetFrameRanges(), original.GetFrameRanges());
    EXPECT_EQ(copy.GetMovieLength(), 9u);
    EXPECT_EQ(copy.GetActiveComp(), nullptr);
    EXPECT_EQ(copy.GetStatus(), MoviePlayToEnd);
    EXPECT_EQ(copy.GetNametag(), "movie");
    copy.CopyFrom(original, true);
    EXPECT_EQ(copy.GetInternalComp(), child.get());
    EXPECT_EQ(child->refCount, 3);
    original.Cleanup();  // the child is the other movie's now, and stays so
    EXPECT_EQ(child->GetParent(), &copy);
    copy.Cleanup();
    EXPECT_EQ(child->refCount, 1);
    EXPECT_EQ(child->GetParent(), nullptr);
}

}  // namespace

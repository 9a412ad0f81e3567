// When memory runs out: every operation that asks for some is refused each of its requests once, alone and
// with all that follow. Hunts blocks that nobody owns any more, objects that changed half-way, exceptions out
// of what must not throw, and operations that no longer work afterwards.
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>

#include "tests/fuzz/allocator.h"
#include "tests/memory/scene.h"

namespace {

using namespace test;

/// What is promised where memory is refused.
enum Promise {
    Strong,  ///< throws, and everything is as it was
    Basic,   ///< throws, and everything is valid
    Never,   ///< does not throw, whatever is refused
};

using Step = std::function<void(Scene&)>;

struct Operation {
    const char* name;
    Promise promise;
    Step call;
    Step before{};  // what else has to be there
};

/// Draws a picture of 10 x 8 pixels on the canvas.
Step drawing(std::function<void(const BitmapDestination&, const BitmapSource&)> draw) {
    return [=](Scene& s) {
        static const Bytes pixels(24 * 24 * 3, 0x6D);
        draw({s.canvas.data(), 72, 24, 24}, {pixels.data(), 30, 10, 8, 1, 2});
    };
}

void copyRegion(Image* from, Image* to) {
    CopyImage(from, to, 0, 0, 1, 1, 12, 9, CopyBorderZero);
}

void forgetBounds(Scene& s) {
    for (Image* image : {s.grey.get(), s.colour.get(), s.wide.get(), s.yuv.get(), s.comp->images}) {
        ::operator delete(image->bound);
        image->bound = nullptr;
        image->state = 0;
    }
}

void enlarge(Image* image, int side, int channels) {
    SetNumbOfChannels(image, channels);
    ResizeImage(image, side, side);
    ClearImage(image);
}

const std::string kLong(40, 'n');
const unsigned long kRanges[] = {1, 2, 3, 4};
int offsets[] = {3, 1};

const Operation operations[] = {
    // Records and pixels.
    {"AllocImage", Strong, [](Scene& s) { s.keep(AllocImage()); }},
    {"AllocImages", Strong,
     [](Scene&) {
         DeleteImages(AllocImages(5, 2), 5);
         DeleteImages(AllocImages(offsets, 2), 2);
         DeleteImages(AllocImages(offsets, offsets, 2), 2);
     }},
    {"NewImage", Strong, [](Scene& s) { s.keep(NewImage(9, 8, 3, DataFloat, true)); }},
    {"NewImage like", Strong, [](Scene& s) { s.keep(NewImage(s.wide.get())); }},
    {"NewImage of channels", Strong, [](Scene& s) { s.keep(NewImage(s.wide.get(), 2)); }},
    {"DuplicateImage", Strong, [](Scene& s) { s.keep(DuplicateImage(s.wide.get())); }},
    {"ConstructImages", Basic,
     [](Scene&) {
         struct Two {
             Image images[2] = {};
             ~Two() {
                 for (Image& image : images) CleanupImage(&image);
             }
         } two;
         ConstructImages(two.images, 2, 9, 8, 3, DataUInt16);
     }},
    {"CheckDataArray", Strong, [](Scene& s) { CheckDataArray(s.fresh.get()); },
     [](Scene& s) { s.fresh->width = s.fresh->height = s.fresh->rowBytes = 5; }},
#if !defined(__SANITIZE_ADDRESS__)
    {"CheckDataArray by malloc", Strong,
     [](Scene& s) {
         CheckDataArray(s.grey.get());
         ClearImage(s.grey.get());
     },
     [](Scene& s) {
         SetImageData(s.grey.get(), static_cast<u8*>(std::malloc(300)), false);
         RemoveImageData(s.grey.get());
     }},
#endif
    {"ResizeImage", Basic, [](Scene& s) { ResizeImage(s.grey.get(), 40, 30); }},
    {"CopyImageCharacteristics", Strong,
     [](Scene& s) {
         CopyImageCharacteristics(s.fresh.get(), s.wide.get());
         ClearImage(s.fresh.get());
     }},
    {"CopyImageStruct", Basic, [](Scene& s) { CopyImageStruct(s.fresh.get(), 1, s.wide.get()); }},
    // Copies, conversions, bounds, colour. A bound that is there does not ask for more: first without.
    {"CopyImage to another type", Strong, [](Scene& s) { copyRegion(s.wide.get(), s.colour.get()); },
     forgetBounds},
    {"CopyImage to another model", Strong, [](Scene& s) { copyRegion(s.wide.get(), s.yuv.get()); },
     forgetBounds},
    {"CopyImage to bits", Strong, [](Scene& s) { copyRegion(s.grey.get(), s.mask.get()); }, forgetBounds},
    {"CopyImage to an unset sub type", Strong, [](Scene& s) { copyRegion(s.colour.get(), s.wide.get()); },
     [](Scene& s) {
         forgetBounds(s);
         SetSubType(s.wide.get(), SubNotSet);
     }},
    {"CheckBoundArray", Strong, [](Scene& s) { CheckBoundArray(s.grey.get()); }, forgetBounds},
    {"SetDefaultBound", Strong, [](Scene& s) { SetDefaultBound(s.yuv.get()); }, forgetBounds},
    {"SetDefaultSpatialBounds", Strong, [](Scene& s) { SetDefaultSpatialBounds(s.yuv.get()); },
     forgetBounds},
    {"CopyBoundToSpatialBound", Strong, [](Scene& s) { CopyBoundToSpatialBound(s.wide.get()); },
     forgetBounds},
    {"ComputeBound", Strong, [](Scene& s) { ComputeBound(s.wide.get()); }, forgetBounds},
    {"ComputeVctBound", Strong, [](Scene& s) { ComputeVctBound(s.wide.get()); }, forgetBounds},
    {"CheckBound", Strong, [](Scene& s) { CheckBound(s.yuv.get()); }, forgetBounds},
    {"SetBound", Strong, [](Scene& s) { SetBound(s.grey.get(), {.uint8 = 3}, {.uint8 = 9}); }, forgetBounds},
    {"GetScale", Strong, [](Scene& s) { GetScale(s.wide.get()); }, forgetBounds},
    {"GetSelectedBound", Strong, [](Scene& s) { GetSelectedBound(s.wide.get()); }, forgetBounds},
    {"GetSpatialBounds", Strong,
     [](Scene& s) { GetSpatialBounds(s.wide.get(), SubColour, DataUInt16, 4); }, forgetBounds},
    {"SetSpatialBounds", Strong, [](Scene& s) { SetSpatialBounds(s.wide.get(), {1, 5}, 1); }, forgetBounds},
    {"SwitchBoundType", Strong, [](Scene& s) { SwitchBoundType(s.wide.get(), BoundData, BoundHsi); },
     forgetBounds},
    {"CopyBound", Strong, [](Scene& s) { CopyBound(s.colour.get(), s.wide.get()); }, forgetBounds},
    {"CopyBound to an unset sub type", Strong, [](Scene& s) { CopyBound(s.colour.get(), s.yuv.get()); },
     [](Scene& s) {
         forgetBounds(s);
         SetSubType(s.colour.get(), SubNotSet);
     }},
    {"Histogram::Add", Basic,
     [](Scene& s) {
         Histogram exact, ranged(9);
         exact.Add(s.colour.get());
         exact.Add(s.wide.get());
         ranged.Add(s.yuv.get());
         ranged.Add(exact);
     }},
    {"ValueRanks", Strong, [](Scene& s) { ValueRanks(s.yuv.get()).GetValue(3); }},
    {"ConvertImage", Strong,
     [](Scene& s) {
         const Tone tone(1);
         ConvertImage(s.colour.get(), const_cast<Tone*>(&tone));
     },
     forgetBounds},
    {"ConvertAllDataToRGB", Strong,
     [](Scene& s) {
         struct Bent final : Zel::Remapper {
             bool IsEqual(const Remapper&) const override { return false; }
             Remapper* Clone() const override { return nullptr; }
             void SetMode(int, int) override {}
             int GetMode() const override { return 1; }
             void Reset() override {}
             int GetNumbChannels() const override { return 3; }
             bool IsIdentity(int) const override { return false; }
             float Remap(float value, int) const override { return value * value; }
             const u8* GetLookupTable() const override { return nullptr; }
         } bent;
         ConvertAllDataToRGB(s.colour.get(), &bent);
     },
     [](Scene& s) { enlarge(s.colour.get(), 256, 3); }},
    // Components.
    {"AllocComp", Strong, [](Scene& s) { s.spare.reset(AllocComp(3)); }},
    {"CompInit", Strong, [](Scene& s) { CompInit(s.spare.get(), 3); }},
    {"Comp, copied", Strong, [](Scene& s) { s.copy.emplace(*s.comp); }},
    {"Comp, assigned", Strong, [](Scene& s) { *s.spare = *s.comp; }, [](Scene& s) { s.comp->ComputeBitmap(0); }},
    {"CopyComp", Strong, [](Scene& s) { CopyComp(s.comp.get(), s.plain.get(), false); }},
    {"AllocCompInfo", Strong, [](Scene&) { DeleteCompInfo(AllocCompInfo()); }},
    {"Comp::AttachObserver", Strong, [](Scene& s) { s.plain->AttachObserver(&s.listener); }},
    {"Comp::NotifyObserver", Never, [](Scene& s) { s.comp->NotifyObserver(99, 0); }},
    {"Comp::SetVisible and its kin", Never,
     [](Scene& s) {
         s.comp->SetVisible(false);
         s.comp->SetOpacity(0.5f);
         s.comp->SetLocation(3, 4);
         s.comp->SetStartFrame(4);
         s.comp->DetachObserver(&s.other);
         s.comp->RemoveScene(0);
     }},
    {"Comp::Release", Never, [](Scene& s) { s.spare.reset(); },
     [](Scene& s) {
         *s.spare = *s.comp;
         s.spare->AttachObserver(&s.listener);
     }},
    {"Comp::Cleanup", Never, [](Scene& s) { s.comp->Cleanup(); }},
    {"Comp::AddScene", Strong,
     [](Scene& s) { s.plain->AddScene("a", "b", 2, const_cast<unsigned long*>(kRanges)); }},
    {"Comp::AddScene, the second", Strong,
     [](Scene& s) { s.comp->AddScene("a", "b", 2, const_cast<unsigned long*>(kRanges)); }},
    {"Comp::GetName", Strong, [](Scene& s) { s.plain->GetShortName(); }},
    {"Comp::SetNametag", Strong,
     [](Scene& s) {
         s.plain->SetNametag(kLong);
     }},
    {"Comp::GetNametag", Strong, [](Scene& s) { s.comp->GetNametag(); }},
    {"Comp::SetFilename", Strong, [](Scene& s) { s.plain->SetFilename(kLong); }},
    {"Comp::GetFilename", Strong, [](Scene& s) { s.comp->GetFilename(); }},
    {"Comp::GetBlackWhite", Strong, [](Scene& s) { s.comp->GetBlackWhite(4); }, forgetBounds},
    {"Comp::SetBlackWhite", Strong, [](Scene& s) { s.comp->SetBlackWhite(0, {9, 90}); }, forgetBounds},
    {"Comp::SetBlackWhite of all images", Strong, [](Scene& s) { s.comp->SetBlackWhite(1, {9, 90}); },
     [](Scene& s) {
         s.comp->flatComp->SetVisible(true);
         s.comp->UpdateFlatFrame(3);
     }},
    {"Comp::SetRemapper", Strong,
     [](Scene& s) {
         auto tone = std::make_unique<Tone>(5);
         s.comp->SetRemapper(tone.release());
     }},
    {"Comp::GetCompBound", Strong, [](Scene& s) { s.plain->GetCompBound(); }},
    {"AddComponentGroup", Strong,
     [](Scene& s) {
         Comp* both[] = {s.plain.get(), s.field.get()};
         AddComponentGroup(s.movie.get(), both, 2);
     }},
    {"AppendComponent", Strong, [](Scene& s) { AppendComponent(s.movie.get(), s.plain.get()); }},
    {"SetComponent", Strong, [](Scene& s) { SetComponent(s.movie.get(), 0, s.plain.get()); }},
    // Movies and frames.
    {"Movie, copied", Strong, [](Scene& s) { s.movieCopy.emplace(*s.movie); }},
    {"Movie, assigned", Strong, [](Scene& s) { *s.second = *s.movie; }},
    {"Movie::CopyFrom, sharing", Strong, [](Scene& s) { s.second->CopyFrom(*s.movie, true); }},
    {"Movie::AddChild", Strong, [](Scene& s) { s.movie->AddChild(s.plain.get()); }},
    {"Movie::AddChild of a movie", Strong, [](Scene& s) { s.movie->AddChild(s.second.get()); }},
    {"Movie::AddComponents", Strong, [](Scene& s) { s.movie->AddComponents(3); }},
    {"Movie::AllocComps", Strong, [](Scene& s) { s.movie->AllocComps(2); }},
    {"Movie::AllocMoreComps", Strong, [](Scene& s) { s.movie->AllocMoreComps(2); }},
    {"Movie::AddCompRooms", Strong, [](Scene& s) { s.movie->AddCompRooms(2); }},
    {"Movie::RemoveChild", Never, [](Scene& s) { s.movie->RemoveChild(s.comp.get()); }},
    {"Movie::RemoveChild of a movie", Never, [](Scene& s) { s.second->RemoveChild(s.second.get()); }},
    {"Movie::RemoveComponent", Never, [](Scene& s) { s.second->RemoveComponent(u8(1)); }},
    {"Movie::MakeChildActive and its kin", Never,
     [](Scene& s) {
         s.movie->MakeChildActive(s.outline.get());
         s.movie->SetCurrentFrame(0);
         s.movie->MoveToNextFrame();
         s.movie->SendFrameChangedEvent();
         s.movie->DetachObserver_All(&s.listener);
     }},
    {"Movie::Release", Never, [](Scene& s) { s.movie.release()->Release(); },
     [](Scene& s) { s.second = Ref<Movie>(new Movie), s.movie.swap(s.second), s.movie->AddComponents(2); }},
    {"Movie::AttachObserver", Strong, [](Scene& s) { s.second->AttachObserver(&s.listener); }},
    {"Movie::AttachObserver_All", Basic, [](Scene& s) { s.second->AttachObserver_All(&s.listener); }},
    {"Movie::AddFrameRange", Strong, [](Scene& s) { s.second->AddFrameRange({1, 2}); }},
    {"Movie::GetFrameRanges", Strong, [](Scene& s) { s.movie->GetFrameRanges(); }},
    {"Movie::GetName", Strong, [](Scene& s) { s.second->GetName(); }},
    {"Movie::SetNametag", Strong, [](Scene& s) { s.second->SetNametag(kLong); }},
    {"Movie::SetFilename", Strong, [](Scene& s) { s.second->SetFilename(kLong); }},
    {"Movie::GetNametag", Strong, [](Scene& s) { s.movie->GetNametag(); }},
    {"MovieScene", Strong,
     [](Scene& s) { s.ranges = MovieScene(MovieScene(kLong.c_str(), "b", 0, nullptr)); }},
    {"MovieScene::AddRange", Strong, [](Scene& s) { s.ranges.AddRange(1, 2); }},
    {"FrameInfo::InsertKeepFrame", Strong, [](Scene& s) { s.frames.InsertKeepFrame(9); }},
    {"FrameInfo::InsertCutFrame", Strong, [](Scene& s) { s.frames.InsertCutFrame(9); }},
    {"FrameInfo::Clone", Strong,
     [](Scene& s) {
         s.frames.ReturnKeepFrames();
         delete s.frames.Clone();
         delete AllocFrameInfo();
     }},
    // Display.
    {"Comp::ComputeBitmap", Strong, [](Scene& s) { s.comp->ComputeBitmap(0); }},
    {"Comp::ComputeBitmap of bits", Strong, [](Scene& s) { s.outline->ComputeBitmap(0); }},
    {"Comp::ComputeBitmap of vectors", Strong, [](Scene& s) { s.field->ComputeBitmap(0); }},
    {"Comp::ComputeBitmap elsewhere", Strong, [](Scene& s) { s.comp->ComputeBitmap(0); },
     [](Scene& s) {
         s.comp->ComputeBitmap(0);
         *s.comp->dataArea = {8, 18, 5, 11};
     }},
    {"Comp::SwitchMapingMode", Strong, [](Scene& s) { s.comp->SwitchMapingMode(3); },
     [](Scene& s) {
         forgetBounds(s);
         s.comp->flatImage = DuplicateImage(s.comp->images);
     }},
    {"Comp::UpdateFlatFrame", Strong, [](Scene& s) { s.comp->UpdateFlatFrame(3); },
     [](Scene& s) { s.comp->flatComp->SetVisible(true); }},
    {"Comp::UpdateFlatFrame again", Basic, [](Scene& s) { s.comp->UpdateFlatFrame(3); },
     [](Scene& s) {
         s.comp->flatComp->SetVisible(true);
         s.comp->flatImage = DuplicateImage(s.comp->images);
     }},
    {"MapData", Strong,
     [](Scene& s) { MapData(s.canvas.data(), 72, 20, 15, s.colour.get(), 0, 0, nullptr, 0); }, forgetBounds},
    {"MapDataHSI", Strong,
     [](Scene& s) { MapDataHSI(s.canvas.data(), 72, 20, 15, s.colour.get(), 0, 0, nullptr); }, forgetBounds},
    {"VectorInit", Strong, [](Scene&) { VectorInit(); }, [](Scene&) { VectorTermination(); }},
    {"MaskToBoundary", Strong, [](Scene& s) { s.keep(MaskToBoundary(s.mask.get())); }},
    {"SplitImage", Strong,
     [](Scene& s) {
         SRect area{3, 9, 2, 7};
         SplitImage(s.comp.get(), s.grey.get(), s.wide.get(), SplitFullHeight, &area);
     },
     [](Scene& s) { SetDefaultBound(s.comp->images); }},
    {"FieldsToFrame", Basic, [](Scene& s) { FieldsToFrame(s.plain.get(), s.plain.get(), s.comp.get()); },
     forgetBounds},
    {"ComposeMovie", Basic,
     [](Scene& s) {
         s.outline->transparency = 30;
         ComposeMovie(s.movie.get(), {s.canvas.data(), 72, 24, 24}, {0, 23, 0, 23}, 2, nullptr);
     }},
    {"CopyBitmap", Strong, drawing([](const auto& d, const auto& b) { CopyBitmap(d, b, 2, -2, 24); })},
    {"CopyBitmap8To24", Strong,
     drawing([](const auto& d, const auto& b) { CopyBitmap8To24(d, b, 2, -2, nullptr); })},
    {"CopyBitTo1", Strong, drawing([](const auto& d, const auto& b) { CopyBitTo1(d, b, 2, 2); })},
    {"CopyBitTo8", Strong, drawing([](const auto& d, const auto& b) { CopyBitTo8(d, b, 2, 2, 1, 2); })},
    {"CopyBitTo24", Strong, drawing([](const auto& d, const auto& b) { CopyBitTo24(d, b, 2, 2, {}, {1, 2, 3}); })},
    {"AddBoundaryTo1", Strong, drawing([](const auto& d, const auto& b) { AddBoundaryTo1(d, b, 2, 2); })},
    {"AddBoundaryTo8", Strong, drawing([](const auto& d, const auto& b) { AddBoundaryTo8(d, b, 2, 2, 7); })},
    {"AddBoundaryTo24", Strong,
     drawing([](const auto& d, const auto& b) { AddBoundaryTo24(d, b, -2, 2, {1, 2, 3}); })},
    {"AddMask", Strong, drawing([](const auto& d, const auto& b) { AddMask(d, b, 2, 2); })},
    {"DisplayMask", Strong,
     drawing([](const auto& d, const auto& b) { DisplayMask(d, b, 2, 2, 24, 3, nullptr, 50); })},
    {"AddTransparentBitTo", Strong,
     drawing([](const auto& d, const auto& b) { AddTransparentBitTo(d, b, 2, 2, 24, 1, 2, nullptr, 50); })},
    {"AddTransparentBitmap", Strong,
     drawing([](const auto& d, const auto& b) { AddTransparentBitmap(d, b, 2, 2, 24, 50); })},
    {"AddTransparentBitmap8To24", Strong,
     drawing([](const auto& d, const auto& b) { AddTransparentBitmap8To24(d, b, 2, 2, nullptr, 50); })},
    // Plug-ins and names.
    {"PluginParam", Strong, [](Scene& s) { s.params = PluginParam(3); }},
    {"PluginParam::AddIntParam", Strong, [](Scene& s) { s.params.AddIntParam(kLong.c_str(), 1, 0, 9); }},
    {"PluginParam::AddStringParam", Strong, [](Scene& s) { s.params.AddStringParam("s", kLong.c_str()); }},
    {"PluginParam::AddStrListParam", Strong,
     [](Scene& s) {
         const char* list[] = {kLong.c_str(), "b"};
         s.sharing.AddStrListParam("l", list, 2, 0);
     }},
    {"PluginParam::AddIntListParam", Strong,
     [](Scene& s) { s.params.AddIntListParam("i", offsets, 2, 0); }},
    {"PluginParam::ChangeParameter", Strong,
     [](Scene& s) { s.params.ChangeParameter("text", ParamString, (kLong + kLong).c_str()); }},
    {"InterfaceInit", Never, [](Scene& s) { InterfaceInit(&s.record); }},
    {"MoreExData", Strong, [](Scene& s) { AddUserData(&s.record, &s); }, [](Scene& s) { MoreExData(&s.record); }},
    {"InterfaceCleanup", Never, [](Scene& s) { InterfaceCleanup(&s.record); },
     [](Scene& s) {
         InterfaceInit(&s.record);
         MoreExData(&s.record);
     }},
    {"Name::SetName", Strong,
     [](Scene& s) {
         static int number = 0;  // folders stay in their table
         s.name.SetName("g" + std::to_string(++number) + "\\" + kLong);
     }},
    {"Name::SetLogicalName", Strong,
     [](Scene& s) {
         s.name.SetLogicalName(kLong);
         s.name.GetLogicalName();
     }},
    {"Name::SetStemName", Strong, [](Scene& s) { s.name.SetStemName(kLong); }},
    {"Name::SetExtension", Strong, [](Scene& s) { s.name.SetExtension(kLong); }},
    {"Name::GetStemName", Strong,
     [](Scene& s) {
         s.name.GetStemName();
         s.name.GetFullPath();
     }},
    {"Name, assigned", Strong, [](Scene& s) { s.otherName = s.name; },
     [](Scene& s) { s.name.SetLogicalName(kLong); }},
    {"Name::SetWorkingFolder", Strong, [](Scene&) {
         Zel::Name::SetWorkingFolder(kLong);
         Zel::Name::SetWorkingFolder("");
     }},
    {"Name::GenerateTemporaryFilename", Strong, [](Scene&) { Zel::Name::GenerateTemporaryFilename(); }},
};

/// One run with the k-th request refused: whether it came, and what went wrong.
struct Outcome {
    bool happened = false;
    std::string fault{};
};

Outcome refusedRun(const Operation& operation, long k, Refuse what) {
    Outcome run;
    const auto expect = [&](bool holds, const char* otherwise) {
        if (!holds && run.fault.empty()) run.fault = otherwise;
    };
    const long blocks = liveBlocks(), tones = Tone::alive;
    {
        Scene scene;
        if (operation.before) operation.before(scene);
        const std::string text = scene.text();
        bool threw = false;
        {
            Refusal refusal(k, what);
            try {
                operation.call(scene);
            } catch (const std::bad_alloc&) {
                threw = true;
            }
            refusal.lift();
            run.happened = refusal.happened();
        }
        expect(threw == (run.happened && operation.promise != Never), threw ? "throws" : "does not throw");
        expect(!threw || operation.promise != Strong || scene.text() == text, "changes half-way");
        scene.text();
        if (threw) operation.call(scene);
        scene.text();
    }
    expect(liveBlocks() == blocks, "loses blocks");
    expect(Tone::alive == tones, "loses a remapper");
    return run;
}

TEST(Memory, RefusalsLeaveObjectsWholeAndLoseNothing) {
    for (const Operation& operation : operations) {
        for (const Refuse what : {Refuse::One, Refuse::AllFromThere}) {
            refusedRun(operation, 1000000, what);  // makes what the library keeps for good
            long k = 1;
            Outcome run;
            while (run = refusedRun(operation, k, what), run.happened && run.fault.empty()) ++k;
            EXPECT_EQ(run.fault, "") << operation.name << ", request " << k
                                     << (what == Refuse::One ? " alone" : " and all that follow");
            EXPECT_TRUE(k > 1 || operation.promise == Never) << operation.name << " asks for nothing";
        }
    }
}

}  // namespace

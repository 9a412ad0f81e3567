// Records whose bound array a host brought, as large as its three sections and no larger: entries written or
// read behind it by whatever takes a record. Each has a twin with an array of the library's own, which must
// end with the same entries, pixels and answers.
#include <gtest/gtest.h>

#include "pzel/bounds/black_white.h"
#include "pzel/bounds/min_max.h"
#include "pzel/colour/convert_image.h"
#include "pzel/display/fields.h"
#include "pzel/display/map_data.h"
#include "pzel/image/typed_copy.h"
#include "tests/component/component_helpers.h"
#include "tests/support/images.h"

namespace {

using namespace test;

/// Fills the arrays of both with the same entries.
void bringBounds(Random& random, Image& hosts, Image& own) {
    const std::size_t bytes = std::size_t(3 * GetBoundBytes(&hosts));
    CheckBoundArray(&own);
    if (bytes == 0) return;
    hosts.bound = static_cast<u8*>(::operator new(bytes));
    random.fill(own.bound, bytes);
    std::memcpy(hosts.bound, own.bound, bytes);
}

testing::AssertionResult alike(Image& hosts, Image& own) {
    if (hosts.state != own.state || hosts.imageType != own.imageType)
        return testing::AssertionFailure() << "state or image type";
    const auto bytes = std::size_t(3 * GetBoundBytes(&own));
    if (bytes == 0) return testing::AssertionSuccess();
    return same({hosts.bound, hosts.bound + bytes}, {own.bound, own.bound + bytes});
}

struct Twins {
    Twins(Random& random, const Shape& shape) : hosts(shape), own(shape) {
        hosts.randomise(random);
        std::memcpy(own.data, hosts.data, hosts.pixels.size());
        bringBounds(random, hosts, own);
        hosts.state = own.state = u8(random.pick({0, StateBoundSet, StateBoundDefault, StateBoundSet}));
    }
    testing::AssertionResult stillAlike() {
        if (const auto bounds = alike(hosts, own); !bounds) return bounds;
        return same(hosts.pixels.bytes(), own.pixels.bytes());
    }
    TestImage hosts, own;
};

Shape anyShape(Random& random) {
    return {random(1, 9), random(1, 4),  random.pick({0, 1, 1, 2, 3, 3, 4, 9, 255}),
            random(0, 9), random.coin(), random.pick({SubColour, SubYuv, SubGrey, SubNotSet, MajorVector})};
}

/// Everything that a record answers about its bounds, as bytes.
Bytes answers(Image* image) {
    Bytes all;
    const auto add = [&](auto value) {
        const auto* bytes = reinterpret_cast<const u8*>(&value);
        all.insert(all.end(), bytes, bytes + sizeof value);
    };
    for (const int compType : {SubColour, SubYuv, SubGrey}) {
        for (int type = 0; type <= 9; ++type) {
            for (int channel = -1; channel <= 6; ++channel) {
                const CompBlackWhite levels =
                    GetSpatialBounds(image, u16(compType), ImageDataType(type), channel);
                add(levels.black), add(levels.white);
            }
        }
    }
    for (int c = 0; c < image->channels; ++c) add(GetScale(image, c));
    add(GetScale(image));
    return all;
}

const std::vector<void (*)(Image*)> kChanges = {
    SetDefaultBound,
    SetDefaultSpatialBounds,
    CopyBoundToSpatialBound,
    ComputeBound,
    ComputeVctBound,
    CheckBound,
    [](Image* image) {
        AnyType low, high;
        low.uint32 = 7, high.uint32 = 9;
        SetBound(image, low, high);
    },
    [](Image* image) { SwitchBoundType(image, BoundData, BoundHsi); },
    [](Image* image) { SwitchBoundType(image, BoundHsi, BoundData); },
    [](Image* image) {
        for (int channel = -1; channel < 260; ++channel) SetSpatialBounds(image, {3, 90}, channel);
    },
    [](Image* image) {
        Bytes rows(std::size_t(3 * image->width * image->height));
        for (const int mode : {0, 0x40, 0xC0})
            if (GetDataType(image) != DataBit)
                MapData(rows.data(), u16(3 * image->width), image->width, image->height, image, 0, 0, nullptr,
                        u8(mode));
        MapDataHSI(rows.data(), u16(3 * image->width), image->width, image->height, image, 0, 0, nullptr);
    },
    [](Image* image) {
        Tone identity(1);
        ConvertImage(image, &identity);
        ConvertAllDataToRGB(image, &identity);
    },
};

TEST(HostBound, RecordsStayWithinThreeSections) {
    Random random(71);
    for (int round = 0; round < 4000; ++round) {
        const Shape shape = anyShape(random);
        Twins twins(random, shape);
        for (int step = 0; step < 4; ++step) {
            const std::size_t change = std::size_t(random(0, int(kChanges.size()) - 1));
            kChanges[change](&twins.hosts);
            kChanges[change](&twins.own);
            ASSERT_TRUE(twins.stillAlike()) << "change " << change << ", type " << shape.type << ", "
                                            << shape.channels << " channels, sub " << shape.imageType;
        }
        ASSERT_TRUE(same(answers(&twins.hosts), answers(&twins.own)))
            << shape.type << ", " << shape.channels << " channels";
    }
}

TEST(HostBound, PairsOfRecordsStayWithinTheSectionsOfEach) {
    Random random(72);
    for (int round = 0; round < 6000; ++round) {
        const Shape from = anyShape(random), to = anyShape(random);
        Twins source(random, from), target(random, to);
        const auto onBoth = [&](auto action) {
            action(&source.hosts, &target.hosts);
            action(&source.own, &target.own);
        };
        switch (round % 3) {
            case 0: onBoth([](Image* a, Image* b) { CopyBound(b, a); }); break;
            case 1: onBoth([](Image* a, Image* b) { CopyImage(a, b, 0, 0, 0, 0, 9, 9, u16(0)); }); break;
            default:
                ASSERT_EQ(CompareBounds(&source.hosts, &target.hosts),
                          CompareBounds(&source.own, &target.own));
        }
        ASSERT_TRUE(target.stillAlike() && source.stillAlike())
            << "type " << from.type << " to " << to.type << ", " << from.channels << " to " << to.channels
            << " channels";
        Image copies[2] = {};
        CopyImageCharacteristics(&copies[0], &source.hosts);
        CopyImageCharacteristics(&copies[1], &source.own);
        EXPECT_TRUE(alike(copies[0], copies[1]));
        for (Image& copy : copies) CleanupImage(&copy);
    }
}

TEST(HostBound, ComponentsStayWithinThreeSectionsOfEachImage) {
    Random random(73);
    for (int round = 0; round < 1000; ++round) {
        constexpr int kFrames = 3;
        const Ref<Comp> hosts(AllocComp(kFrames)), own(AllocComp(kFrames));
        Shape shape = anyShape(random);
        const bool colour = round % 2;
        for (int i = 0; i < kFrames; ++i) {
            if (i > 0 && random.coin()) shape = anyShape(random);
            if (colour && i == 0) shape.channels = 3, shape.type = random(2, 8), shape.imageType = SubColour;
            const int info = shape.type | (shape.interleaved ? DataInterleaved : 0);
            for (Comp* comp : {hosts.get(), own.get()}) {
                ConstructImages(comp->images + i, 1, u16(shape.width), u16(shape.height), u8(shape.channels),
                                u8(info));
                comp->images[i].imageType = u16(shape.imageType);
                ClearImage(comp->images + i);
            }
            bringBounds(random, hosts->images[i], own->images[i]);
        }
        const auto stillAlike = [&](Comp& a, Comp& b) {
            for (int i = 0; i < kFrames; ++i)
                if (const auto result = alike(a.images[i], b.images[i]); !result) return result;
            return testing::AssertionSuccess();
        };
        for (int channel = 0; channel < 6; ++channel) {
            const CompBlackWhite level = hosts->GetBlackWhite(channel), same = own->GetBlackWhite(channel);
            ASSERT_TRUE(std::memcmp(&level.black, &same.black, 8) == 0 &&
                        std::memcmp(&level.white, &same.white, 8) == 0);
            for (Comp* comp : {hosts.get(), own.get()}) comp->SetBlackWhite(channel, {1, 9.0 + channel});
        }
        for (const int mode : {shape.channels, 255, 0}) {
            ASSERT_EQ(hosts->SwitchMapingMode(mode), own->SwitchMapingMode(mode));
            ASSERT_TRUE(stillAlike(*hosts, *own)) << mode;
        }
        const Comp copyOfHosts(*hosts), copyOfOwn(*own);
        ASSERT_TRUE(stillAlike(const_cast<Comp&>(copyOfHosts), const_cast<Comp&>(copyOfOwn)));
        Image fields[4] = {};
        SplitImage(hosts.get(), &fields[0], &fields[1], SplitHalfHeight, nullptr);
        SplitImage(own.get(), &fields[2], &fields[3], SplitHalfHeight, nullptr);
        for (int i = 0; i < 2; ++i) {
            ASSERT_EQ(!fields[i].bound, !fields[i + 2].bound);
            ASSERT_TRUE(!fields[i].bound || alike(fields[i], fields[i + 2]));
        }
        for (Image& field : fields) CleanupImage(&field);
    }
}

}  // namespace

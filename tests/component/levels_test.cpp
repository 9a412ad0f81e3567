// Levels through components and movies: which entry, read with which sign, and when a change is one.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "component_helpers.h"
#include "pzel/bounds/bounds.h"

namespace {

using Pair = std::pair<double, double>;
constexpr Pair undefined{std::numeric_limits<double>::min(), std::numeric_limits<double>::max()};

Pair levelsOf(IComponent& component, int channel) {
    const CompBlackWhite levels = component.GetBlackWhite(channel);
    return {levels.black, levels.white};
}

/// What an integer element of so many bits keeps of a value.
double kept(double value, int bits, bool isSigned) {
    const double size = std::ldexp(1.0, bits);
    double m = std::fmod(std::trunc(value), size);
    if (m < 0) m += size;
    return isSigned && m >= size / 2 ? m - size : m;
}

TEST(Levels, EveryTypeWordTypeAndChannel) {
    for (const int word : {SubColour, SubYuv, SubGrey}) {
        for (int type = DataUInt8; type <= DataFloat; ++type) {
            Recorder recorder;
            auto comp = newComp(2, 3, type, word);
            recorder.name('c', comp.get());
            comp->AttachObserver(&recorder);
            for (int channel = -1; channel < 7; ++channel) {
                SCOPED_TRACE(testing::Message() << word << " " << type << " " << channel);
                const bool hsi = word == SubColour && channel >= 3;
                const int entry = hsi ? channel - 3 : channel;
                const bool exists = entry >= 0 && entry < 3;
                const Pair wanted{-1.5, 70000.75};
                for (int i = 0; i < 2; ++i) comp->SetBlackWhite(channel, {wanted.first, wanted.second});
                // Once, by the number of the entry; and the bound of the other frame is its own.
                const std::string channelParam = entry == 0 ? "c8 " : "c8(" + std::to_string(entry) + ") ";
                EXPECT_EQ(recorder.take(), exists ? channelParam : "");
                EXPECT_EQ(comp->images[1].bound, nullptr);
                const int bits = type <= DataInt8 ? 8 : type <= DataInt16 ? 16 : 32;
                const bool isSigned = word == SubYuv ? channel > 0 : !hsi && type % 2 == 1;
                Pair expected{kept(wanted.first, bits, isSigned), kept(wanted.second, bits, isSigned)};
                if (type == DataFloat) expected = wanted;
                EXPECT_EQ(levelsOf(*comp, channel), exists ? expected : undefined);
                if (!exists || type == DataFloat) continue;
                const unsigned char* const section = hsi ? GetHSIBound(comp->images) : comp->GetCompBound();
                EXPECT_EQ(section[entry * 2 * bits / 8], 0xFF);
            }
        }
    }
}

TEST(Levels, KeepTheOtherPicturesInStep) {
    auto comp = newComp();
    comp->flatComp = newComp(1, 1, DataUInt16).release();
    comp->flatImage = NewImage(4, 3, 1, DataFloat, true);
    SetImageNotValid(comp->flatImage);
    ASSERT_EQ(comp->GetFlatImage(), comp->flatComp->images);
    unsigned char* const own = GetBound(comp->images);
    comp->SetBlackWhite(0, {2.5, 600});
    EXPECT_EQ(levelsOf(*comp, 0), Pair(2, 600));
    EXPECT_EQ(own[1], 600 % 256);
    EXPECT_EQ(reinterpret_cast<float*>(GetBound(comp->flatImage))[0], 2.5f);
    own[1] = 1;
    comp->SetBlackWhite(0, {2, 600});  // no change of the shown one: the others are left as they are
    EXPECT_EQ(own[1], 1);
}

}  // namespace

// Nothing that is shown comes from fresh memory: the same calls, made twice with new blocks filled
// differently, show the same bytes, of every kind and depth of component, on its own and composed.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/fuzz/allocator.h"
#include "tests/memory/scene.h"

namespace {

using namespace test;

const std::vector<Shape> kShapes = {
    {0, 0, 1, DataBit, true, SubGrey},        {0, 0, 1, DataUInt8, true, SubGrey},
    {0, 0, 1, DataInt16, true, SubGrey},      {0, 0, 1, DataFloat, true, SubGrey},
    {0, 0, 3, DataUInt8, true, SubColour},    {0, 0, 3, DataUInt16, false, SubColour},
    {0, 0, 3, DataUInt8, true, SubYuv},       {0, 0, 3, DataFloat, false, SubColour},
    {0, 0, 2, DataBit, true, MajorBoundary},  {0, 0, 2, DataBit, false, MajorBoundary},
    {0, 0, 2, DataInt16, false, MajorVector}, {0, 0, 2, DataFloat, true, MajorVector},
    {0, 0, 3, DataUInt32, true, SubColour},   {0, 0, 1, DataInt8, true, MajorBoundary},
    {0, 0, 3, DataBit, false, SubColour},     {0, 0, 2, DataUInt8, true, SubNotSet},
};

/// A game with random components: whatever they show goes into `shown`.
class Game {
  public:
    explicit Game(int seed) : random(unsigned(seed)), movie(new Movie) {
        for (int i = 0; i < 3; ++i) {
            comps.push_back(newLayer(false));
            movie->AddChild(comps.back().get());
        }
    }

    void play(int moves) {
        for (int i = 0; i < moves; ++i) {
            move(*comps[std::size_t(random(0, 2))]);
            if (random(0, 2) == 0) compose();
        }
    }

    Bytes shown;

  private:
    Ref<Comp> newLayer(bool alone) {
        Shape shape = kShapes[std::size_t(random(0, int(kShapes.size()) - 1))];
        shape.width = random(1, 40);
        shape.height = random(1, 24);
        Ref<Comp> comp = newComp(shape);
        random.fill(comp->images->data, GetImageTotalBytes(comp->images));
        if (shape.type == DataFloat) ClearImage(comp->images);
        comp->x = std::int16_t(random(-4, 9));
        comp->y = std::int16_t(random(-4, 9));
        comp->overlayColour = u8(random.pick({1, 255}));
        comp->transparency = u8(random.pick({0, 0, 50}));
        if (!alone && random.coin()) comp->flatComp = newLayer(true).release();
        return comp;
    }

    SRect part(const Image& image) {
        const int left = random(0, image.width - 1), top = random(0, image.height - 1);
        return {std::int16_t(left), std::int16_t(random(left, image.width - 1)), std::int16_t(top),
                std::int16_t(random(top, image.height - 1))};
    }

    void move(Comp& comp) {
        Comp& from = *comps[std::size_t(random(0, 2))];
        Image* const image = comp.GetCurrentImage();
        switch (random(0, 9)) {
            case 0: comp.DeleteBitmap(); break;
            case 1:
                delete comp.dataArea;
                comp.dataArea = image->width && image->height ? new SRect(part(*image)) : nullptr;
                comp.flagsA ^= CompExtentDataArea;
                break;
            case 2: comp.flagsA ^= u16(random(0, 3) << 6); break;
            case 3: {
                SRect area{0, std::int16_t(random(0, 30)), 0, std::int16_t(random(0, 20))};
                area.left = std::int16_t(random(0, area.right));
                Image* const to[] = {image, from.GetCurrentImage()};
                SplitImage(&from, to[0], random.coin() && to[1] != to[0] ? to[1] : nullptr,
                           char(random(0, 1)), random.coin() ? &area : nullptr);
                break;
            }
            case 4: comp.UpdateFlatFrame(u8(random(0, 31))); break;
            case 5:
                comp.SetBlackWhite(random(0, 3), {double(random(0, 99)), double(random(100, 255))});
                break;
            case 6: comp.SwitchMapingMode(random(0, 3)); break;
            case 7:
                if (comp.flatComp) {
                    comp.flatComp->flagsA ^= u16(random(0, 1) * CompHidden);
                    comp.flatComp->x = std::int16_t(random(-5, 20));
                }
                break;
            case 8:
                if (&from != &comp) CopyComp(&comp, &from, random.coin());
                break;
            default:
                if (const OwnedRecord outline{MaskToBoundary(image)}) SwapImage(image, outline.get());
                break;
        }
        comp.ComputeBitmap(-1);
        const ShownBitmap b = comp.GetShownBitmap();
        if (b.pixels) shown.insert(shown.end(), b.pixels, b.pixels + b.rowBytes * b.height);
    }

    void compose() {
        const int bits = random.pick({1, 8, 24});
        Bytes canvas(40 * 3 * 30);
        ComposeMovie(movie.get(), {canvas.data(), 40 * 3, 40, 30}, {0, 39, 0, 29},
                     static_cast<signed char>(random(-2, 2)), nullptr, bits);
        shown.insert(shown.end(), canvas.begin(), canvas.end());
    }

    Random random;
    std::vector<Ref<Comp>> comps;
    Ref<Movie> movie;
};

Bytes shownWith(int seed, u8 byte) {
    const Filling filling(byte);
    Game game(seed);
    game.play(12);
    return game.shown;
}

TEST(Memory, NothingShownComesFromFreshMemory) {
    VectorInit();
    for (int seed = 0; seed < (kSlow ? 300 : 3000); ++seed)
        ASSERT_TRUE(same(shownWith(seed, 0x55), shownWith(seed, 0xAA))) << "seed " << seed;
}

}  // namespace

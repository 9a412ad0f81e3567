// What a person waits for: from a change to the painted bitmap. Each row stands beside the work that it
// cannot do without.
#include <cstring>
#include <memory>
#include <vector>

#include "bench/components.h"
#include "bench/pictures.h"

namespace bench {

namespace {

constexpr int kWidth = 1920, kHeight = 1080, kLayers = 8;

/// A component's bitmap that is made anew, and a mapping into new memory.
Row firstBitmap(int) {
    const Picture picture = makePicture(kLarge, kLarge, kColour, DataUInt8);
    setLevels(picture, partOfRange(DataUInt8));
    const CompPtr comp = makeComp(picture);
    Row row;
    row.ours = [comp] {
        comp->DeleteBitmap();
        comp->ComputeBitmap(0);
    };
    const auto mapData = [picture, block = std::make_shared<std::unique_ptr<unsigned char[]>>()] {
        block->reset();
        block->reset(new unsigned char[std::size_t{3} * kLarge * kLarge]);
        MapData(block->get(), 3 * kLarge, kLarge, kLarge, picture.get(), 0, 0, nullptr, 0);
    };
    row.peers = {{"MapData into new memory", 1.1, mapData}};
    return row;
}

/// Pictures of the whole area, all but the first one of which are blended.
struct Layers {
    Layers() {
        for (int i = 0; i < kLayers; ++i) {
            pictures.push_back(makePicture(kWidth, kHeight, kColour, DataUInt8));
            setLevels(pictures.back(), partOfRange(DataUInt8));
            comps.push_back(addPicture(movie, pictures.back(), 0, 0));
            comps.back()->transparency = i == 0 ? 0 : 48;
            bitmaps.emplace_back(kWidth, kHeight, 24);
        }
    }
    void compose() const {
        ComposeMovie(movie.get(), {shown.pixels(), shown.rowBytes, kWidth, kHeight},
                     {0, kWidth - 1, 0, kHeight - 1}, 1, nullptr);
    }
    void map(std::size_t i) const {
        MapData(bitmaps[i].pixels(), bitmaps[i].rowBytes, kWidth, kHeight, pictures[i].get(), 0, 0, nullptr,
                0);
    }

    const MoviePtr movie = makeMovie();
    std::vector<Picture> pictures;
    std::vector<Comp*> comps;  // the movie's
    std::vector<Bitmap> bitmaps;
    Bitmap shown{kWidth, kHeight, 24};
};

Row frameStep(int) {
    const auto layers = std::make_shared<Layers>();
    Row row;
    row.ours = [layers] {
        for (Comp* comp : layers->comps) comp->flagsA |= CompBitmapOutOfDate;
        layers->compose();
    };
    const auto steps = [layers] {
        for (std::size_t i = 0; i < layers->bitmaps.size(); ++i) {
            layers->map(i);
            std::memcpy(layers->shown.pixels(), layers->bitmaps[i].pixels(), layers->shown.bytes());
        }
    };
    row.peers = {{"their mappings and a memcpy each", 1.0, steps}};
    return row;
}

Row oneLayer(int) {
    const auto layers = std::make_shared<Layers>();
    layers->compose();
    Row row;
    row.ours = [layers, black = 10]() mutable {
        black = 30 - black;
        layers->comps[3]->SetBlackWhite(0, CompBlackWhite(black, 200));
        layers->compose();
    };
    const auto steps = [layers] {
        layers->map(3);
        layers->compose();
    };
    row.peers = {{"its mapping and a composition", 1.1, steps}};
    return row;
}

}  // namespace

void addWaitingRows(Catalogue& rows) {
    rows.push_back({"first bitmap of a component, 4096²", firstBitmap, {0}});
    rows.push_back({"frame step, eight layers of 1920 × 1080", frameStep, {0}});
    rows.push_back({"levels of one of eight layers", oneLayer, {0}});
}

}  // namespace bench

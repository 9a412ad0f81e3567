// Mapping to bitmaps, bitmaps over bitmaps, and the picture of a movie.
#include "pzel/component/comp.h"
#include "pzel/component/movie.h"
#include "pzel/display/compose.h"
#include "pzel/display/map_data.h"
#include "pzel/display/overlay.h"
#include "tests/guard/operations.h"
#include "tests/guard/picture.h"

namespace guard {

namespace {

constexpr int kTable = 512;

/// A rectangle that ends with its image, into rows without padding.
void mapInto(Memory& memory, const Image& image, Span span, int pixelBits, int tables, int mode, bool joint) {
    const auto rowBytes = std::uint16_t((span.width * pixelBits + 7) / 8);
    std::uint8_t* const out = memory.take(std::size_t(rowBytes) * kRows);
    const std::uint8_t* const lut = tables ? memory.take(std::size_t(tables) * kTable) : nullptr;
    Image shown = image;
    if (joint) {
        MapDataHSI(out, rowBytes, std::uint16_t(span.width), kRows, &shown, short(span.offset), 0, lut);
    } else {
        MapData(out, rowBytes, std::uint16_t(span.width), kRows, &shown, short(span.offset), 0, lut,
                std::uint8_t(mode));
    }
}

void addMaps(std::vector<Operation>& all) {
    const auto add = [&](const Kind& kind, Levels levels, bool lut, int mode, bool joint) {
        const bool colour = kind.channels == 3 && mode == 0;
        const int pixelBits = kind.type == DataBit ? 1 : colour ? 24 : 8;
        const std::string what = (joint ? "MapDataHSI" : "MapData") + kind.text() +
                                 (levels == Levels::Narrow ? " narrow" : "") + (lut ? " lut" : "") +
                                 " mode " + std::to_string(mode);
        all.push_back({what, kind.elementBits(), true, [=](Memory& memory, Span span) {
                           const Picture image(memory, kind, span.offset + span.width, levels);
                           mapInto(memory, image, span, pixelBits, lut ? colour ? 3 : 1 : 0, mode, joint);
                       }});
    };
    forKinds({DataUInt8, DataInt8, DataUInt16, DataInt16, DataFloat}, [&](const Kind& kind) {
        for (const bool lut : {false, true}) {
            for (const Levels levels : {Levels::Default, Levels::Narrow}) {
                add(kind, levels, lut, 0, false);
                if (kind.channels == 3) add(kind, levels, lut, 0x80, false);
            }
            if (kind.channels == 3 && kind.sub == SubColour) add(kind, Levels::Default, lut, 0, true);
        }
    });
    const auto bits = [](Memory& memory, Span span) {
        const Picture image(memory, {DataBit, 1, true, SubGrey}, span.width);
        mapInto(memory, image, {span.width, 0}, 1, 0, 0, false);
    };
    all.push_back({"MapData of bits", 1, false, bits});
}

/// What a drawing is called with: both axes have the same zoom.
struct Call {
    BitmapDestination d;
    BitmapSource s;
    signed char zoom;
    const BgrColour* palette;
    int transparency;
};

struct Drawing {
    const char* name;
    int to, from;
    bool boundary;
    void (*draw)(const Call&);
};

const BgrColour kClear{200, 9, 0}, kSet{0, 60, 255};
const Drawing kDrawings[] = {
    {"CopyBitmap 1", 1, 1, false, [](const Call& c) { CopyBitmap(c.d, c.s, c.zoom, c.zoom, 1); }},
    {"CopyBitmap 8", 8, 8, false, [](const Call& c) { CopyBitmap(c.d, c.s, c.zoom, c.zoom, 8); }},
    {"CopyBitmap 24", 24, 24, false, [](const Call& c) { CopyBitmap(c.d, c.s, c.zoom, c.zoom, 24); }},
    {"CopyBitmap8To24", 24, 8, false,
     [](const Call& c) { CopyBitmap8To24(c.d, c.s, c.zoom, c.zoom, c.palette); }},
    {"CopyBitTo1", 1, 1, false, [](const Call& c) { CopyBitTo1(c.d, c.s, c.zoom, c.zoom); }},
    {"CopyBitTo8", 8, 1, false, [](const Call& c) { CopyBitTo8(c.d, c.s, c.zoom, c.zoom, 3, 250); }},
    {"CopyBitTo24", 24, 1, false, [](const Call& c) { CopyBitTo24(c.d, c.s, c.zoom, c.zoom, kClear, kSet); }},
    {"AddBoundaryTo1", 1, 1, true, [](const Call& c) { AddBoundaryTo1(c.d, c.s, c.zoom, c.zoom); }},
    {"AddBoundaryTo8", 8, 1, true, [](const Call& c) { AddBoundaryTo8(c.d, c.s, c.zoom, c.zoom, 7); }},
    {"AddBoundaryTo24", 24, 1, true, [](const Call& c) { AddBoundaryTo24(c.d, c.s, c.zoom, c.zoom, kSet); }},
    {"AddMask", 1, 1, false, [](const Call& c) { AddMask(c.d, c.s, c.zoom, c.zoom); }},
    {"DisplayMask 1", 1, 1, false,
     [](const Call& c) { DisplayMask(c.d, c.s, c.zoom, c.zoom, 1, 9, c.palette, c.transparency); }},
    {"DisplayMaskOn8", 8, 1, false,
     [](const Call& c) { DisplayMaskOn8(c.d, c.s, c.zoom, c.zoom, 7, c.transparency); }},
    {"DisplayMaskOn24", 24, 1, false,
     [](const Call& c) { DisplayMaskOn24(c.d, c.s, c.zoom, c.zoom, kSet, c.transparency); }},
    {"AddTransparentBitTo1", 1, 1, false,
     [](const Call& c) { AddTransparentBitTo1(c.d, c.s, c.zoom, c.zoom, c.transparency); }},
    {"AddTransparentBitTo 8", 8, 1, false,
     [](const Call& c) {
         AddTransparentBitTo(c.d, c.s, c.zoom, c.zoom, 8, 3, 250, c.palette, c.transparency);
     }},
    {"AddTransparentBitTo 24", 24, 1, false,
     [](const Call& c) {
         AddTransparentBitTo(c.d, c.s, c.zoom, c.zoom, 24, 3, 250, c.palette, c.transparency);
     }},
    {"AddTransparentBitmap 8", 8, 8, false,
     [](const Call& c) { AddTransparentBitmap(c.d, c.s, c.zoom, c.zoom, 8, c.transparency); }},
    {"AddTransparentBitmap 24", 24, 24, false,
     [](const Call& c) { AddTransparentBitmap(c.d, c.s, c.zoom, c.zoom, 24, c.transparency); }},
    {"AddTransparentBitmap8To24", 24, 8, false,
     [](const Call& c) { AddTransparentBitmap8To24(c.d, c.s, c.zoom, c.zoom, c.palette, c.transparency); }},
};

/// How many destination pixels `count` source pixels take.
int zoomed(int count, int zoom) {
    return zoom >= 2 ? count * zoom : zoom <= -2 ? (count - zoom - 1) / -zoom : count;
}

/// The source's pixels behind the offset, from another column of the destination on.
void addDrawings(std::vector<Operation>& all) {
    for (const Drawing& drawing : kDrawings) {
        for (const int zoom : {1, 2, 3, -2, -3}) {
            for (const int transparency : {0, 40}) {
                const auto run = [&drawing, zoom, transparency](Memory& memory, Span span) {
                    const int sourceWidth = span.offset + span.width, left = span.offset * 5 % 64;
                    const int sourceRow = (sourceWidth * drawing.from + 7) / 8 * (drawing.boundary ? 2 : 1);
                    const int width = left + zoomed(span.width, zoom), height = zoomed(kRows, zoom);
                    const int row = (width * drawing.to + 7) / 8;
                    const auto* source = memory.take(std::size_t(sourceRow) * kRows);
                    auto* pixels = memory.take(std::size_t(row) * std::size_t(height));
                    auto* palette = reinterpret_cast<BgrColour*>(memory.take(256 * sizeof(BgrColour)));
                    drawing.draw({{pixels, row, width, height},
                                  {source, sourceRow, sourceWidth, kRows, left, 0, span.offset, 0},
                                  static_cast<signed char>(zoom),
                                  palette,
                                  transparency});
                };
                all.push_back({std::string(drawing.name) + " zoom " + std::to_string(zoom) +
                                   " transparency " + std::to_string(transparency),
                               8, true, run});
            }
        }
    }
}

/// A movie of one layer, drawn to the end of a bitmap.
void addCompositions(std::vector<Operation>& all) {
    for (const Kind& kind : {Kind{DataBit, 1, true, SubGrey}, Kind{DataUInt8, 1, true, SubGrey},
                             Kind{DataUInt16, 3, true, SubColour}, Kind{DataFloat, 3, false, SubYuv}}) {
        for (const int zoom : {1, 2, -2}) {
            const auto run = [=](Memory& memory, Span span) {
                const Picture image(memory, kind, span.offset + span.width);
                Comp* const comp = AllocComp(1);
                *comp->GetCurrentImage() = image;
                SetCompMSType(comp, image.imageType);
                comp->SetOpacity(0.7f);
                Movie* const movie = new Movie;
                movie->AddChild(comp);
                const int width = zoomed(span.width, zoom), height = zoomed(kRows, zoom);
                auto* const pixels = memory.take(std::size_t(3 * width) * std::size_t(height));
                ComposeMovie(
                    movie, {pixels, 3 * width, width, height},
                    {std::int16_t(span.offset), std::int16_t(span.offset + span.width - 1), 0, kRows - 1},
                    static_cast<signed char>(zoom), nullptr, 24);
                ImageInit(comp->GetCurrentImage());  // the pixels are not the component's
                comp->Release();
                movie->Release();
            };
            all.push_back({"ComposeMovie" + kind.text() + " zoom " + std::to_string(zoom), kind.elementBits(),
                           true, run});
        }
    }
}

}  // namespace

std::vector<Operation> displayOperations() {
    std::vector<Operation> all;
    addMaps(all);
    addDrawings(all);
    addCompositions(all);
    return all;
}

}  // namespace guard

// Bitmaps: from elements to bytes, the component's way to its bitmap, bitmaps over bitmaps, compositions,
// fields, boundaries and vectors.
#include <algorithm>
#include <cstring>
#include <utility>

#include "tests/fuzz/rows.h"
#include "tests/support/display_reference.h"
#include "tests/support/overlay_reference.h"

namespace fuzz {

namespace {

constexpr int kTypes[] = {DataUInt8, DataInt8, DataUInt16, DataInt16, DataFloat};

/// Whether the naive rules say what an image shows: levels that exact arithmetic has an answer for.
bool isPlain(const Image& image, int mode) {
    const int type = typeOf(&image);
    if (!image.data || !image.bound ||
        std::find(std::begin(kTypes), std::end(kTypes), type) == std::end(kTypes))
        return false;
    if (!(image.state & (StateBoundSet | StateBoundDefault))) return false;
    if (image.channels != 1 && image.channels != 3) return false;
    if (image.state & StateHsiBound && image.channels == 3 && mode == 0 && (image.imageType & 0xFF) != SubYuv)
        return false;
    for (int c = 0; c < image.channels; ++c) {
        const auto [black, white] = test::readPair(image.bound, c, test::shownType(image, c, mode));
        if (!std::isfinite(black) || !std::isfinite(white)) return false;
        if (white > black && white - black < 1e-30) return false;
        if (!test::isYuvColour(image, mode)) continue;
        if (!(white > black) || white > 1e30 || black < -1e30 || white < 1e-30) return false;
        for (int i = 0; i < image.width * image.height; ++i)
            if (!std::isfinite(test::elementAt(image, i % image.width, i / image.width, c, type)))
                return false;
    }
    return true;
}

void mapData(World& w) {
    Image* const image = w.out(w.image());
    if (w.draw.oneIn(3)) w.setLevels(image);
    GetBound(image);
    const int mode = w.draw.pick<int>({0, 0, 0x40, 0x80, 0xC0, 0x20});
    const bool inside = w.draw.coin();
    const int x0 = inside ? w.draw(0, image->width / 2) : w.draw(-4, 20),
              y0 = inside ? w.draw(0, image->height / 2) : w.draw(-3, 9);
    const int width = inside ? image->width - x0 : w.draw(0, 40),
              height = inside ? image->height - y0 : w.draw(0, 9);
    const int rowBytes = std::max(width * 3, int(image->rowBytes)) + w.draw(0, 3);
    const u8* const lut = w.draw.coin() ? w.table() : nullptr;
    Bytes rows(std::size_t(rowBytes * height), 0x5A);
    const Bytes before = rows;
    CALL(MapData, rows.data(), u16(rowBytes), u16(width), u16(height), image, short(x0), short(y0), lut,
         u8(mode));
    Digest digest;
    digest.add(rows.data(), rows.size());
    w.see(digest.value());
    if (inside && isPlain(*image, mode))
        HOLDS(rows == test::mappedSlowly(*image, {x0, y0, width, height, rowBytes, lut, mode}, before));
}

void mapHsi(World& w) {
    Image* const image = w.image({.channels = w.draw.oneIn(5) ? -1 : 3});
    if (!w.mayJoin(image)) return;
    w.out(image);
    const int x0 = w.draw(-2, 9), y0 = w.draw(-2, 4), width = w.draw(0, 40), height = w.draw(0, 5);
    Bytes rows(std::size_t(width * 3 * height), 0x5A);
    CALL(MapDataHSI, rows.data(), u16(width * 3), u16(width), u16(height), image, short(x0), short(y0),
         w.draw.coin() ? w.table() : nullptr);
    Digest digest;
    digest.add(rows.data(), rows.size());
    w.see(digest.value());
}

/// What a fresh bitmap of a picture must show.
void judgeBitmap(World& w, Comp* comp) {
    u16 left, top, width, height;
    Image* const image = comp->GetFlatImage(left, top, width, height);
    if (!image || comp->GetCompMType() != MajorPicture) return;
    const ShownBitmap shown = comp->GetShownBitmap();
    if (!shown.pixels || left + width > image->width || top + height > image->height || !width || !height)
        return;
    const int mode = comp->flagsA & CompChannelMask;
    const bool isColour = image->channels == 3 && mode == 0;
    if (shown.bits == 1 || !isPlain(*image, mode)) return;
    HOLDS(shown.bits == (isColour ? 24 : 8) && shown.width == width && shown.height == height);
    const u8* const lut = comp->remapper ? comp->remapper->GetLookupTable() : nullptr;
    const int bytes = width * (isColour ? 3 : 1);
    const Bytes wanted = test::mappedSlowly(*image, {left, top, width, height, bytes, lut, mode},
                                            Bytes(std::size_t(bytes * height)));
    for (int y = 0; y < height; ++y)
        HOLDS(!std::memcmp(shown.pixels + y * shown.rowBytes, &wanted[std::size_t(y * bytes)],
                           std::size_t(bytes)));
}

void computeBitmap(World& w) {
    Comp* const comp = w.out(w.comp());
    const bool fresh = w.draw.coin();
    if (fresh) CALL_ON(comp, DeleteBitmap);
    CALL_ON(comp, ComputeBitmap, -1);
    const ShownBitmap shown = CALL_ON(comp, GetShownBitmap);
    HOLDS((shown.pixels == nullptr) == (comp->bitmap == nullptr));
    if (fresh) judgeBitmap(w, comp);
}

void overlay(World& w, const test::Overlay& operation) {
    const auto raster = [&](int bits, int most, bool twoRows) {
        test::Raster r{bits, w.draw(0, most), w.draw(0, 9), 0, 0};
        r.rowBytes = ((r.width * bits + 7) / 8 + w.draw(0, 3)) * (twoRows ? 2 : 1);
        if (w.draw.oneIn(4) && r.height > 0) r.start = (r.height - 1) * r.rowBytes, r.rowBytes = -r.rowBytes;
        return r;
    };
    const test::Raster to = raster(operation.to, w.draw.coin() ? 70 : 20, false),
                       from =
                           raster(operation.from, w.draw.coin() ? 70 : 20, operation.kind == test::Boundary);
    const auto bytesOf = [&](const test::Raster& r) {
        Bytes bytes(std::size_t(std::abs(r.rowBytes) * r.height));
        const u64 start = w.draw.word();
        for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = u8(mixed(start + i / 8) >> i % 8 * 8);
        return bytes;
    };
    Bytes pixels = bytesOf(to);
    const Bytes before = pixels, source = bytesOf(from);
    static const auto palette = [] {
        std::array<BgrColour, 256> all{};
        for (std::size_t i = 0; i < 256; ++i) all[i] = {u8(i * 7), u8(255 - i), u8(i ^ 0x55)};
        return all;
    }();
    const auto zoomed = [&] {
        return (signed char)(w.draw.coin() ? w.draw(-3, 3) : w.draw.pick<int>({1, -128, -20, 17, 127}));
    };
    const test::Zoom zoom{zoomed(), zoomed()};
    const int x = w.draw(-9, 20), y = w.draw(-9, 9);
    const test::Paint paint{w.draw.byte(), w.draw.byte(), w.draw.coin() ? palette.data() : nullptr,
                            w.draw.coin() ? w.draw(0, 128) : w.draw.pick({-9, 63, 64, 900})};
    const BitmapDestination d{pixels.data() + to.start, to.rowBytes, to.width, to.height};
    const BitmapSource s{source.data() + from.start, from.rowBytes, from.width, from.height, x, y};
    w.call(
        operation.name, [&](const auto& a, const auto& b) { operation.run(a, b, zoom, paint); }, d, s);
    HOLDS(pixels == test::overlaid(operation, to, before, from, source, x, y, zoom, paint));
}

template <std::size_t i>
void overlayRow(World& w) {
    overlay(w, test::overlays[i]);
}

void compose(World& w) {
    Movie* const movie = w.movie();
    for (int i = 0; i < movie->GetNumbChildren(); ++i) w.touch(movie->GetChildren()[i]);
    w.out(movie), w.touch(World::Canvas);
    const int bits = w.draw.pick({24, 8, 1, 16}), zoom = w.draw(-3, 3);
    for (u8& one : w.canvas) one = 0x3C;
    const Bytes before = w.canvas;
    const BitmapDestination d{w.canvas.data(), 120, 40, 24};
    const SRect area{std::int16_t(w.draw(-5, 5)), std::int16_t(w.draw(0, 60)), std::int16_t(w.draw(-5, 5)),
                     std::int16_t(w.draw(0, 40))};
    CALL(ComposeMovie, movie, d, area, (signed char)(zoom), nullptr, bits);
    HOLDS(bits != 16 || w.canvas == before);
    // A single opaque picture of that depth, seen whole, is a copy of its bitmap.
    if (movie->GetNumbChildren() != 1 || bits < 8 || bits == 16 || zoom < 1) return;
    Comp* const comp = movie->GetChildren()[0];
    const ShownBitmap shown = comp->GetShownBitmap();
    if (comp->GetCompMType() != MajorPicture || !shown.pixels || shown.bits != bits || comp->transparency ||
        !comp->IsVisible())
        return;
    const int width = (area.right - area.left + 1) * zoom, height = (area.bottom - area.top + 1) * zoom;
    const SRect extent = comp->GetCompExtent();
    if (width < 40 || height < 24 || comp->flatImage || comp->flatComp || extent.left != comp->x ||
        extent.top != comp->y)
        return;
    if (shown.width != extent.right - extent.left + 1 || shown.height != extent.bottom - extent.top + 1)
        return;
    const test::Overlay& copy = test::overlays[bits == 8 ? 1 : 2];
    const test::Raster to{bits, 40, 24, 120, 0}, from{bits, shown.width, shown.height, shown.rowBytes, 0};
    const Bytes source(shown.pixels,
                       shown.pixels + (shown.height - 1) * shown.rowBytes + (shown.width * bits + 7) / 8);
    const auto z = (signed char)(zoom);
    HOLDS(w.canvas == test::overlaid(copy, to, before, from, source, (extent.left - area.left) * zoom,
                                     (extent.top - area.top) * zoom, {z, z}, {}));
}

/// One row of elements against another.
bool sameRow(const Image& a, int ax, int ay, const Image& b, int bx, int by, int width) {
    for (int c = 0; c < std::min(a.channels, b.channels); ++c)
        for (int x = 0; x < width; ++x)
            if (!same(test::elementAt(a, ax + x, ay, c, typeOf(&a)),
                      test::elementAt(b, bx + x, by, c, typeOf(&b))))
                return false;
    return true;
}

bool hasElements(const Image* image) {
    return image && image->data && image->channels > 0 && DataBytes(image->dataType) > 0;
}

void split(World& w) {
    Comp* const comp = w.out(w.comp());
    Image* const frame = comp->GetFlatImage();
    Image *even = w.image(), *odd = w.draw.oneIn(5) ? nullptr : w.image();
    if (even == odd) odd = nullptr;
    w.out(even), w.out(odd), w.out(frame);
    SRect area{0, 0, 0, 0};
    if (frame) area = w.area(*frame);
    const bool cut = frame && w.draw.coin();
    const int mode = w.draw(0, 2);
    const bool judged = hasElements(frame) && even != frame && odd != frame && mode == SplitHalfHeight;
    const int x = cut ? std::max<int>(area.left, 0) : 0, y = cut ? std::max<int>(area.top, 0) : 0;
    const int right = !frame ? 0 : cut ? std::min<int>(area.right + 1, frame->width) : frame->width;
    const int bottom = !frame ? 0 : cut ? std::min<int>(area.bottom + 1, frame->height) : frame->height;
    CALL(SplitImage, comp, even, odd, char(mode), cut ? &area : nullptr);
    if (frame && !w.mayJoin(frame)) return;
    if (!judged || right <= x || bottom <= y) return;
    HOLDS(even->height == (bottom - y + 1) / 2 && even->width == right - x &&
          (!odd || odd->height == (bottom - y) / 2));
    for (int row = y; row < bottom && !w.failed(); ++row) {
        const Image* const field = (row - y) % 2 ? odd : even;
        if (field) HOLDS(sameRow(*frame, x, row, *field, 0, (row - y) / 2, right - x));
    }
}

void weave(World& w) {
    Comp *const even = w.out(w.comp()), *const odd = w.out(w.comp()), *const to = w.out(w.comp());
    Image *const a = even->GetFlatImage(), *const b = odd->GetFlatImage(),
                 *const frame = to->GetCurrentImage();
    if (even == to || odd == to) return;
    if (frame && frame->data && typeOf(frame) == DataBit &&
        (frame->channels > 1 || (a && a->channels > 1) || (b && b->channels > 1)))
        return;
    CALL(FieldsToFrame, even, odd, to);
    if (!hasElements(a) || !hasElements(b) || !hasElements(frame) || typeOf(a) != typeOf(frame) ||
        typeOf(b) != typeOf(frame))
        return;
    if (a->imageType != frame->imageType || b->imageType != frame->imageType) return;
    for (int row = 0; row < frame->height && !w.failed(); ++row) {
        const Image* const field = row % 2 ? b : a;
        if (row / 2 < field->height)
            HOLDS(sameRow(*field, 0, row / 2, *frame, 0, row, std::min(field->width, frame->width)));
    }
}

void outline(World& w) {
    Image* const mask = w.image({.type = w.draw.pick<int>({DataBit, DataUInt8, DataInt16}), .channels = 1});
    Image* const made = CALL(MaskToBoundary, mask);
    HOLDS((made != nullptr) == (DataBytes(mask->dataType) < 2));
    if (!made) return;
    const auto masked = [&](int x, int y) {
        return x >= 0 && y >= 0 && test::elementAt(*mask, x, y, 0, typeOf(mask)) != 0;
    };
    bool right =
        made->width == mask->width && made->height == mask->height && made->imageType == MajorBoundary;
    for (int y = 0; y < mask->height; ++y)
        for (int x = 0; x < mask->width; ++x) {
            const bool upper = masked(x, y) != masked(x, y - 1), left = masked(x, y) != masked(x - 1, y);
            right = right && test::elementAt(*made, x, y, 0, DataBit) == upper &&
                    test::elementAt(*made, x, y, 1, DataBit) == left;
        }
    HOLDS(right && "edges lie where exactly one of two pixels is masked");
    Image** const slot = w.freeSlot();
    *slot = made;
    w.touch(made);
}

void vectors(World& w) {
    Comp* const comp = w.out(w.comp());
    Image* const image = w.out(w.image({.pixels = !w.draw.oneIn(9)}));
    const char stepX = char(w.draw(0, 5)), stepY = char(w.draw(0, 5));
    const u16 width = u16(w.draw(0, 70)), height = u16(w.draw(0, 40));
    if (comp->GetCompMType() != MajorVector && w.draw.coin()) CALL_ON(comp, DeleteBitmap);
    CALL(ComputeVector, comp, stepX, stepY, width, height, image, short(w.draw(-9, 20)), short(w.draw(-9, 9)),
         w.draw.coin() ? w.table() : nullptr);
}

template <std::size_t... i>
void addOverlays(Table& table, std::index_sequence<i...>) {
    (table.strong(test::overlays[i].name, overlayRow<i>), ...);
}

}  // namespace

void addDisplayRows(Table& table) {
    table.never("ComputeBmpLineBytes", [](World& w) {
        const int width = w.draw(0, 30000), bits = w.draw.pick({1, 8, 24, 16, 0});
        const int known = bits == 1 || bits == 8 || bits == 24;
        HOLDS(CALL(ComputeBmpLineBytes, width, bits) == u16(known * ((width * bits + 7) / 8 + 3) / 4 * 4));
    });
    table.strong("MapData", mapData);
    table.strong("MapDataHSI", mapHsi);
    // A component's way to its bitmap.
    table.strong("ComputeBitmap, DeleteBitmap, GetShownBitmap", computeBitmap);
    table.strong("ComputeImageBmp", [](World& w) {
        Comp* const comp = w.out(w.comp());
        if (comp->GetCompMType() == MajorPicture) CALL_ON(comp, ComputeImageBmp, 0);
    });
    table.strong("ComputeBoundaryBmp", [](World& w) {
        Comp* const comp = w.out(w.comp());
        if (comp->GetCompMType() == MajorBoundary) CALL_ON(comp, ComputeBoundaryBmp);
    });
    table.strong("ComputeVectorBmp", [](World& w) {
        Comp* const comp = w.out(w.comp());
        if (comp->GetCompMType() == MajorVector) CALL_ON(comp, ComputeVectorBmp);
    });
    table.never("ComputeBmpBits", [](World& w) {
        Comp* const comp = w.comp();
        const int bits = CALL_ON(comp, ComputeBmpBits, w.draw.coin() ? comp->images : nullptr);
        HOLDS(bits == 0 || bits == 1 || bits == 8 || bits == 24);
        HOLDS(CALL_ON(comp, ComputeBmpBits) == comp->ComputeBmpBits(comp->GetFlatImage()));
        if (Image* const image = comp->GetFlatImage()) {  // of the kind that has none, for a moment
            const u16 type = std::exchange(image->imageType, u16(MajorNoBitmap));
            HOLDS(comp->ComputeBmpBits() == 0);
            image->imageType = type;
        }
    });
    table.never("GetValidDataArea", [](World& w) {
        Comp* const comp = w.comp();
        u16 a[4], b[4];
        CALL_ON(comp, GetValidDataArea, a[0], a[1], a[2], a[3]);
        CALL_ON(comp, GetValidDataArea, comp->images, b[0], b[1], b[2], b[3]);
        HOLDS(std::equal(a, a + 4, b));
        const bool byArea = comp->dataArea && (comp->flagsA & CompExtentMask) == CompExtentDataArea;
        HOLDS(byArea ? std::int16_t(a[0]) == comp->dataArea->left
                     : a[2] == (comp->images ? comp->images->width : 0));
    });
    table.never("GetFlatImage", [](World& w) {
        Comp* const comp = w.comp();
        u16 r[4], q[4];
        short dx, dy;
        const Image* const image = CALL_ON(comp, GetFlatImage);
        HOLDS(CALL_ON(comp, GetFlatImage, r[0], r[1], r[2], r[3]) == image);
        HOLDS(CALL_ON(comp, GetFlatImage, dx, dy, q[0], q[1], q[2], q[3]) == image &&
              std::equal(r, r + 4, q));
        HOLDS(image || (!comp->images && !comp->flatComp));
    });
    table.basic("UpdateFlatFrame", [](World& w) {
        Comp* const comp = w.out(w.comp());
        CALL_ON(comp, UpdateFlatFrame, w.draw(0, 31));
        HOLDS(comp->flatComp || !comp->flatImage);
    });
    table.strong("SwitchMapingMode", [](World& w) {
        Comp* const comp = w.out(w.comp());
        for (int i = 0; i < comp->imageFrames; ++i)
            if (!w.mayJoin(comp->images + i)) return;
        if (comp->flatImage && !w.mayJoin(comp->flatImage)) return;
        const u8 before = comp->images ? comp->images->state : 0;
        const bool switched = CALL_ON(comp, SwitchMapingMode, w.draw(0, 4));
        HOLDS(switched || !comp->images || ((before ^ comp->images->state) & StateHsiBound) == 0);
    });
    // Movies, fields, boundaries, vectors.
    table.basic("ComposeMovie", compose);
    table.strong("SplitImage", split);
    table.basic("FieldsToFrame", weave);
    table.strong("MaskToBoundary", outline);
    table.strong("ComputeVector", vectors);
    table.never("MapVectorToBmp", [](World& w) {
        w.touch(World::Canvas);
        std::array<signed char, 2 * 3 * 2> grid;
        for (auto& one : grid)
            one = (signed char)(w.draw.oneIn(9) ? w.draw.pick<int>({VectorNone, 127, 0}) : w.draw(-40, 40));
        const int bits = w.draw.pick({24, 8, 1, 16, 4});
        u8* const first = w.canvas.data() + 23 * 120;
        const bool down = w.draw.coin();
        CALL(MapVectorToBmp, down ? w.canvas.data() : first, down ? -120 : 120, u16(w.draw(0, 40)),
             u16(w.draw(0, 24)), bits, grid.data(), w.draw.word());
    });
    table.basic("VectorTermination, VectorInit", [](World& w) {
        if (!w.draw.oneIn(16)) return;
        CALL(VectorTermination);
        w.touchAll();
        Comp* const comp = w.comp();
        if (comp->GetCompMType() == MajorVector) comp->ComputeVectorBmp();
        CALL(VectorInit);
    });
    addOverlays(table, std::make_index_sequence<std::size(test::overlays)>());
}

}  // namespace fuzz

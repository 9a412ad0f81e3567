// The doors of the bitmap family: each names what is drawn and with what; draw.h does it.
#include "pzel/display/overlay.h"

#include "pzel/display/draw.h"

using pzel::draw;
using pzel::Ink;
using pzel::paletteColour;
using pzel::SourceKind;
using pzel::Zoom;

using Grey = std::uint8_t;

void CopyBitmap(const BitmapDestination& destination, const BitmapSource& source, signed char zoomX,
                signed char zoomY, int bitsPerPixel) {
    AddTransparentBitmap(destination, source, zoomX, zoomY, bitsPerPixel, 0);
}

void CopyBitmap8To24(const BitmapDestination& destination, const BitmapSource& source, signed char zoomX,
                     signed char zoomY, const BgrColour* palette) {
    AddTransparentBitmap8To24(destination, source, zoomX, zoomY, palette, 0);
}

void CopyBitTo1(const BitmapDestination& destination, const BitmapSource& source, signed char zoomX,
                signed char zoomY) {
    draw<bool>(destination, source, SourceKind::Bits, Zoom{zoomX, zoomY});
}

void CopyBitTo8(const BitmapDestination& destination, const BitmapSource& source, signed char zoomX,
                signed char zoomY, unsigned char clear, unsigned char set) {
    draw<Grey>(destination, source, SourceKind::Bits, Zoom{zoomX, zoomY},
               {.colour = set, .background = clear});
}

void CopyBitTo24(const BitmapDestination& destination, const BitmapSource& source, signed char zoomX,
                 signed char zoomY, BgrColour clear, BgrColour set) {
    draw<BgrColour>(destination, source, SourceKind::Bits, Zoom{zoomX, zoomY},
                    {.colour = set, .background = clear});
}

void AddBoundaryTo1(const BitmapDestination& destination, const BitmapSource& source, signed char zoomX,
                    signed char zoomY) {
    draw<bool>(destination, source, SourceKind::Boundary, Zoom{zoomX, zoomY});
}

void AddBoundaryTo8(const BitmapDestination& destination, const BitmapSource& source, signed char zoomX,
                    signed char zoomY, unsigned char value) {
    draw<Grey>(destination, source, SourceKind::Boundary, Zoom{zoomX, zoomY}, {.colour = value});
}

void AddBoundaryTo24(const BitmapDestination& destination, const BitmapSource& source, signed char zoomX,
                     signed char zoomY, BgrColour colour) {
    draw<BgrColour>(destination, source, SourceKind::Boundary, Zoom{zoomX, zoomY}, {.colour = colour});
}

void AddMask(const BitmapDestination& destination, const BitmapSource& source, signed char zoomX,
             signed char zoomY) {
    draw<bool>(destination, source, SourceKind::Mask, Zoom{zoomX, zoomY});
}

void DisplayMask(const BitmapDestination& destination, const BitmapSource& mask, signed char zoomX,
                 signed char zoomY, int bitsPerPixel, unsigned char colour, const BgrColour* palette,
                 int transparency) {
    switch (bitsPerPixel) {
        case 1:
            if (pzel::showsBits(transparency)) AddMask(destination, mask, zoomX, zoomY);
            return;
        case 8: return DisplayMaskOn8(destination, mask, zoomX, zoomY, colour, transparency);
        case 24:
            return DisplayMaskOn24(destination, mask, zoomX, zoomY, paletteColour(palette, colour),
                                   transparency);
        default: return;
    }
}

void DisplayMaskOn8(const BitmapDestination& destination, const BitmapSource& mask, signed char zoomX,
                    signed char zoomY, unsigned char value, int transparency) {
    draw<Grey>(destination, mask, SourceKind::Mask, Zoom{zoomX, zoomY},
               {.colour = value, .transparency = transparency});
}

void DisplayMaskOn24(const BitmapDestination& destination, const BitmapSource& mask, signed char zoomX,
                     signed char zoomY, BgrColour colour, int transparency) {
    draw<BgrColour>(destination, mask, SourceKind::Mask, Zoom{zoomX, zoomY},
                    {.colour = colour, .transparency = transparency});
}

void AddTransparentBitTo1(const BitmapDestination& destination, const BitmapSource& source, signed char zoomX,
                          signed char zoomY, int transparency) {
    if (pzel::showsBits(transparency)) CopyBitTo1(destination, source, zoomX, zoomY);
}

void AddTransparentBitTo(const BitmapDestination& destination, const BitmapSource& source, signed char zoomX,
                         signed char zoomY, int bitsPerPixel, unsigned char clear, unsigned char set,
                         const BgrColour* palette, int transparency) {
    const Zoom zoom{zoomX, zoomY};
    switch (bitsPerPixel) {
        case 1: return AddTransparentBitTo1(destination, source, zoomX, zoomY, transparency);
        case 8:
            return draw<Grey>(destination, source, SourceKind::Bits, zoom,
                              {.colour = set, .background = clear, .transparency = transparency});
        case 24:
            return draw<BgrColour>(destination, source, SourceKind::Bits, zoom,
                                   {.colour = paletteColour(palette, set),
                                    .background = paletteColour(palette, clear),
                                    .transparency = transparency});
        default: return;
    }
}

void AddTransparentBitmap(const BitmapDestination& destination, const BitmapSource& source, signed char zoomX,
                          signed char zoomY, int bitsPerPixel, int transparency) {
    const Zoom zoom{zoomX, zoomY};
    switch (bitsPerPixel) {
        case 1: return AddTransparentBitTo1(destination, source, zoomX, zoomY, transparency);
        case 8:
            return draw<Grey>(destination, source, SourceKind::Pixels, zoom, {.transparency = transparency});
        case 24:
            return draw<BgrColour>(destination, source, SourceKind::Pixels, zoom,
                                   {.transparency = transparency});
        default: return;
    }
}

void AddTransparentBitmap8To24(const BitmapDestination& destination, const BitmapSource& source,
                               signed char zoomX, signed char zoomY, const BgrColour* palette,
                               int transparency) {
    draw<BgrColour>(destination, source, SourceKind::Entries, Zoom{zoomX, zoomY},
                    {.palette = palette, .transparency = transparency});
}

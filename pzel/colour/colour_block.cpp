// Colours are taken apart, their parts changed, and put together again, each in a loop of its own.
#include "pzel/colour/colour_block.h"

#include "pzel/colour/hsi.h"

namespace pzel {

namespace {

Rgb at(const ColourBlock& colours, int i) {
    return {colours.red[i], colours.green[i], colours.blue[i]};
}

void put(ColourBlock& colours, int i, Rgb c) {
    colours.red[i] = c.red;
    colours.green[i] = c.green;
    colours.blue[i] = c.blue;
}

struct Parts {
    float intensity[kPixelBlock], saturation[kPixelBlock], hue[kPixelBlock];
};

}  // namespace

void changeColours(ColourBlock& colours, int count, const Tone& intensity, const Tone& saturation) {
    Parts parts;
    onBestSet([count, in = &colours, out = &parts](auto) {
        for (int k = 0; k < count; ++k) {
            const Rgb c = at(*in, k);
            const float i = intensityOf(c);
            out->intensity[k] = i;
            out->saturation[k] = i > 0 ? spreadOf(c) / i : 0.0f;
        }
    });
    intensity.apply(parts.intensity, count);
    saturation.apply(parts.saturation, count);
    onBestSet([count, in = &parts, out = &colours](auto) {
        for (int k = 0; k < count; ++k)
            put(*out, k, withHueKept(at(*out, k), in->intensity[k], in->saturation[k]));
    });
}

void changeColours(ColourBlock& colours, int count, const Tone& intensity, const Tone& saturation,
                   const Tone& hue, Greys greys) {
    Parts parts;
    float coloured[kPixelBlock];
    onBestSet([count, in = &colours, out = &parts, colour = +coloured](auto) {
        for (int k = 0; k < count; ++k) {
            const Hsi c = toHsi(at(*in, k));
            out->intensity[k] = c.intensity;
            out->saturation[k] = colour[k] = c.saturation;
            out->hue[k] = c.hue;
        }
    });
    intensity.apply(parts.intensity, count);
    saturation.apply(parts.saturation, count);
    hue.apply(parts.hue, count);
    onBestSet([count, greys, in = &parts, out = &colours, colour = +coloured](auto) {
        const float least = greys == Greys::Stay ? 0.0f : -1.0f;
        for (int k = 0; k < count; ++k) {
            const float s = colour[k] > least ? in->saturation[k] : 0.0f;
            put(*out, k, fromHsi({in->hue[k], s, in->intensity[k]}));
        }
    });
}

}  // namespace pzel

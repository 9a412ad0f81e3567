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
    BlockValues intensity, saturation, turn;
};

/// Puts values through a tone; those that only the host can tell are marked instead.
void apply(const Tone& tone, BlockValues& values, int count, Unasked* unasked) {
    if (!unasked) return tone.apply(values.values, count);
    tone.applyUnasked(values.values, count);
    onBestSet([count, in = values.values, out = unasked](auto) {
        int any = 0;
        for (int i = 0; i < count; ++i) any |= in[i] != in[i];
        if (!any) return;
        out->any = true;
        for (int i = 0; i < count; ++i) out->at[i] |= in[i] != in[i];
    });
}

void clear(Unasked* unasked) {
    if (unasked) *unasked = {};
}

}  // namespace

void HueTone::apply(float* turns, int count) const {
    onBestSet([=](auto) {
        for (int i = 0; i < count; ++i) turns[i] = angleOfTurn(turns[i]);
    });
    applyToAngles(turns, count);
    onBestSet([=](auto) {
        for (int i = 0; i < count; ++i) turns[i] = turnOfAngle(turns[i]);
    });
}

void changeColours(ColourBlock& colours, int count, const Tone& intensity, const Tone& saturation,
                   Unasked* unasked) {
    Parts parts;
    clear(unasked);
    onBestSet([count, in = &colours, out = &parts](auto) {
        for (int k = 0; k < count; ++k) {
            const Rgb c = at(*in, k);
            out->intensity[k] = intensityOf(c);
            out->saturation[k] = saturationOf(spreadOf(c), intensityOf(c));
        }
    });
    apply(intensity, parts.intensity, count, unasked);
    apply(saturation, parts.saturation, count, unasked);
    onBestSet([count, in = &parts, out = &colours](auto) {
        for (int k = 0; k < count; ++k)
            put(*out, k, withHueKept(at(*out, k), in->intensity[k], in->saturation[k]));
    });
}

void changeColours(ColourBlock& colours, int count, const Tone& intensity, const Tone& saturation,
                   const Tone& hue, Greys greys, Unasked* unasked) {
    Parts parts;
    clear(unasked);
    BlockValues spreads;
    onBestSet([count, in = &colours, out = &parts, spread = spreads.values](auto) {
        for (int k = 0; k < count; ++k) {
            const Rgb c = at(*in, k);
            spread[k] = spreadOf(c);
            out->intensity[k] = intensityOf(c);
            out->saturation[k] = saturationOf(spreadOf(c), intensityOf(c));
            out->turn[k] = turnOf(c);
        }
    });
    apply(intensity, parts.intensity, count, unasked);
    apply(saturation, parts.saturation, count, unasked);
    apply(hue, parts.turn, count, unasked);
    onBestSet([count, greys, in = &parts, out = &colours, spread = spreads.values](auto) {
        const float least = greys == Greys::Stay ? 0.0f : -1.0f;
        for (int k = 0; k < count; ++k) {
            const float given = in->saturation[k];  // read in any case: no branch
            const float s = spread[k] > least ? given : 0.0f;
            put(*out, k, ofTurn(in->turn[k], s, in->intensity[k]));
        }
    });
}

}  // namespace pzel

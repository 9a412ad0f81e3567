// Intensity, saturation and hue of many colours at once: for the display of HSI levels and for baking them
// into data, so that both change colours alike. The formulas are in hsi.h.
#pragma once

#include "pzel/loops/instruction_set.h"
#include "pzel/loops/pixel_blocks.h"

namespace pzel {

/// Values of a block of pixels. They start on a cache line; the same pixels of several channels do not share
/// its place in the cache, as they would if a block took 2 KB.
struct alignas(64) BlockValues {
    float& operator[](int i) { return values[i]; }
    float operator[](int i) const { return values[i]; }
    float values[kPixelBlock + 32];
};

/// Colours normalised to 0 … 1, a block of pixels at a time.
struct ColourBlock {
    BlockValues red, green, blue;
};

/// What happens to intensities and saturations (0 … 1) or hues (turns, 0 … 3): a window, a curve.
class Tone {
  public:
    virtual ~Tone() = default;
    /// Changes `count` values, at most kPixelBlock, in place.
    virtual void apply(float* values, int count) const = 0;
    /// The same without asking the host, which is not called on other threads than its own: values that only
    /// it can tell become no numbers.
    virtual void applyUnasked(float* values, int count) const { apply(values, count); }
    /// Whether there are more such values than others.
    virtual bool asksHost() const { return false; }
};

/// A change of hues that knows them as angles.
class HueTone : public Tone {
  public:
    void apply(float* turns, int count) const final;

  private:
    /// Changes `count` angles, 0 … 2π, in place.
    virtual void applyToAngles(float* angles, int count) const = 0;
};

/// Whether a tone that gives grey some saturation makes it red.
enum class Greys { Stay, Follow };

/// Which colours of a block only the host can change.
struct Unasked {
    bool any = false;
    bool at[kPixelBlock];
};

/// Changes intensity and saturation; hue stays, and so does grey. With `unasked` the host is not asked: it
/// tells the colours that are not what they should be therefore.
void changeColours(ColourBlock& colours, int count, const Tone& intensity, const Tone& saturation,
                   Unasked* unasked = nullptr);

/// Changes all three.
void changeColours(ColourBlock& colours, int count, const Tone& intensity, const Tone& saturation,
                   const Tone& hue, Greys greys, Unasked* unasked = nullptr);

/// Puts values through a window in place; one that is not on leaves them alone.
template <class Window>
void applyWindow(const Window& window, float* values, int count) {
    if (!window.isOn()) return;
    onBestSet([=](auto) {
        for (int i = 0; i < count; ++i) values[i] = window(values[i]);
    });
}

}  // namespace pzel

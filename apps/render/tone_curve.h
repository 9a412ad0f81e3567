// Tone curves: what bends the values between black and white, as a lookup table of the display.
#pragma once

#include <string>
#include <vector>

#include "pzel/colour/remapper.h"

/// How levels of 0 … 1 are bent before gamma. The logarithm is log(1 + 1000 v) / log(1001) and the inverse
/// hyperbolic sine asinh(10 v) / asinh(10), as astronomers show faint things beside bright ones (R. Lupton et
/// al., 2004).
enum class Bend { None, Log, Asinh, SquareRoot };

/// A level and what it becomes, both 0 … 1.
struct TonePoint {
    double in;
    double out;
    bool operator==(const TonePoint&) const = default;
};

/// What happens to a level v of 0 … 1: it goes through the bend, through the points (a smooth line that rises
/// and falls no further than they do; level beyond the first and the last), to the power of 1 / gamma, and to
/// 1 minus that where inverted.
struct Tone {
    Bend bend = Bend::None;
    std::vector<TonePoint> points;  ///< none, or 2 and more with `in` rising
    double gamma = 1;
    bool inverted = false;

    bool IsIdentity() const { return *this == Tone{}; }
    double At(double v) const;
    bool operator==(const Tone&) const = default;
};

/// One tone for a picture, or one for each channel in a user's order.
using Tones = std::vector<Tone>;

/// Words joined by '+': linear, log, asinh or sqrt; X:Y for each point; gamma=G; invert. "linear" is what a
/// tone without any is called.
/// @throws std::invalid_argument saying what is wrong
Tone ParseTone(const std::string& text);
std::string ToneText(const Tone& tone);
/// Several, separated by commas.
Tones ParseTones(const std::string& text);
std::string TonesText(const Tones& tones);

/// A gamma from the whole of a text: above 0, up to 100.
/// @throws std::invalid_argument
double ParseGamma(const std::string& text);

/// Puts channels through tones. A single tone serves all three of a colour picture, of a luminance picture
/// only the luminance, and of the display by intensity, saturation and hue (SetMode) only the intensity;
/// three serve one each.
class ToneCurve final : public Zel::Remapper {
  public:
    enum class Model { Grey, Colour, Yuv };

    /// `of` is one tone, or three where the model has three channels.
    ToneCurve(Tones of, Model kind);

    bool IsEqual(const Zel::Remapper& other) const override;
    Zel::Remapper* Clone() const override;
    void SetMode(int hsi, int flag) override;
    int GetMode() const override;
    void Reset() override;
    int GetNumbChannels() const override;
    bool IsIdentity(int channel) const override;
    float Remap(float value, int channel) const override;
    const unsigned char* GetLookupTable() const override;

    const Tones& GetTones() const { return tones; }

  private:
    const Tone* ToneOf(int channel) const;
    void BuildTable();

    Tones tones;
    Model model;
    int mode = 0;                      // 1: the table is that of intensity, saturation and hue
    std::vector<unsigned char> table;  // kEntries bytes for each channel
};

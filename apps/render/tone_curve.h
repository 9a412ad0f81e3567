// The tone curve of the command line: gamma and inversion as a lookup table of the display.
#pragma once

#include <vector>

#include "pzel/colour/remapper.h"

/// How levels of 0 … 1 are bent before gamma. The logarithm is log(1 + 1000 v) / log(1001) and the inverse
/// hyperbolic sine asinh(10 v) / asinh(10), as astronomers show faint things beside bright ones (R. Lupton et
/// al., 2004).
enum class Bend { None, Log, Asinh, SquareRoot };

/// Maps a level v of 0 … 1 through a bend, to the power of 1 / gamma, then to 1 minus that where inverted. Of
/// a luminance picture only the luminance goes through the curve; its colour differences stay. Where colour
/// is shown by intensity, saturation and hue (SetMode), only the intensity does.
class ToneCurve final : public Zel::Remapper {
  public:
    enum class Model { Grey, Colour, Yuv };

    ToneCurve(Bend bend, double gamma, bool inverted, Model model);

    bool IsEqual(const Zel::Remapper& other) const override;
    Zel::Remapper* Clone() const override;
    void SetMode(int hsi, int flag) override;
    int GetMode() const override;
    void Reset() override;
    int GetNumbChannels() const override;
    bool IsIdentity(int channel) const override;
    float Remap(float value, int channel) const override;
    const unsigned char* GetLookupTable() const override;

  private:
    bool IsCurved(int channel) const;
    void BuildTable();

    Bend bend;
    double gamma;
    bool inverted;
    Model model;
    int mode = 0;                      // 1: the table is that of intensity, saturation and hue
    std::vector<unsigned char> table;  // kEntries bytes for each channel
};

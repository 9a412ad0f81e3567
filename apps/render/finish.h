// What happens to a picture's bitmap last of all: it is made smaller, flipped and turned.
#pragma once

#include <optional>
#include <vector>

#include "pzel/component/shown_bitmap.h"

struct Size {
    int width;
    int height;
};

enum class Turn { None, Right, Half, Left };
enum class Flip { None, Horizontal, Vertical };

struct FinishOptions {
    std::optional<Size> fit;  ///< pictures that are larger shrink into it and keep their shape
    Flip flip = Flip::None;   ///< left and right, or top and bottom, before it is turned
    Turn turn = Turn::None;   ///< clockwise by 90, 180 or 270 degrees

    bool IsNone() const { return !fit && flip == Flip::None && turn == Turn::None; }
};

/// The size that a picture gets.
Size FinishedSize(const Size& before, const FinishOptions& options);

/// A bitmap of its own: of 8 bits where the original has 1 and is changed, else as deep as that. Each pixel
/// of a shrunk picture is the mean of the area that it covers.
class FinishedBitmap {
  public:
    /// The original is not needed afterwards, but where nothing is to be done it is what is shown.
    FinishedBitmap(const ShownBitmap& original, const FinishOptions& options);

    const ShownBitmap& Bitmap() const { return bitmap; }

  private:
    std::vector<unsigned char> pixels;
    ShownBitmap bitmap{};
};

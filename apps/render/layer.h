// One layer of the picture: a file, and how it is shown. The command line's own options speak of the first.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "apps/io/fields.h"
#include "apps/io/picture.h"
#include "apps/io/stack.h"
#include "colour_map.h"
#include "levels.h"
#include "tone_curve.h"

/// Which channel is shown. Those from Intensity on are computed from all three.
enum class Channel {
    All,
    Red,
    Green,
    Blue,
    Y,
    U,
    V,
    Intensity,
    Saturation,
    Hue,
    Hsi  ///< all, with levels of intensity, saturation and hue
};

/// Columns and rows to show, inclusive on all four sides.
struct Area {
    int left;
    int top;
    int right;
    int bottom;
};

/// How values become a picture.
struct Look {
    std::vector<LevelSpec> levels;  ///< empty: not given
    bool perFrame = false;
    Channel channel = Channel::All;
    Tones tones = {{}};   ///< one, or one for each channel
    double gamma = 1;     ///< of a picture as a whole, after its tones
    bool invert = false;  ///< the same, and what that does to pictures whose low values are white
    bool bake = false;
    bool toYuv = false;
    std::optional<ColourMap> colourMap;  ///< of greys
    pzel_io::Layout layout = pzel_io::Layout::Interleaved;

    /// The tones of a picture whose low values may be white.
    Tones TonesOf(bool lowIsWhite) const;
    /// Whether values go through a curve.
    bool IsCurved(bool lowIsWhite) const { return TonesOf(lowIsWhite) != Tones(tones.size()); }
};

/// What a layer is shown as.
enum class Role {
    Picture,
    Mask,      ///< its set pixels in the overlay colour
    Boundary,  ///< the outline of its set pixels
    Vectors    ///< arrows of its two channels
};

/// The colours of overlays, as entries of the library's standard colours.
enum class Colour : std::uint8_t { Red = 1, Green, Blue, Yellow, Cyan, Magenta, White };

/// The pixels that a mask is made of, where it is not whatever is not zero.
struct MaskValue {
    double value = 0;                  ///< of a grey picture, or the number of a palette's entry
    std::optional<std::uint32_t> rgb;  ///< 0xRRGGBB: of a colour picture
};

struct Layer {
    std::string argument;            ///< as the user typed it
    std::string file;                ///< or a folder, or a pattern of files: a stack of them
    std::string name;                ///< what a window calls it; empty: its file's
    std::vector<std::string> stack;  ///< the files of a stack, where they are listed
    pzel_io::StackOrder order = pzel_io::StackOrder::Auto;
    std::optional<int> page;             ///< of the file: a page, an image, a header unit
    std::optional<std::uint32_t> frame;  ///< the only one that is shown
    bool asStored = false;               ///< not turned upright
    bool partial = false;                ///< shown as far as it is whole
    std::string oddField;                ///< the file of the odd rows, where `file` holds the even ones alone
    std::vector<Layer> subtracted;       ///< the picture whose difference to this one is shown, or none
    std::optional<pzel_io::Field> field;  ///< shown alone
    Role role = Role::Picture;
    std::optional<MaskValue> maskValue;
    std::optional<pzel_io::Window> threshold;  ///< the values that a mask is made of, ends included
    Colour colour = Colour::Red;
    double opacity = 1;
    int x = 0;  ///< the place of the top left pixel
    int y = 0;
    bool hidden = false;
    std::optional<Area> area;  ///< the part of it that is shown
    Look look;

    bool IsOverlay() const { return role != Role::Picture; }
};

/// FILE, or FILE@OPTIONS, OPTIONS separated by commas. An argument that names a file is that file; others are
/// taken apart at their last '@'.
/// @throws std::invalid_argument naming the argument and the part that is wrong
Layer ParseLayer(const std::string& argument);
/// The same of what stands before and behind the '@'.
Layer ParseLayer(const std::string& file, const std::string& options);
/// What ParseLayer makes this layer of, but for its file: options separated by commas, none where they would
/// say what is so without them. A gamma and an inversion of the whole are told as those of its tones.
std::string LayerOptions(const Layer& layer);

/// The name of a colour and of a role, as the user gives them.
const char* ColourName(Colour colour);
const char* RoleName(Role role);

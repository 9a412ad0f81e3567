// The display settings of one layer as a value: read from the document, changed, and given back as one change
// that can be undone. Scenes keep them, panels change them.
#pragma once

#include <optional>
#include <string>

#include "apps/render/layer.h"

namespace pzel_view {

struct LayerState {
    std::string name;
    bool visible = true;
    double opacity = 1;
    int x = 0;  ///< the place of the top left pixel
    int y = 0;
    Role role = Role::Picture;
    Colour colour = Colour::Red;               ///< of what is no picture
    std::optional<pzel_io::Window> threshold;  ///< the values that a mask is made of, ends included
    std::optional<MaskValue> maskValue;        ///< or the one value that it is made of
    std::optional<Area> area;  ///< the part that is shown, in the layer's own columns and rows
    Channel channel = Channel::All;
    bool toYuv = false;  ///< colour shown by luminance and colour differences
    Levels levels;       ///< by channels as a user names them, in the picture's values;
                         ///< given empty: chosen as for a file that is opened
    Tones tones = {{}};  ///< one, or one for each channel; beside the inversion of pictures whose low values
                         ///< are white
};

/// Whether the same would be shown.
bool IsSame(const LayerState& one, const LayerState& other);
bool IsSame(const Levels& one, const Levels& other);
bool IsSame(const std::optional<Area>& one, const std::optional<Area>& other);

/// Whether two states are shown of different images: another role, channel or mask than before.
bool NeedsOtherImage(const LayerState& before, const LayerState& after, const pzel_io::PictureInfo& info);

/// What a file's frames are made by for a state, the rest of the wishes as they are.
Layer WishesFor(const LayerState& state, const Layer& wishes);
/// What a layer asks for. Levels that are not given as numbers come with its first frame.
LayerState StateOfWishes(const Layer& wishes);

}  // namespace pzel_view

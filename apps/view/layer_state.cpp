// Comparing states, and the way to and from the wishes that frames are made by.
#include "layer_state.h"

#include <algorithm>

namespace pzel_view {

namespace {

bool IsSame(const std::optional<pzel_io::Window>& one, const std::optional<pzel_io::Window>& other) {
    if (!one || !other) return one.has_value() == other.has_value();
    return one->low == other->low && one->high == other->high;
}

bool IsSame(const std::optional<MaskValue>& one, const std::optional<MaskValue>& other) {
    if (!one || !other) return one.has_value() == other.has_value();
    return one->value == other->value && one->rgb == other->rgb;
}

// Channels that are shown by a mark of the component, of the image as it is.
bool IsPlain(Channel channel) {
    return channel == Channel::All || channel == Channel::Red || channel == Channel::Green ||
           channel == Channel::Blue;
}

}  // namespace

bool IsSame(const Levels& one, const Levels& other) {
    return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                      [](const auto& a, const auto& b) { return a.low == b.low && a.high == b.high; });
}

bool IsSame(const std::optional<Area>& one, const std::optional<Area>& other) {
    if (!one || !other) return one.has_value() == other.has_value();
    return one->left == other->left && one->top == other->top && one->right == other->right &&
           one->bottom == other->bottom;
}

bool IsSame(const LayerState& one, const LayerState& other) {
    return one.name == other.name && one.visible == other.visible && one.opacity == other.opacity &&
           one.x == other.x && one.y == other.y && one.role == other.role && one.colour == other.colour &&
           IsSame(one.threshold, other.threshold) && IsSame(one.maskValue, other.maskValue) &&
           IsSame(one.area, other.area) && one.channel == other.channel && one.toYuv == other.toYuv &&
           IsSame(one.levels, other.levels) && one.tones == other.tones;
}

bool NeedsOtherImage(const LayerState& before, const LayerState& after, const pzel_io::PictureInfo& info) {
    const bool otherChannel =
        before.channel != after.channel && !(IsPlain(before.channel) && IsPlain(after.channel));
    // Parts of bits are shown as bytes.
    const bool otherBits = info.type == DataBit && before.area.has_value() != after.area.has_value();
    return before.role != after.role || otherChannel || otherBits || before.toYuv != after.toYuv ||
           !IsSame(before.threshold, after.threshold) || !IsSame(before.maskValue, after.maskValue);
}

Layer WishesFor(const LayerState& state, const Layer& wishes) {
    Layer other = wishes;
    other.role = state.role;
    other.colour = state.colour;
    other.opacity = state.opacity;
    other.x = state.x;
    other.y = state.y;
    other.hidden = !state.visible;
    other.threshold = state.threshold;
    other.maskValue = state.maskValue;
    other.area = state.area;
    other.look.channel = state.channel;
    other.look.toYuv = state.toYuv;
    other.look.tones = state.tones;
    other.look.gamma = 1;  // which the tones have
    other.look.invert = false;
    other.name = state.name;
    return other;
}

LayerState StateOfWishes(const Layer& wishes) {
    LayerState state;
    state.visible = !wishes.hidden;
    state.opacity = wishes.opacity;
    state.x = wishes.x;
    state.y = wishes.y;
    state.role = wishes.role;
    state.colour = wishes.colour;
    state.threshold = wishes.threshold;
    state.maskValue = wishes.maskValue;
    state.area = wishes.area;
    state.channel = wishes.look.channel;
    state.toYuv = wishes.look.toYuv;
    state.tones = wishes.look.TonesOf(false);
    state.name = wishes.name;
    for (const LevelSpec& level : wishes.look.levels) {
        if (level.kind == LevelSpec::Kind::Given) state.levels.push_back({level.low, level.high});
    }
    if (state.levels.size() != wishes.look.levels.size()) state.levels.clear();
    return state;
}

}  // namespace pzel_view

// The values of all pixels are looked at as pzel-render does for its levels, so that both choose the same.
#include "level_choices.h"

#include <algorithm>
#include <functional>

#include "apps/io/pixel_values.h"
#include "shown_channels.h"

namespace pzel_view {

namespace {

/// Chooses a range from the values of an image: of a stored channel, or of all.
using Choose = std::function<pzel_io::Window(const Image& image, int stored)>;

Levels ChooseBy(Document& document, Comp& comp, Sharing sharing, const Choose& choose) {
    const LevelKind kind = LevelsOf(document, comp);
    const Image& image = *comp.GetCurrentImage();
    const double offset = document.OffsetOf(comp);
    Levels levels;
    if (kind == LevelKind::None) return levels;
    if (kind == LevelKind::Joint) {
        for (int channel = 0; channel < image.channels; ++channel) {
            const JointPlane plane = PlaneOf(image, channel);
            const pzel_io::Window window = choose(*plane.image, AllChannels);
            levels.push_back({window.low - plane.offset, window.high - plane.offset});
        }
        return levels;
    }
    const bool isOne = kind == LevelKind::Yuv || sharing == Sharing::Together;
    for (int channel = 0; channel < (isOne ? 1 : int{image.channels}); ++channel) {
        const bool all = isOne && kind != LevelKind::Yuv;
        const pzel_io::Window window =
            choose(image, all ? AllChannels : pzel_io::StoredChannel(image, channel));
        levels.push_back({window.low - offset, window.high - offset});
    }
    return levels;
}

}  // namespace

Sharing SharingOf(Document& document, Comp& comp) {
    const Levels levels = document.StateOf(comp).levels;
    const bool same = std::all_of(levels.begin(), levels.end(), [&](const pzel_io::Window& level) {
        return level.low == levels[0].low && level.high == levels[0].high;
    });
    return same && LevelsOf(document, comp) == LevelKind::Channels ? Sharing::Together : Sharing::Each;
}

Levels DataLevels(Document& document, Comp& comp, Sharing sharing) {
    return ChooseBy(document, comp, sharing,
                    [](const Image& image, int stored) { return ValueRange(image, stored); });
}

// Hues go round a circle and saturations start at 0: the intensity alone has ends to clip.
Levels PercentLevels(Document& document, Comp& comp, Sharing sharing, double percent, ImagePart part) {
    Levels levels = ChooseBy(document, comp, sharing, [&](const Image& image, int stored) {
        part.channel = stored;
        return PercentRange(image, part, percent);
    });
    if (LevelsOf(document, comp) == LevelKind::Joint) {
        const Levels now = document.StateOf(comp).levels;
        std::copy(now.begin() + 1, now.end(), levels.begin() + 1);
    }
    return levels;
}

Levels FullLevels(Document& document, Comp& comp) {
    Levels levels;
    for (int channel = 0; channel < comp.GetNumbChannels(); ++channel)
        if (const auto range = FullRangeOf(document, comp, channel)) levels.push_back(*range);
    return levels;
}

Levels FileLevels(Document& document, Comp& comp) {
    const auto window = document.WindowOf(comp);
    const LevelKind kind = LevelsOf(document, comp);
    if (!window || kind == LevelKind::Joint || kind == LevelKind::None) return {};
    return {*window};
}

void SetLevels(Document& document, Comp& comp, const QString& what, const Levels& levels) {
    if (levels.empty()) return;
    LayerState state = document.StateOf(comp);
    for (std::size_t i = 0; i < state.levels.size(); ++i) {
        const bool isDifference = LevelsOf(document, comp) == LevelKind::Yuv && i > 0;
        if (i < levels.size()) {
            state.levels[i] = levels[i];
        } else if (!isDifference) {
            state.levels[i] = levels[0];
        }
    }
    document.Change(comp, what, state);
}

ImagePart SelectedPart(Document& document, Comp& comp) {
    const LayerState state = document.StateOf(comp);
    const Image& image = *comp.GetCurrentImage();
    const QRect part =
        document.Selection().translated(-state.x, -state.y) & QRect(0, 0, image.width, image.height);
    return {AllChannels, part.x(), part.y(), part.width(), part.height()};
}

}  // namespace pzel_view

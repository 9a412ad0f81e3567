// Levels that are chosen from values: by panels, and by the actions of a window.
#pragma once

#include <QString>

#include "document.h"
#include "pzel/bounds/histogram.h"

namespace pzel_view {

/// How many percent Auto clips at each end, unless somebody says otherwise.
inline constexpr double kUsualPercent = 0.35;

/// Whether the channels of a layer share their levels.
enum class Sharing { Together, Each };
/// Together where they have the same levels now, of a layer that may have others.
Sharing SharingOf(Document& document, Comp& comp);

// Each gives levels in the picture's values, and none where there are no such. Of a luminance picture they
// speak of the luminance; intensity, saturation and hue have levels of their own each.

/// From the least to the greatest finite value.
Levels DataLevels(Document& document, Comp& comp, Sharing sharing);
/// Without a percentage of the values of a part at each end.
Levels PercentLevels(Document& document, Comp& comp, Sharing sharing, double percent, ImagePart part = {});
/// Everything that the type of the file's values can hold.
Levels FullLevels(Document& document, Comp& comp);
/// What the file asks for.
Levels FileLevels(Document& document, Comp& comp);

/// Gives a layer levels, one pair for all channels or one for each, as one change. None change nothing.
void SetLevels(Document& document, Comp& comp, const QString& what, const Levels& levels);

/// The dragged rectangle in a layer's own columns and rows; no columns where they share nothing.
ImagePart SelectedPart(Document& document, Comp& comp);

}  // namespace pzel_view

// The values under the pointer, and in pixels that are large enough for them.
#pragma once

#include <QPoint>
#include <QString>
#include <QStringList>

#include "document.h"

namespace pzel_view {

/// The file's values of a layer at a pixel of the movie, a text for each channel; none outside the layer, and
/// of outlines, whose pixels have none.
QStringList ValuesAt(Document& document, Comp& comp, const QPoint& pixel);

/// The place, and the values of every channel of every visible layer there, the highest first.
QString ReadOut(Document& document, const QPoint& pixel);

}  // namespace pzel_view

// What is painted over the picture: the pixel grid with the values in the pixels, the selection, the line,
// and the wipe.
#pragma once

class QPainter;

namespace pzel_view {

class Document;
class PictureTools;
class PictureView;

/// The grid, and the values of the active layer, where pixels are large enough for them.
void PaintPixels(QPainter& painter, const PictureView& picture, Document& document);
void PaintSelection(QPainter& painter, const PictureView& picture, Document& document,
                    const PictureTools& tools);
void PaintWipe(QPainter& painter, const PictureView& picture);

}  // namespace pzel_view

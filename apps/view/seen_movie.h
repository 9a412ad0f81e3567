// What one window sees of a document's movie, drawn by the library: of each layer the visible part alone, and
// of a picture that is shown smaller only the pixels that the composition would take. Levels change in the
// document's components; a window draws them when it paints, however many changed since.
#pragma once

#include <QObject>
#include <QRect>
#include <map>
#include <memory>
#include <vector>

#include "document.h"
#include "pzel/component/shown_bitmap.h"
#include "seen_layer.h"

namespace pzel_view {

class SeenMovie final : public QObject {
    Q_OBJECT

  public:
    explicit SeenMovie(Document& document);

    /// Draws a rectangle of the movie's columns and rows, enlarged `zoom` times or shrunk to every -zoom-th
    /// pixel. A shrunk one starts at multiples of that. The bitmap stays until the next drawing; its rows are
    /// 4-byte aligned.
    const ShownBitmap& Draw(const QRect& area, int zoom);
    /// The same with one layer alone and opaque, hidden or not.
    const ShownBitmap& DrawAlone(const QRect& area, int zoom, Comp& layer);

    /// Milliseconds of the last drawing: mapping values, and putting layers together.
    double MappingTime() const { return mapping; }
    double ComposingTime() const { return composing; }

  signals:
    /// What was drawn is out of date.
    void changed();

  private:
    void Follow();
    void ComposeAll(const std::vector<SeenLayer*>& shown, const QRect& area, int zoom);
    void Start(const std::vector<SeenLayer*>& shown, const QRect& area, int zoom);

    Document& document;
    std::map<Comp*, std::unique_ptr<SeenLayer>> layers;
    std::vector<unsigned char> pixels;
    ShownBitmap bitmap{};
    double mapping = 0;
    double composing = 0;
};

}  // namespace pzel_view

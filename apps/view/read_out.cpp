// Values come from the frame that is shown, before any conversion for the display.
#include "read_out.h"

#include <algorithm>

#include "apps/io/pixel_values.h"

namespace pzel_view {

QStringList ValuesAt(Document& document, Comp& comp, const QPoint& pixel) {
    const Image& image = document.ValuesOf(comp);
    const QPoint inside = pixel - QPoint(comp.x, comp.y);
    const bool isOutline = document.StateOf(comp).role == Role::Boundary;
    if (isOutline || !QRect(0, 0, image.width, image.height).contains(inside)) return {};
    QStringList texts;
    const std::vector<double> values = pzel_io::RowValues(image, inside.y(), inside.x(), 1);
    for (std::size_t i = 0; i < values.size(); ++i) {
        const int stored = pzel_io::StoredChannel(image, static_cast<int>(i));
        texts << QString::fromStdString(pzel_io::ValueText(values[i], pzel_io::TypeOfChannel(image, stored)));
    }
    return texts;
}

QString ReadOut(Document& document, const QPoint& pixel) {
    QString text = QString("(%1, %2)").arg(pixel.x()).arg(pixel.y());
    std::vector<Comp*> layers = document.Layers();
    std::reverse(layers.begin(), layers.end());
    for (Comp* comp : layers) {
        const QStringList values = comp->IsVisible() ? ValuesAt(document, *comp, pixel) : QStringList();
        if (values.isEmpty()) continue;
        const QString name = layers.size() == 1 ? QString() : QString(comp->GetName()) + " ";
        text += "   " + name + values.join(" ");
    }
    return text;
}

}  // namespace pzel_view

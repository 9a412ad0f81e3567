// The settings of the active layer beside its levels and curve: opacity, place, and what it is shown as.
#pragma once

#include <QColor>
#include <QWidget>
#include <map>

#include "document.h"

class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QFormLayout;
class QSlider;
class QSpinBox;

namespace pzel_view {

QColor ColourOf(Colour colour);

class LayerForm final : public QWidget {
    Q_OBJECT

  public:
    LayerForm(Document& document, QWidget* parent);

  private:
    void MakeOpacity(QFormLayout& form);
    void MakePlace(QFormLayout& form);
    void MakeRole(QFormLayout& form);
    void MakeThreshold(QFormLayout& form);
    void Show();
    void ShowRoles(const LayerState& state, const pzel_io::PictureInfo& info);
    void ShowThreshold(const LayerState& state, const pzel_io::PictureInfo& info);
    void Change(const QString& what, const std::function<void(LayerState&)>& change);
    void TakeThreshold();

    Document& document;
    QFormLayout* rows;
    QSlider* opacity;
    QDoubleSpinBox* opacityNumber;
    QSpinBox* x;
    QSpinBox* y;
    QComboBox* role;
    QComboBox* colour;
    QSlider* from;
    QSlider* to;
    QDoubleSpinBox* low;
    QDoubleSpinBox* high;
    QWidget* fromRow;
    QWidget* toRow;
    pzel_io::Window span{0, 255};  // of the threshold's sliders
    int gesture = 0;               // of the slider that is being dragged
    bool isShowing = false;
};

}  // namespace pzel_view

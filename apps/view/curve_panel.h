// The tone curve of the active layer, of all channels or of one: a remapper of the component, made anew with
// each change.
#pragma once

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLabel>
#include <QPushButton>
#include <QWidget>
#include <functional>

#include "apps/render/tone_curve.h"
#include "curve_editor.h"
#include "document.h"

namespace pzel_view {

class CurvePanel final : public QWidget {
    Q_OBJECT

  public:
    CurvePanel(Document& document, QWidget* parent);

  private:
    void ShowLayer();
    void ShowCurve();
    Tones TonesNow() const;
    /// Changes the tone that is shown: of all channels, or of the chosen one.
    void Edit(const QString& what, const std::function<void(Tone&)>& change, int gesture = 0);
    void Put(const QString& what, const Tones& tones, int gesture);

    Document& document;
    int gesture = 0;
    QLabel* nothing;
    QWidget* tools;
    QComboBox* channel;
    CurveEditor* editor;
    QDoubleSpinBox* gamma;
    QComboBox* bend;
    QCheckBox* invert;
    QPushButton* reset;
};

}  // namespace pzel_view

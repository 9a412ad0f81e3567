// Fields show what the component says. A slider's drag is one change.
#include "layer_form.h"

#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QSlider>
#include <QStandardItemModel>
#include <algorithm>
#include <cmath>

#include "layer_steps.h"

namespace pzel_view {

namespace {

constexpr int kSteps = 1000;  // of a slider
constexpr Colour kColours[] = {Colour::Red,  Colour::Green,   Colour::Blue, Colour::Yellow,
                               Colour::Cyan, Colour::Magenta, Colour::White};

QWidget* Row(QWidget* parent, std::initializer_list<QWidget*> widgets) {
    auto* box = new QWidget(parent);
    auto* row = new QHBoxLayout(box);
    row->setContentsMargins(0, 0, 0, 0);
    for (QWidget* widget : widgets) row->addWidget(widget);
    return box;
}

// A number in as few digits as it needs.
class PlainNumber final : public QDoubleSpinBox {
  public:
    using QDoubleSpinBox::QDoubleSpinBox;

  protected:
    QString textFromValue(double value) const override {
        constexpr int kDigits = 8;
        return locale().toString(value, 'g', kDigits).remove(locale().groupSeparator());
    }
};

bool IsWhole(ImageDataType type) {
    return type != DataFloat;
}

}  // namespace

QColor ColourOf(Colour colour) {
    switch (colour) {
        case Colour::Red: return {255, 0, 0};
        case Colour::Green: return {0, 255, 0};
        case Colour::Blue: return {0, 0, 255};
        case Colour::Yellow: return {255, 255, 0};
        case Colour::Cyan: return {0, 255, 255};
        case Colour::Magenta: return {255, 0, 255};
        case Colour::White: break;
    }
    return Qt::white;
}

LayerForm::LayerForm(Document& shown, QWidget* parent)
    : QWidget(parent), document(shown), rows(new QFormLayout(this)) {
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setVerticalSpacing(4);
    MakeOpacity(*rows);
    MakePlace(*rows);
    MakeRole(*rows);
    MakeThreshold(*rows);
    for (QSlider* slider : {opacity, from, to}) {
        connect(slider, &QSlider::sliderPressed, this, [this] { gesture = document.NewGesture(); });
        connect(slider, &QSlider::sliderReleased, this, [this] { gesture = 0; });
    }
    connect(&document, &Document::opened, this, &LayerForm::Show);
    connect(&document, &Document::layersChanged, this, &LayerForm::Show);
    connect(&document, &Document::activeChanged, this, &LayerForm::Show);
    connect(&document, &Document::frameShown, this, &LayerForm::Show);
    connect(&document, &Document::layerChanged, this, [this](Comp* comp) {
        if (comp == document.Active()) Show();
    });
    Show();
}

void LayerForm::Change(const QString& what, const std::function<void(LayerState&)>& change) {
    Comp* const comp = document.Active();
    if (isShowing || !comp) return;
    LayerState state = document.StateOf(*comp);
    change(state);
    document.Change(*comp, what, state, gesture);
    Show();
}

void LayerForm::MakeOpacity(QFormLayout& form) {
    opacity = new QSlider(Qt::Horizontal, this);
    opacity->setObjectName("opacity");
    opacity->setRange(0, 100);
    opacity->setToolTip(tr("How much of what lies below is hidden"));
    opacityNumber = new QDoubleSpinBox(this);
    opacityNumber->setObjectName("opacityNumber");
    opacityNumber->setRange(0, 100);
    opacityNumber->setDecimals(0);
    opacityNumber->setSuffix(tr(" %"));
    opacityNumber->setKeyboardTracking(false);
    opacityNumber->setToolTip(opacity->toolTip());
    const auto take = [this](double percent) {
        Change(tr("Opacity"), [percent](LayerState& state) { state.opacity = percent / 100; });
    };
    connect(opacity, &QSlider::valueChanged, this, take);
    connect(opacityNumber, &QDoubleSpinBox::valueChanged, this, take);
    form.addRow(tr("Opacity"), Row(this, {opacity, opacityNumber}));
}

void LayerForm::MakePlace(QFormLayout& form) {
    const auto make = [this](const char* name, const QString& prefix) {
        auto* box = new QSpinBox(this);
        box->setObjectName(name);
        box->setRange(-32768, 32767);
        box->setPrefix(prefix);
        box->setKeyboardTracking(false);
        box->setToolTip(tr("The place of the layer's top left pixel; the tool Move Layer drags it"));
        connect(box, &QSpinBox::valueChanged, this, [this] {
            Change(tr("Move Layer"), [this](LayerState& state) {
                state.x = x->value();
                state.y = y->value();
            });
        });
        return box;
    };
    x = make("x", tr("x "));
    y = make("y", tr("y "));
    form.addRow(tr("Place"), Row(this, {x, y}));
}

void LayerForm::MakeRole(QFormLayout& form) {
    role = new QComboBox(this);
    role->setObjectName("role");
    role->addItem(tr("Picture"), static_cast<int>(Role::Picture));
    role->addItem(tr("Tint"), static_cast<int>(Role::Mask));
    role->addItem(tr("Outline"), static_cast<int>(Role::Boundary));
    role->addItem(tr("Vectors"), static_cast<int>(Role::Vectors));
    role->setToolTip(tr("A picture, the tint or the outline of its mask, or arrows of its two channels"));
    colour = new QComboBox(this);
    colour->setObjectName("colour");
    colour->setToolTip(tr("The colour of tints, outlines and vectors"));
    for (const Colour entry : kColours) {
        QPixmap patch(14, 14);
        patch.fill(ColourOf(entry));
        QString name = ColourName(entry);
        name[0] = name[0].toUpper();
        colour->addItem(patch, tr(qPrintable(name)), static_cast<int>(entry));
    }
    connect(role, &QComboBox::currentIndexChanged, this, [this] {
        Comp* const comp = document.Active();
        if (isShowing || !comp) return;
        ShowAs(document, *comp, static_cast<Role>(role->currentData().toInt()));
        Show();
    });
    connect(colour, &QComboBox::currentIndexChanged, this, [this] {
        Change(tr("Colour"), [this](LayerState& state) {
            state.colour = static_cast<Colour>(colour->currentData().toInt());
        });
    });
    form.addRow(tr("Show as"), Row(this, {role, colour}));
}

void LayerForm::MakeThreshold(QFormLayout& form) {
    const auto slider = [this](const char* name) {
        auto* made = new QSlider(Qt::Horizontal, this);
        made->setObjectName(name);
        made->setRange(0, kSteps);
        return made;
    };
    const auto number = [this](const char* name) {
        auto* made = new PlainNumber(this);
        made->setObjectName(name);
        made->setRange(-1e12, 1e12);
        made->setKeyboardTracking(false);
        connect(made, &QDoubleSpinBox::valueChanged, this, &LayerForm::TakeThreshold);
        return made;
    };
    from = slider("from");
    to = slider("to");
    low = number("low");
    high = number("high");
    const auto valueOf = [this](int step) {
        const double value = span.low + (span.high - span.low) * step / from->maximum();
        return low->decimals() == 0 ? std::round(value) : value;
    };
    // One end does not pass the other: the slider goes back.
    connect(from, &QSlider::valueChanged, this, [this, valueOf](int step) {
        if (isShowing) return;
        low->setValue(std::min(valueOf(step), high->value()));
        Show();
    });
    connect(to, &QSlider::valueChanged, this, [this, valueOf](int step) {
        if (isShowing) return;
        high->setValue(std::max(valueOf(step), low->value()));
        Show();
    });
    fromRow = Row(this, {from, low});
    toRow = Row(this, {to, high});
    form.addRow(tr("Values from"), fromRow);
    form.addRow(tr("up to"), toRow);
    for (QWidget* widget : {fromRow, toRow}) widget->setToolTip(tr("The values that the mask is made of"));
}

void LayerForm::TakeThreshold() {
    Change(tr("Threshold"), [this](LayerState& state) {
        state.threshold = pzel_io::Window{low->value(), std::max(low->value(), high->value())};
        state.maskValue.reset();
    });
}

void LayerForm::Show() {
    Comp* const comp = document.Active();
    setEnabled(comp != nullptr);
    if (!comp) return;
    isShowing = true;
    const LayerState state = document.StateOf(*comp);
    const pzel_io::PictureInfo& info = document.InfoOf(*comp);
    opacity->setValue(static_cast<int>(std::round(state.opacity * 100)));
    opacityNumber->setValue(std::round(state.opacity * 100));
    x->setValue(state.x);
    y->setValue(state.y);
    ShowRoles(state, info);
    ShowThreshold(state, info);
    isShowing = false;
}

void LayerForm::ShowRoles(const LayerState& state, const pzel_io::PictureInfo& info) {
    const bool isField = info.channels == 2;
    auto* model = static_cast<QStandardItemModel*>(role->model());
    for (int i = 0; i < role->count(); ++i) {
        const bool isVectors = static_cast<Role>(role->itemData(i).toInt()) == Role::Vectors;
        const bool fits = isVectors == isField && (isVectors || info.model != SubYuv || i == 0);
        model->item(i)->setEnabled(fits);
    }
    role->setCurrentIndex(role->findData(static_cast<int>(state.role)));
    colour->setCurrentIndex(colour->findData(static_cast<int>(state.colour)));
    colour->setEnabled(state.role != Role::Picture);
}

void LayerForm::ShowThreshold(const LayerState& state, const pzel_io::PictureInfo& info) {
    const bool isShown = state.threshold.has_value() && state.role != Role::Picture;
    rows->setRowVisible(fromRow, isShown);
    rows->setRowVisible(toRow, isShown);
    if (!isShown) return;
    const auto [first, last] = *state.threshold;
    if (gesture == 0) span = ThresholdSpan(document, *document.Active());
    const double width = std::max(span.high - span.low, 1e-30);
    const int digits = 6 - static_cast<int>(std::floor(std::log10(width)));
    for (QDoubleSpinBox* box : {low, high})
        box->setDecimals(IsWhole(info.type) ? 0 : std::clamp(digits, 0, 15));
    // A step of a slider is a value that can be told.
    const int steps = IsWhole(info.type) ? static_cast<int>(std::clamp(width, 1.0, 1.0 * kSteps)) : kSteps;
    for (QSlider* slider : {from, to}) slider->setRange(0, steps);
    low->setValue(first);
    high->setValue(last);
    const auto stepOf = [&](double value) {
        const double part = (value - span.low) / width;
        return static_cast<int>(std::round(std::clamp(part, 0.0, 1.0) * steps));
    };
    if (!from->isSliderDown()) from->setValue(stepOf(first));
    if (!to->isSliderDown()) to->setValue(stepOf(last));
}

}  // namespace pzel_view

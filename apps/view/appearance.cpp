// A palette for each; the system's own is whatever the desktop says.
#include "appearance.h"

#include <QApplication>
#include <QPalette>
#include <QSettings>
#include <QStyle>

namespace pzel_view {

namespace {

constexpr const char* kKey = "appearance";

QPalette Dark() {
    QPalette palette(QColor(53, 53, 56), QColor(43, 43, 46));
    palette.setColor(QPalette::Base, QColor(32, 32, 34));
    palette.setColor(QPalette::AlternateBase, QColor(40, 40, 43));
    palette.setColor(QPalette::Dark, QColor(24, 24, 26));
    palette.setColor(QPalette::Mid, QColor(30, 30, 32));
    palette.setColor(QPalette::Light, QColor(80, 80, 84));
    palette.setColor(QPalette::Midlight, QColor(66, 66, 70));
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText,
                                           QPalette::ToolTipText, QPalette::BrightText})
        palette.setColor(role, QColor(224, 224, 226));
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, QColor(125, 125, 128));
    palette.setColor(QPalette::ToolTipBase, QColor(60, 60, 64));
    palette.setColor(QPalette::Highlight, QColor(50, 120, 200));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, QColor(110, 170, 240));
    palette.setColor(QPalette::PlaceholderText, QColor(140, 140, 143));
    return palette;
}

QPalette Light() {
    QPalette palette(QColor(240, 240, 240), QColor(240, 240, 240));
    palette.setColor(QPalette::Base, Qt::white);
    palette.setColor(QPalette::Dark, QColor(160, 160, 160));
    palette.setColor(QPalette::Highlight, QColor(48, 140, 198));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, QColor(150, 150, 150));
    return palette;
}

void Show(Appearance appearance) {
    static const QPalette system = QApplication::palette();
    QApplication::setPalette(appearance == Appearance::Dark    ? Dark()
                             : appearance == Appearance::Light ? Light()
                                                               : system);
}

}  // namespace

Appearance CurrentAppearance() {
    return static_cast<Appearance>(QSettings().value(kKey, 0).toInt());
}

void Apply(Appearance appearance) {
    QSettings().setValue(kKey, static_cast<int>(appearance));
    Show(appearance);
}

void ApplyRemembered() {
    Show(CurrentAppearance());
}

}  // namespace pzel_view

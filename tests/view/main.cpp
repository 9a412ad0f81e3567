// Tests of the window run in an application without a screen, whose settings nobody else sees.
#include <gtest/gtest.h>

#include <QApplication>
#include <QFile>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>

namespace {

// Two screens beside each other; the second has one and a half device pixels for each of a widget.
constexpr const char* kScreens = R"({"screens": [
  {"name": "plain", "x": 0, "y": 0, "width": 800, "height": 800, "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1},
  {"name": "fine", "x": 800, "y": 0, "width": 800, "height": 800, "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1.5}
]})";

}  // namespace

int main(int argc, char** argv) {
    const QTemporaryDir settings;
    QFile screens(settings.filePath("screens.json"));
    if (!screens.open(QIODevice::WriteOnly) || screens.write(kScreens) < 0) return 1;
    screens.close();
    qputenv("QT_QPA_PLATFORM", ("offscreen:configfile=" + screens.fileName()).toUtf8());
    testing::InitGoogleTest(&argc, argv);
    QStandardPaths::setTestModeEnabled(true);
    QApplication application(argc, argv);
    QApplication::setOrganizationName("pzel-test");
    QApplication::setApplicationName("pzel-view-test");
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settings.path());
    return RUN_ALL_TESTS();
}

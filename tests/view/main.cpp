// Tests of the window run in an application without a screen, whose settings nobody else sees.
#include <gtest/gtest.h>

#include <QApplication>
#include <QStandardPaths>

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    testing::InitGoogleTest(&argc, argv);
    QStandardPaths::setTestModeEnabled(true);
    QApplication application(argc, argv);
    QApplication::setOrganizationName("pzel-test");
    QApplication::setApplicationName("pzel-view-test");
    return RUN_ALL_TESTS();
}

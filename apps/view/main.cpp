// pzel-view [LAYER...]: a window with the files as layers.
#include <QApplication>
#include <QTimer>
#include <cstdio>
#include <stdexcept>

#include "appearance.h"
#include "main_window.h"

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    QApplication::setApplicationName("pzel-view");
    QApplication::setOrganizationName("pzel");
    QApplication::setApplicationVersion(PZEL_VERSION);
    std::vector<Layer> layers;
    try {
        for (const QString& argument : QApplication::arguments().mid(1))
            layers.push_back(ParseLayer(argument.toStdString()));
    } catch (const std::invalid_argument& error) {
        std::fprintf(stderr, "pzel-view: %s\n", error.what());
        return 2;
    }
    pzel_view::ApplyRemembered();
    auto* window = new pzel_view::MainWindow(std::make_shared<pzel_view::Document>());
    window->show();
    if (!layers.empty()) window->GetDocument().Open(layers, pzel_view::OpenAs::Picture);
    return QApplication::exec();
}

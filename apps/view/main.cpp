// pzel-view [LAYER...]: a window with the files as layers.
#include <QApplication>
#include <QIcon>
#include <QTimer>
#include <cstdio>
#include <stdexcept>

#include "appearance.h"
#include "apps/io/all_processors.h"
#include "main_window.h"
#include "manual.h"

namespace {

// What is told without a screen.
const char* Told(const std::string& argument) {
    if (argument == "--help" || argument == "-h") return kHelp;
    if (argument == "--manual") return kManual;
    if (argument == "--version") return "pzel-view " PZEL_VERSION "\n";
    return nullptr;
}

}  // namespace

int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        if (const char* const text = Told(argv[i]))
            return std::fputs(text, stdout) < 0 || std::fflush(stdout) != 0;
    }
    pzel_io::UseAllProcessors();
    QApplication application(argc, argv);
    QApplication::setApplicationName("pzel-view");
    QApplication::setOrganizationName("pzel");
    QApplication::setApplicationVersion(PZEL_VERSION);
    std::vector<Layer> layers;
    try {
        for (const QString& argument : QApplication::arguments().mid(1)) {
            if (argument.startsWith("--"))
                throw std::invalid_argument(argument.toStdString() + " is no option (--help tells them)");
            layers.push_back(ParseLayer(argument.toStdString()));
        }
    } catch (const std::invalid_argument& error) {
        std::fprintf(stderr, "pzel-view: %s\n", error.what());
        return 2;
    }
    QApplication::setDesktopFileName("pzel-view");
    QApplication::setWindowIcon(QIcon::fromTheme("pzel-view"));
    pzel_view::ApplyRemembered();
    // Files are read while the window is built.
    auto document = std::make_shared<pzel_view::Document>();
    auto furnishing = pzel_view::Furnishing::AtOnce;
    if (!layers.empty()) {
        document->Open(layers, pzel_view::OpenAs::Picture);
        furnishing = pzel_view::Furnishing::AfterPicture;
    }
    (new pzel_view::MainWindow(std::move(document), furnishing))->show();
    return QApplication::exec();
}

// pzel-view [LAYER...]: a window with the files as layers.
#include <QApplication>
#include <algorithm>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string_view>

#include "appearance.h"
#include "apps/io/all_processors.h"
#include "main_window.h"
#include "manual.h"

namespace {

using pzel_view::Document;

// What is told without a screen.
const char* Told(const std::string& argument) {
    if (argument == "--help" || argument == "-h") return kHelp;
    if (argument == "--manual") return kManual;
    if (argument == "--version") return "pzel-view " PZEL_VERSION "\n";
    return nullptr;
}

// Options of Qt's own, which it takes out of the arguments when it starts.
bool IsOfQt(std::string_view option) {
    constexpr std::string_view kOptions =
        " platform platformpluginpath platformtheme plugin qwindowgeometry qwindowtitle qwindowicon geometry "
        "display session style stylesheet reverse widgetcount nograb dograb sync qmljsdebugger ";
    const std::string_view name = option.substr(2, option.find('=') - 2);
    return kOptions.find(' ' + std::string(name) + ' ') != std::string_view::npos;
}

// Whether there is an option that nobody knows, which is told.
bool HasUnknownOption(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (!argument.starts_with("--") || IsOfQt(argument)) continue;
        std::fprintf(stderr, "pzel-view: %s is no option (--help tells them)\n", argv[i]);
        return true;
    }
    return false;
}

// A document that begins to read the layers of the command line; null where they are wrong, which is told.
std::shared_ptr<Document> OpenLayers(int argc, char** argv) {
    std::vector<Layer> layers;
    try {
        for (int i = 1; i < argc; ++i) layers.push_back(ParseLayer(argv[i]));
    } catch (const std::invalid_argument& error) {
        std::fprintf(stderr, "pzel-view: %s\n", error.what());
        return nullptr;
    }
    auto document = std::make_shared<Document>();
    document->Open(layers, pzel_view::OpenAs::Picture);
    return document;
}

}  // namespace

int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        if (const char* const text = Told(argv[i]))
            return std::fputs(text, stdout) < 0 || std::fflush(stdout) != 0;
    }
    if (HasUnknownOption(argc, argv)) return 2;  // also where there is no screen
    pzel_io::UseAllProcessors();
    // Files are read while Qt starts and the window is built. Options of Qt's own it must take out before.
    const bool isAllOurs =
        std::none_of(argv + 1, argv + argc, [](const char* text) { return text[0] == '-'; });
    std::shared_ptr<Document> document = isAllOurs ? OpenLayers(argc, argv) : nullptr;
    if (isAllOurs && !document) return 2;
    QApplication application(argc, argv);
    QApplication::setApplicationName("pzel-view");
    QApplication::setOrganizationName("pzel");
    QApplication::setApplicationVersion(PZEL_VERSION);
    if (!isAllOurs) document = OpenLayers(argc, argv);
    if (!document) return 2;
    QApplication::setDesktopFileName("pzel-view");
    pzel_view::ApplyRemembered();
    using pzel_view::Furnishing;
    const Furnishing when = argc > 1 ? Furnishing::AfterPicture : Furnishing::AtOnce;
    (new pzel_view::MainWindow(std::move(document), when))->show();
    return QApplication::exec();
}

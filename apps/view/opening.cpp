// The order of a folder is that of a stack made of it.
#include "opening.h"

#include <QFileInfo>
#include <QMessageBox>
#include <QPushButton>
#include <QSettings>
#include <algorithm>

#include "apps/io/file_kind.h"
#include "apps/io/stack.h"

namespace pzel_view {

namespace {

constexpr int kMostRecent = 10;

bool IsPicture(const std::filesystem::path& file) {
    try {
        pzel_io::SniffFile(file);
        return true;
    } catch (const pzel_io::FileError&) {
        return false;
    }
}

}  // namespace

std::vector<Layer> LayersOf(const QStringList& files) {
    std::vector<Layer> layers;
    for (const QString& file : files) {
        Layer layer;
        layer.argument = layer.file = file.toStdString();
        layers.push_back(layer);
    }
    return layers;
}

void OpenFiles(Document& document, const QStringList& files, QWidget* parent) {
    if (files.isEmpty()) return;
    if (files.size() == 1) return document.Open(LayersOf(files), OpenAs::Picture);
    QMessageBox question(QMessageBox::Question, Document::tr("Open"),
                         Document::tr("What are these %n files?", nullptr, static_cast<int>(files.size())),
                         QMessageBox::Cancel, parent);
    QPushButton* const layers =
        question.addButton(Document::tr("&Layers over Each Other"), QMessageBox::AcceptRole);
    QPushButton* const frames =
        question.addButton(Document::tr("&Frames of a Stack"), QMessageBox::AcceptRole);
    question.setDefaultButton(layers);
    question.exec();
    if (question.clickedButton() == layers) document.Open(LayersOf(files), OpenAs::Picture);
    if (question.clickedButton() == frames) document.Open(LayersOf(files), OpenAs::Frames);
}

QStringList RecentFiles() {
    return QSettings().value("recent").toStringList();
}

void Remember(const QString& file) {
    QStringList files = RecentFiles();
    const QString whole = QFileInfo(file).absoluteFilePath();
    files.removeAll(whole);
    files.prepend(whole);
    QSettings().setValue("recent", files.mid(0, kMostRecent));
}

QString Neighbour(const QString& file, int by) {
    const std::filesystem::path path = QFileInfo(file).absoluteFilePath().toStdString();
    std::vector<std::filesystem::path> files;
    try {
        files = pzel_io::FilesOf(path.parent_path().string());
    } catch (const pzel_io::FileError&) {
        return {};
    }
    const auto here = std::find_if(files.begin(), files.end(), [&](const std::filesystem::path& other) {
        return other.filename() == path.filename();
    });
    if (here == files.end()) return {};
    const auto count = static_cast<std::ptrdiff_t>(files.size());
    for (std::ptrdiff_t at = here - files.begin() + by; at >= 0 && at < count; at += by) {
        const std::filesystem::path& other = files[static_cast<std::size_t>(at)];
        if (IsPicture(other)) return QString::fromStdString(other.string());
    }
    return {};
}

}  // namespace pzel_view

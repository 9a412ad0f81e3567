// What is opened by whom: menus, dropped files, recent files and the neighbours in a folder.
#pragma once

#include <QStringList>

#include "document.h"

class QWidget;

namespace pzel_view {

/// Layers of files as they are, or of arguments as the command line has them.
std::vector<Layer> LayersOf(const QStringList& files);

/// Opens files; of several it asks what they are to become.
void OpenFiles(Document& document, const QStringList& files, QWidget* parent);

/// Remembered files, the last one first.
QStringList RecentFiles();
void Remember(const QString& file);

/// The next or previous file of the folder that holds a picture, in the order of names with their numbers;
/// empty where there is none.
QString Neighbour(const QString& file, int by);

}  // namespace pzel_view

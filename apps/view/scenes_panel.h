// The scenes of a picture: kept, listed, shown again, renamed and removed. The list is that of the movie's
// first component, which is as the file beside the picture has it.
#pragma once

#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QWidget>

#include "document.h"

namespace pzel_view {

class ScenesPanel final : public QWidget {
    Q_OBJECT

  public:
    ScenesPanel(Document& document, QWidget* parent);

  private:
    void ReadFile();
    void ShowList();
    void ShowButtons();
    void Keep();
    void RecallChosen();
    void Replace();
    void Rename(QListWidgetItem* item);
    void Remove();
    QString Chosen() const;
    /// Does something with the file and reads it again; what fails is told.
    void Do(const std::function<void()>& work);

    Document& document;
    QString chosen;  // the name, also while the list is made anew
    bool isFilling = false;
    QListWidget* list;
    QLabel* note;
    QPushButton* keep;
    QPushButton* recall;
    QPushButton* replace;
    QPushButton* rename;
    QPushButton* remove;
};

}  // namespace pzel_view

// Menu, action, key and what it does, with a field that finds words in all of them.
#include "action_table.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLineEdit>
#include <QTableWidget>
#include <QVBoxLayout>

#include "action_list.h"

namespace pzel_view {

namespace {

QString Plain(QString text) {
    return text.remove('&').remove(QString::fromUtf8("…"));
}

void Fill(QTableWidget& table, const ActionList& actions) {
    table.setHorizontalHeaderLabels({ActionList::tr("Menu"), ActionList::tr("Action"), ActionList::tr("Key"),
                                     ActionList::tr("What it does")});
    for (const ActionList::Entry& entry : actions.Entries()) {
        const int row = table.rowCount();
        table.insertRow(row);
        const QStringList texts{QString(entry.menu).replace("/", " → "), Plain(entry.action->text()),
                                entry.action->shortcut().toString(QKeySequence::NativeText),
                                entry.action->toolTip()};
        for (int column = 0; column < texts.size(); ++column)
            table.setItem(row, column, new QTableWidgetItem(texts[column]));
    }
}

void Filter(QTableWidget& table, const QString& words) {
    for (int row = 0; row < table.rowCount(); ++row) {
        bool isFound = false;
        for (int column = 0; column < table.columnCount(); ++column)
            isFound |= table.item(row, column)->text().contains(words, Qt::CaseInsensitive);
        table.setRowHidden(row, !isFound);
    }
}

}  // namespace

void ShowActionTable(const ActionList& actions, QWidget& window) {
    auto* dialog = new QDialog(&window);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setObjectName("actionTable");
    dialog->setWindowTitle(ActionList::tr("Actions and Keys"));
    auto* find = new QLineEdit(dialog);
    find->setPlaceholderText(ActionList::tr("Find"));
    find->setClearButtonEnabled(true);
    auto* table = new QTableWidget(0, 4, dialog);
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->verticalHeader()->hide();
    Fill(*table, actions);
    table->resizeColumnsToContents();
    table->horizontalHeader()->setStretchLastSection(true);
    QObject::connect(find, &QLineEdit::textChanged, table,
                     [table](const QString& words) { Filter(*table, words); });
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, dialog);
    QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::close);
    auto* all = new QVBoxLayout(dialog);
    all->addWidget(find);
    all->addWidget(table);
    all->addWidget(buttons);
    dialog->resize(980, 560);
    dialog->show();
}

}  // namespace pzel_view

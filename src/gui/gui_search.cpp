// The search box: the texts it remembers.
#include "gui/gui.h"
#include "gui/window_rules.h"

#include <QComboBox>
#include <QLineEdit>
#include <QSignalBlocker>

// The text stays what it is, so no search may follow: the box would start one for each entry that
// takes the place of the one removed.
void Gui::commit_search()
{
    QLineEdit *edit = search_combo->lineEdit();
    const QString text = edit->text();
    if (text.isEmpty())
        return;
    QStringList history;
    for (int i = 0; i < search_combo->count(); ++i)
        history.append(search_combo->itemText(i));

    const int cursor = edit->cursorPosition();
    const QSignalBlocker blocker(search_combo);
    search_combo->clear();
    search_combo->addItems(committed_history(history, text));
    search_combo->setCurrentIndex(0);
    edit->setCursorPosition(cursor);
}

// The search box: the texts it remembers.
#include "gui/escape_filter.h"
#include "gui/gui.h"
#include "gui/window_rules.h"

#include <QComboBox>
#include <QLineEdit>
#include <QShortcut>
#include <QSignalBlocker>

// Ctrl+F begins a new text, Escape takes it away and then leads back to the list.
void Gui::connect_search_keys()
{
    QLineEdit *edit = search_combo->lineEdit();
    auto *find = new QShortcut(QKeySequence(QKeySequence::Find), this);
    connect(find, &QShortcut::activated, search_combo, [edit] {
        edit->setFocus(Qt::ShortcutFocusReason);
        edit->selectAll();
    });
    auto *keys = new EscapeFilter(search_combo); // which has the focus for its field
    connect(keys, &EscapeFilter::escaped, search_combo, [this, edit] {
        if (edit->text().isEmpty())
            table.view()->setFocus(Qt::ShortcutFocusReason);
        else
            edit->clear();
    });
}

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

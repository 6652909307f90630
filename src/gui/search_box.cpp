// The field that searches the list, and what was searched for before.
#include "gui/search_box.h"

#include "gui/escape_filter.h"
#include "gui/window_rules.h"

#include <QLineEdit>
#include <QShortcut>
#include <QSignalBlocker>

SearchBox::SearchBox()
{
    setObjectName("search_box");
    setEditable(true);
    // Committing is ours: the box itself would add entries beyond the ten.
    setInsertPolicy(QComboBox::NoInsert);
    setAccessibleName("Search");
    setToolTip("Leaves the devices that have this text in a column (Ctrl+F)");
    QLineEdit *edit = lineEdit();
    edit->setPlaceholderText("🔍 Search");
    edit->setClearButtonEnabled(true);

    // Ctrl+F begins a new text, Escape takes it away and then leads back to the list.
    auto *find = new QShortcut(QKeySequence(QKeySequence::Find), this);
    connect(find, &QShortcut::activated, this, [edit] {
        edit->setFocus(Qt::ShortcutFocusReason);
        edit->selectAll();
    });
    auto *keys = new EscapeFilter(this); // which has the focus for its field
    connect(keys, &EscapeFilter::escaped, this, [this, edit] {
        if (edit->text().isEmpty())
            emit left();
        else
            edit->clear();
    });
    auto *enter = new QShortcut(QKeySequence(Qt::Key_Return), this);
    connect(enter, &QShortcut::activated, this, &SearchBox::commit);
    // The keypad's Enter is another key, which the shortcut leaves to the box.
    connect(edit, &QLineEdit::returnPressed, this, &SearchBox::commit);
}

void SearchBox::restore(const QStringList &searches)
{
    addItems(searches.mid(0, MOST_SEARCHES));
    setCurrentIndex(-1);
}

QStringList SearchBox::history() const
{
    QStringList searches;
    for (int i = 0; i < count(); ++i)
        searches.append(itemText(i));
    return searches;
}

// The text stays what it is, so no search may follow: the box would start one for each entry that
// takes the place of the one removed.
void SearchBox::commit()
{
    const QString text = currentText();
    if (text.isEmpty())
        return;
    const QStringList searches = committed_history(history(), text);
    const int cursor = lineEdit()->cursorPosition();
    const QSignalBlocker blocker(this);
    clear();
    addItems(searches);
    setCurrentIndex(0);
    lineEdit()->setCursorPosition(cursor);
}

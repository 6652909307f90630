// Which rows of the list the search leaves.
#pragma once

#include "support/frame_throttle.h"

#include <QObject>
#include <QString>

#include <vector>

class HighlightDelegate;
class QStandardItemModel;
class QTreeView;

// Hides the rows of `view` in whose shown columns nothing matches. All of its parts must outlive
// it.
class ListSearch : public QObject
{
    Q_OBJECT

public:
    ListSearch(const QStandardItemModel &its_model, HighlightDelegate &its_delegate);
    void set_view(QTreeView *its_view) { view = its_view; }

    QString text() const;
    void set_text(const QString &text);
    // Looks at all rows again: at once, or at most once per painted frame.
    void look_again();
    void ask();
    FrameThrottle &pace() { return throttle; }
    // While held, only another text hides or shows selected rows: an edit is its operator's to end.
    void hold_selected_rows(bool on);

signals:
    // A selected row is about to be hidden or shown. Whoever listens may change rows.
    void selected_hidden();
    void row_returns(); // in a moment
    // All rows have been looked at; a selected one was among those that went or came.
    void looked(bool is_selection_touched);

private:
    void look_at_rows(bool is_new_text);
    bool show_matching_rows(bool is_new_text);
    bool matches(int row, const std::vector<int> &columns) const;

    const QStandardItemModel &model;
    HighlightDelegate &delegate; // which keeps the text
    QTreeView *view = nullptr;
    FrameThrottle throttle;
    bool is_selection_held = false;
};

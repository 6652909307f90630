// The field that searches the list, and what was searched for before.
#pragma once

#include <QComboBox>
#include <QStringList>

class SearchBox : public QComboBox
{
    Q_OBJECT

public:
    SearchBox();

    // The searches of before, the newest first. Nothing of them is in the field.
    void restore(const QStringList &searches);
    QStringList history() const;

    // What Enter does: the text becomes the newest of the history, and stays what it is.
    void commit();

signals:
    void left(); // by Escape in an empty field
};

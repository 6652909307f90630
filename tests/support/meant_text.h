// What typing makes of a line of text.
#pragma once

#include <QString>

// A line of text as the operator means it: what the field must hold after each key.
struct MeantText
{
    QString text = {};
    int cursor = 0;
    int anchor = 0; // the other end of the selection

    QString selected() const { return text.mid(qMin(cursor, anchor), qAbs(cursor - anchor)); }

    void press(int key, Qt::KeyboardModifiers modifiers)
    {
        const bool is_selecting = modifiers.testFlag(Qt::ShiftModifier);
        if (key == Qt::Key_End)
            go_to(text.size(), is_selecting);
        else if (key == Qt::Key_Left)
            go_to(qMax(0, cursor - 1), is_selecting);
        else if (key == Qt::Key_Backspace)
            erase(qMax(0, cursor - 1));
        else if (key == Qt::Key_Delete)
            erase(qMin(text.size(), cursor + 1));
        else
            write(QChar(key).toLower());
    }

private:
    void go_to(int place, bool is_selecting)
    {
        cursor = place;
        anchor = is_selecting ? anchor : place;
    }

    void erase(int other_end)
    {
        if (cursor == anchor)
            anchor = other_end;
        const int start = qMin(cursor, anchor);
        text.remove(start, qAbs(cursor - anchor));
        cursor = anchor = start;
    }

    void write(QChar letter)
    {
        if (cursor != anchor)
            erase(anchor);
        text.insert(cursor, letter);
        anchor = ++cursor;
    }
};

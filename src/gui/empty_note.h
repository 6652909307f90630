// A headline and a hint in the middle of an empty list.
#pragma once

#include "gui/empty_texts.h"

#include <QAbstractScrollArea>
#include <QLabel>

class EmptyNote : public QWidget
{
    Q_OBJECT

public:
    // Covers the viewport of `list`, which owns it; clicks go through.
    explicit EmptyNote(QAbstractScrollArea *list);

    void show_texts(const EmptyTexts &texts); // hides without a headline
    void set_dark_theme(bool is_dark);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QAbstractScrollArea *list = nullptr;
    QLabel headline;
    QLabel hint;
};

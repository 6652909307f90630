// A headline and a hint in the middle of an empty list, and when they are due.
#pragma once

#include "gui/empty_texts.h"
#include "support/frame_throttle.h"

#include <QAbstractScrollArea>
#include <QLabel>
#include <QTimer>

class EmptyNote : public QWidget
{
    Q_OBJECT

public:
    // Covers the viewport of `list`, which owns it; clicks go through.
    explicit EmptyNote(QAbstractScrollArea *list);

    // Whatever may change what is said only asks: `due` follows at most once per painted frame, and
    // wants show_counts in answer.
    void ask() { throttle.ask(); }
    void cancel() { throttle.cancel(); }
    void set_network(const QString &name); // empty: there is none
    void begin_patience();                 // with answers that are on their way
    void show_counts(int devices, int hidden, const QString &search);
    void set_dark_theme(bool is_dark);

signals:
    void due();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void show_texts(const EmptyTexts &texts); // hides without a headline

    QAbstractScrollArea *list = nullptr;
    QLabel headline;
    QLabel hint;
    FrameThrottle throttle;
    QTimer patience; // single-shot: how long an answer may take
    QString network;
};

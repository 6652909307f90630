// The caption of a row: gives way to the editors by ending in dots, and stands out when edited.
#pragma once

#include <QLabel>

class RowCaption : public QLabel
{
    Q_OBJECT

public:
    explicit RowCaption(const QString &text);

    // Of several captions alike: the heading that this one stands under, which its tool tip names.
    // A selection may hide the heading and show the row.
    void set_group(const QString &heading);
    // Bold. The room for it is there from the start, so that nothing moves when it changes.
    void set_marked(bool is_marked);
    bool is_marked() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    // A caption that is cut, or one of several alike, tells its whole text as a tool tip.
    bool event(QEvent *event) override;

private:
    bool is_cut() const;
    QString tip() const;

    QString group = {};
};

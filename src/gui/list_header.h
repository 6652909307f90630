// The list's header: there also when no column is, and of use without a mouse.
#pragma once

#include <QHeaderView>

#include <vector>

class ListHeader : public QHeaderView
{
    Q_OBJECT

public:
    explicit ListHeader(QWidget *parent = nullptr);

    // As high as captions are, also while no column shows: the column menu must stay in reach.
    QSize sizeHint() const override;

    // What a caption takes to be read in full. Captions don't change once the list has a model.
    int caption_width(int section) const;
    void setModel(QAbstractItemModel *new_model) override;

signals:
    void menu_wanted(const QPoint &position); // by keyboard, in the viewport

protected:
    // Left and Right choose a caption, Space and Return sort by it, Down opens the column menu.
    void keyPressEvent(QKeyEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    void changeEvent(QEvent *event) override;
    // No width of its own: the list says how wide a column is, and knows the captions.
    QSize sectionSizeFromContents(int section) const override;
    void paintEvent(QPaintEvent *event) override;
    void paintSection(QPainter *painter, const QRect &rect, int section) const override;

private:
    bool has_short_section() const; // too narrow for its caption
    void move_choice(int step);
    void sort_by_choice();
    int chosen_section() const; // -1: none shows

    int chosen = 0;                          // logical index
    mutable std::vector<int> caption_widths; // by section, -1: never measured
};

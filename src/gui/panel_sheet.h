// The rows of the property panel as widgets: where each stands, its looks, and what of them is in
// sight. What a row says and does is the panel's.
#pragma once

#include "gui/row_widgets.h"
#include "model/meta.h"

#include <QPalette>
#include <QPoint>
#include <QScrollArea>

#include <map>
#include <string>
#include <vector>

class QGridLayout;
struct Property;

class PanelSheet : public QScrollArea
{
    Q_OBJECT

public:
    explicit PanelSheet(QWidget *parent = nullptr);

    // Black or white, as the desktop is.
    void set_ground(bool is_dark);

    const RowWidgets *row(const std::string &key) const; // null when the key has none
    // Makes the row's editor anew, and with the first one the row. Null when its kind has none, and
    // when the one that is there is of this descriptor: a row that was out of sight comes back.
    RowEditor *rebuild_row(const std::string &key, const Property &property);
    void show_row(const std::string &key);
    void hide_row(const std::string &key);
    // While one lives, rows that come into sight are not laid out; when it ends all are, once: each
    // would lay out all the others anew. One within another does nothing.
    class LayoutPause
    {
    public:
        explicit LayoutPause(PanelSheet &its_sheet);
        ~LayoutPause();
        LayoutPause(const LayoutPause &) = delete;
        LayoutPause &operator=(const LayoutPause &) = delete;

    private:
        PanelSheet *sheet = nullptr;
    };
    // Bold, for what Confirm would change.
    void mark_row(const std::string &key, bool is_changed);
    // The Tab key goes through the rows as they are read; to be called after editors were made.
    void order_tab_stops();

    // Scrolls up or down until these rows are in sight, the first before the others. The focus
    // stays where it is.
    void bring_into_sight(const std::vector<std::string> &keys);
    // The first row in sight that takes input gets the focus.
    void focus_first_in_sight();
    QPoint place() const;
    void scroll_to(const QPoint &place);
    // What stands in the rows has changed: they are laid out again.
    void lay_out() { content->updateGeometry(); }

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void make_row_widgets(RowWidgets &made, const std::string &key);
    void fit_width();
    bool is_in_sight(const QWidget *widget) const;

    std::map<std::string, RowWidgets> rows = {};
    std::map<std::string, QString> groups = {}; // headings of rows whose captions are alike
    std::map<std::string, PropertyDesc> descriptors = {}; // that the rows' editors were made from
    bool has_new_editors = false;                         // the tab order does not know them yet
    bool has_new_rows = false;                            // came into sight during a pause
    QPalette row_colours = {};
    QWidget *content = nullptr;
    QGridLayout *grid = nullptr; // one row of cells per property, by order of the keys
};

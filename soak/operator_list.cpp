// The operator at the list: selects, sorts, searches, hides columns, deletes.
#include "gui/device_list_view.h"
#include "soak/odd_texts.h"
#include "soak/operator_play.h"
#include "soak/typing.h"
#include "support/window_main.h"

#include <QComboBox>
#include <QHeaderView>
#include <QItemSelection>
#include <QLineEdit>
#include <QMenu>
#include <QScrollBar>
#include <QSplitter>

namespace {
constexpr int TURN_OF_A_HAND = 50; // ms; the next act comes later
constexpr int LONGEST_TYPED = 20;  // letters that come in one turn of the event loop
} // namespace

std::vector<int> OperatorPlay::visible_rows() const
{
    std::vector<int> rows;
    for (int row = 0; row < gui().model().rowCount(); ++row)
        if (!gui().view()->isRowHidden(row, QModelIndex()))
            rows.push_back(row);
    return rows;
}

void OperatorPlay::click_row(int row, Qt::KeyboardModifiers modifiers)
{
    DeviceListView *list = gui().view();
    const std::vector<int> columns = gui().shown_columns();
    if (columns.empty())
        return;
    const QModelIndex index = gui().model().index(row, columns.front());
    list->scrollTo(index);
    const QPoint place = list->visualRect(index).center();
    if (list->viewport()->rect().contains(place))
        QTest::mouseClick(list->viewport(), Qt::LeftButton, modifiers, place);
}

void OperatorPlay::select_few()
{
    const std::vector<int> rows = visible_rows();
    if (rows.empty())
        return;
    Qt::KeyboardModifiers modifiers = Qt::NoModifier;
    for (int i = random.between(1, 4); i > 0; --i) {
        click_row(rows[static_cast<size_t>(random.below(static_cast<int>(rows.size())))],
                  modifiers);
        modifiers = Qt::ControlModifier;
    }
}

void OperatorPlay::select_many()
{
    if (random.happens(40)) {
        QTest::keyClick(gui().view(), Qt::Key_A, Qt::ControlModifier);
        return;
    }
    const std::vector<int> rows = visible_rows();
    if (rows.empty())
        return;
    click_row(rows[static_cast<size_t>(random.below(static_cast<int>(rows.size())))],
              Qt::NoModifier);
    click_row(rows[static_cast<size_t>(random.below(static_cast<int>(rows.size())))],
              Qt::ShiftModifier);
}

void OperatorPlay::clear_selection()
{
    gui().view()->clearSelection();
}

void OperatorPlay::sort()
{
    QHeaderView *header = gui().view()->header();
    const std::vector<int> columns = gui().shown_columns();
    if (columns.empty())
        return;
    const int column = columns[static_cast<size_t>(random.below(static_cast<int>(columns.size())))];
    const QPoint place(header->sectionViewportPosition(column) + header->sectionSize(column) / 2,
                       header->height() / 2);
    if (header->viewport()->rect().contains(place))
        QTest::mouseClick(header->viewport(), Qt::LeftButton, Qt::NoModifier, place);
    else
        gui().view()->sortByColumn(column,
                                   random.happens(50) ? Qt::AscendingOrder : Qt::DescendingOrder);
}

void OperatorPlay::search()
{
    const QStringList texts
        = {"stage", "Offline", "10.71.0.1", "e", "horn 3", "KV", "zzz", "ü", "1"};
    const QString text
        = random.happens(20) ? odd_text(random) : texts.at(random.below(texts.size()));
    QLineEdit *edit = gui().search_box()->lineEdit();
    edit->selectAll();
    // Three hundred letters in one turn of the event loop are three hundred searches that no
    // operator asks for at once: half a second among 1,000 devices. Who has such a text pastes it.
    if (text.size() > LONGEST_TYPED)
        edit->insert(text);
    else
        type_text(edit, text);
}

void OperatorPlay::clear_search()
{
    QLineEdit *edit = gui().search_box()->lineEdit();
    edit->selectAll();
    QTest::keyClick(edit, Qt::Key_Backspace);
}

void OperatorPlay::commit_search()
{
    QTest::keyClick(gui().search_box()->lineEdit(), Qt::Key_Enter);
}

void OperatorPlay::toggle_column()
{
    gui().show_column_menu({5, 5});
    const auto count = static_cast<int>(gui().column_actions().size());
    gui().column_actions()[static_cast<size_t>(random.below(count))]->trigger();
    gui().header_menu()->hide();
}

void OperatorPlay::scroll()
{
    for (QScrollBar *bar : {gui().view()->verticalScrollBar(), gui().view()->horizontalScrollBar(),
                            gui().property_scroll()->verticalScrollBar()})
        bar->setValue(random.between(bar->minimum(), bar->maximum()));
}

void OperatorPlay::resize()
{
    if (random.happens(50))
        gui().resize(random.between(500, 1900), random.between(300, 1100));
    else
        gui().property_splitter()->setSizes({random.between(0, 1500), random.between(0, 800)});
}

// Devices that are online come back as new ones.
void OperatorPlay::delete_entries()
{
    if (gui().view()->selectionModel()->selectedRows().size() < 20)
        trigger("&Delete entry");
}

// Two acts of a hand: the window has its turn between them.
void OperatorPlay::select_and_delete_offline()
{
    select_offline();
    QTimer::singleShot(TURN_OF_A_HAND, this, [this] {
        if (is_free())
            trigger("&Delete entry");
    });
}

void OperatorPlay::delete_offline()
{
    select_offline();
    trigger("&Delete entry");
}

void OperatorPlay::select_offline()
{
    // As one selection: one by one the panel would show hundreds of them, each larger by a row.
    QItemSelection offline;
    for (const auto &[id, device] : gui().all_devices())
        if (!device->online) {
            const QModelIndex row = gui().model().index(gui().row_of(device), 0);
            offline.select(row, row);
        }
    gui().view()->selectionModel()->select(
        offline, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
}

void OperatorPlay::add_dummy()
{
    trigger("Add dummy device");
}

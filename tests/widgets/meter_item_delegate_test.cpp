// Meters in the list: a tick repaints meter cells and nothing else.
#include "meter/meter_item_delegate.h"
#include "meter/meter_object.h"

#include <QHeaderView>
#include <QScrollBar>
#include <QStandardItemModel>
#include <QTreeView>
#include <QtTest>

#include <memory>

namespace {
constexpr int METER_ROLE = Qt::UserRole + 3;

class CountingDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override
    {
        ++paints;
        QStyledItemDelegate::paint(painter, option, index);
    }
    mutable int paints = 0;
};

class CountingMeterDelegate : public MeterItemDelegate
{
public:
    using MeterItemDelegate::MeterItemDelegate;
    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override
    {
        ++paints;
        MeterItemDelegate::paint(painter, option, index);
    }
    mutable int paints = 0;
};

struct List
{
    static constexpr int ROWS = 200;
    QStandardItemModel model;
    QTreeView view;
    CountingDelegate others{&view};
    CountingMeterDelegate meters{&view, METER_ROLE, &view};
    std::vector<std::unique_ptr<MeterObject>> objects;

    List()
    {
        for (int row = 0; row < ROWS; ++row) {
            objects.push_back(std::make_unique<MeterObject>());
            objects.back()->set_levels({50, 70}, {});
            auto *cell = new QStandardItem;
            cell->setData(QVariant::fromValue(objects.back().get()), METER_ROLE);
            model.appendRow({new QStandardItem("name"), cell, new QStandardItem("address")});
        }
        view.setModel(&model);
        view.setUniformRowHeights(true);
        view.setItemDelegate(&others);
        view.setItemDelegateForColumn(1, &meters);
        view.resize(400, 300);
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        QCoreApplication::processEvents();
        others.paints = 0;
        meters.paints = 0;
    }

    int rows_in_view() const
    {
        int rows = 0;
        for (int row = 0; row < ROWS; ++row)
            rows
                += view.visualRect(model.index(row, 1)).intersects(view.viewport()->rect()) ? 1 : 0;
        return rows;
    }
};
} // namespace

class MeterItemDelegateTest : public QObject
{
    Q_OBJECT

private slots:
    void updating_all_meter_cells_paints_those_in_view_once();
    void a_selected_cell_keeps_its_highlight_around_the_meter();
    void a_cell_half_out_of_view_is_drawn_in_place();
};

void MeterItemDelegateTest::updating_all_meter_cells_paints_those_in_view_once()
{
    List list;
    const int in_view = list.rows_in_view();
    QVERIFY(in_view > 5 && in_view < 50);
    for (int row = 0; row < List::ROWS; ++row)
        list.view.update(list.model.index(row, 1));
    QCoreApplication::processEvents();
    QCOMPARE(list.meters.paints, in_view);
    QCOMPARE(list.others.paints, 0);
}

void MeterItemDelegateTest::a_selected_cell_keeps_its_highlight_around_the_meter()
{
    List list;
    list.view.setColumnWidth(1, 100);
    list.view.setSelectionBehavior(QAbstractItemView::SelectRows);
    list.view.selectionModel()->select(list.model.index(0, 0),
                                       QItemSelectionModel::Select | QItemSelectionModel::Rows);
    const QImage image = list.view.viewport()->grab().toImage();
    const QRect cell = list.view.visualRect(list.model.index(0, 1));
    const QColor beside = image.pixelColor(cell.right() - 5, cell.center().y());
    QVERIFY(beside != list.view.palette().color(QPalette::Base));
    QCOMPARE(beside, image.pixelColor(cell.left() + 5, cell.center().y()));
}

void MeterItemDelegateTest::a_cell_half_out_of_view_is_drawn_in_place()
{
    List list;
    list.view.setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    const QRect before = list.view.visualRect(list.model.index(3, 1));
    const QImage whole = list.view.viewport()->grab().toImage();
    const int shift = before.top() + 5;
    list.view.verticalScrollBar()->setValue(shift);
    const QImage scrolled = list.view.viewport()->grab().toImage();
    const int height = before.height() - 5;
    // Below its fifth row the meter looks as it did, although the box is centred in a cell whose
    // top edge now has a negative coordinate.
    QCOMPARE(scrolled.copy(before.left(), 0, before.width(), height),
             whole.copy(before.left(), before.top() + 5, before.width(), height));
}

QTEST_MAIN(MeterItemDelegateTest)
#include "meter_item_delegate_test.moc"

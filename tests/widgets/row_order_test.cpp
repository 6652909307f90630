// Rows in their sorted places, in a model of their own.
#include "gui/row_order.h"

#include <QtTest>

class RowOrderTest : public QObject
{
    Q_OBJECT

private slots:
    void a_column_that_the_model_lacks_orders_nothing()
    {
        QStandardItemModel model;
        for (const char *text : {"b", "a"})
            model.appendRow({new QStandardItem(text), new QStandardItem(text)});
        for (const int column : {-1, 2, 3})
            QVERIFY(is_in_order(model, {.column = column}));
        QVERIFY(!is_in_order(model, {.column = 1}));
        QVERIFY(is_in_order(model, {.column = 1, .order = Qt::DescendingOrder}));
    }
};

QTEST_MAIN(RowOrderTest)
#include "row_order_test.moc"

// The columns of the device list.
#include "gui/column_rules.h"
#include "model/meta.h"

#include <QtTest>

class ColumnRulesTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { build_catalogue(); }

    void the_last_three_columns_are_our_own()
    {
        const std::vector<ListColumn> columns = list_columns();
        const size_t last = columns.size() - 1;
        QCOMPARE(columns[0].id, std::string("product_id"));
        QCOMPARE(columns[last - 2].id, std::string("meter"));
        QCOMPARE(columns[last - 1].id, std::string("ip"));
        QCOMPARE(columns[last].id, std::string("status"));
        QCOMPARE(columns[last - 2].name, QString("Metering"));
    }

    void pseudo_rows_have_no_column()
    {
        for (const ListColumn &column : list_columns())
            QVERIFY(column.id.rfind("dummy", 0) != 0);
    }

    void columns_stand_in_the_order_of_the_keys()
    {
        size_t place = 0;
        for (const ListColumn &column : list_columns()) {
            const auto found = std::find(catalogue().property_keys.begin(),
                                         catalogue().property_keys.end(), column.id);
            if (found == catalogue().property_keys.end())
                continue;
            const auto index = static_cast<size_t>(found - catalogue().property_keys.begin());
            QVERIFY(index >= place);
            place = index;
        }
    }

    void columns_of_one_caption_are_told_apart_by_their_heading()
    {
        QStringList titles;
        QString gain_of_the_second;
        for (const ListColumn &column : list_columns()) {
            titles.append(column.title);
            if (column.id == "dsp/eq1/gain")
                gain_of_the_second = column.title;
            if (column.id == "ui/name" || column.id == "stream/gain_db")
                QCOMPARE(column.title, column.name); // the only ones of their captions
        }
        QCOMPARE(gain_of_the_second, QString("User EQ 2: Gain"));
        QCOMPARE(titles.removeDuplicates(), 0);
    }

    void seven_columns_show_at_first()
    {
        QStringList names;
        for (const ListColumn &column : list_columns())
            names.append(column.name);
        QStringList shown;
        for (const int column : default_columns(names))
            shown.append(names.at(column));
        QCOMPARE(shown,
                 QStringList({"Product", "Name", "Location", "Metering", "IP", "AES67 Clock Status",
                              "Status"}));
    }

    void a_caption_without_a_column_is_skipped()
    {
        QCOMPARE(default_columns({"Status", "Name"}), (std::vector<int>{1, 0}));
        QCOMPARE(default_columns({"Name", "Name"}), (std::vector<int>{0}));
    }

    void products_sort_by_order_and_then_by_address_as_a_number()
    {
        const QHostAddress nine("10.0.0.9");
        const QHostAddress ten("10.0.0.10");
        QVERIFY(product_sort_key(0, nine) < product_sort_key(0, ten));
        QVERIFY(product_sort_key(1, nine) > product_sort_key(0, ten));
        QVERIFY(product_sort_key(-1, ten) < product_sort_key(0, nine));
        QVERIFY(product_sort_key(0, QHostAddress("250.0.0.1")) > product_sort_key(0, ten));
        QCOMPARE(product_sort_key(1, ten), (qint64(1) << 32) | 0x0A00000A);
        QVERIFY(product_sort_key(-2147483647 - 1, ten) < 0);
        QVERIFY(product_sort_key(2147483647, ten) > 0);
    }
};

QTEST_GUILESS_MAIN(ColumnRulesTest)
#include "column_rules_test.moc"

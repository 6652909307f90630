// How the list's columns share its width.
#include "gui/column_shares.h"

#include <QtTest>

#include <numeric>

namespace {

constexpr LeastWidths LEAST{.caption = 56, .contents = 100, .last = 144};

// Product, name, clock status, levels, status: what a site's list asks for.
const std::vector<ColumnNeed> SITE{{.caption = 80, .contents = 230},
                                   {.caption = 70, .contents = 180},
                                   {.caption = 170, .contents = 60},
                                   {.caption = 94, .contents = 62},
                                   {.caption = 60, .contents = 98}};

int sum(const std::vector<int> &widths)
{
    return std::accumulate(widths.begin(), widths.end(), 0);
}

} // namespace

class ColumnSharesTest : public QObject
{
    Q_OBJECT

private slots:
    void where_there_is_room_all_are_whole_and_the_last_takes_the_rest()
    {
        QCOMPARE(share_width(SITE, 772, LEAST), (std::vector<int>{230, 180, 170, 94, 98}));
        QCOMPARE(share_width(SITE, 1000, LEAST), (std::vector<int>{230, 180, 170, 94, 326}));
    }

    void captions_give_way_before_contents_do()
    {
        const std::vector<int> widths = share_width(SITE, 700, LEAST);
        QCOMPARE(widths[0], 230);
        QCOMPARE(widths[1], 180);
        QVERIFY(widths[2] < 170 && widths[2] >= 60);
        QVERIFY(widths[3] < 94 && widths[3] >= 62);
        QCOMPARE(sum(widths), 700);
    }

    void long_contents_give_way_next_and_the_last_stays_whole()
    {
        const std::vector<int> widths = share_width(SITE, 560, LEAST);
        QVERIFY(widths[0] < 230 && widths[0] > widths[1]);
        QVERIFY(widths[1] < 180 && widths[1] >= LEAST.contents);
        QCOMPARE(widths[2], 60);
        QCOMPARE(widths[3], 62);
        QVERIFY(widths[4] >= 98);
        QCOMPARE(sum(widths), 560);
    }

    void a_very_long_last_one_is_cut_at_the_end()
    {
        std::vector<ColumnNeed> failing = SITE;
        failing.back().contents = 300;
        QCOMPARE(share_width(failing, 600, LEAST), (std::vector<int>{100, 100, 60, 62, 278}));
        QCOMPARE(share_width(failing, 466, LEAST), (std::vector<int>{100, 100, 60, 62, 144}));
        QCOMPARE(share_width(failing, 465, LEAST), (std::vector<int>{230, 180, 170, 94, 304}));
    }

    // Pictures grow with the screen's scale: without this one their texts would be a letter long.
    void beside_a_picture_a_text_can_still_be_read()
    {
        std::vector<ColumnNeed> pictured = SITE;
        pictured.back().contents = 300;
        pictured[0].picture = 72;
        QCOMPARE(share_width(pictured, 494, LEAST), (std::vector<int>{128, 100, 60, 62, 144}));
        pictured[0].picture = 30; // both fit into the least that any contents keep
        QCOMPARE(share_width(pictured, 466, LEAST), (std::vector<int>{100, 100, 60, 62, 144}));
        pictured[0] = {.caption = 80, .contents = 90, .picture = 72}; // more than it needs
        QCOMPARE(share_width(pictured, 456, LEAST)[0], 90);
    }

    void what_can_not_fit_is_whole()
    {
        QCOMPARE(sum(share_width(SITE, 300, LEAST)) >= 772, true);
        QCOMPARE(share_width(SITE, 300, LEAST)[0], 230);
    }

    void a_status_that_counts_moves_no_column()
    {
        std::vector<ColumnNeed> counting = SITE;
        std::vector<int> first;
        for (const int contents : {129, 135, 140, 144}) {
            counting.back().contents = contents;
            const std::vector<int> widths = share_width(counting, 640, LEAST);
            if (first.empty())
                first = widths;
            QCOMPARE(widths, first);
        }
    }

    void every_room_is_used_and_nothing_is_too_narrow()
    {
        for (int room = 1; room < 1200; ++room) {
            const std::vector<int> widths = share_width(SITE, room, LEAST);
            const int all = sum(widths);
            QVERIFY2(all == room || (all > room && widths[0] == 230),
                     qPrintable(QString::number(room)));
            for (size_t i = 0; i < SITE.size(); ++i)
                QVERIFY(widths[i] >= std::min(LEAST.caption, SITE[i].contents));
            QVERIFY(widths.back() >= SITE.back().contents);
        }
    }

    void no_column_is_no_width() { QVERIFY(share_width({}, 100, LEAST).empty()); }
};

QTEST_APPLESS_MAIN(ColumnSharesTest)
#include "column_shares_test.moc"

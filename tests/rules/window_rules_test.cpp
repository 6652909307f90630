// Sizes and places that the window starts with.
#include "gui/window_rules.h"

#include <QtTest>

class WindowRulesTest : public QObject
{
    Q_OBJECT

private slots:
    void the_window_takes_four_fifths_of_the_screen_within_limits_data()
    {
        QTest::addColumn<QSize>("screen");
        QTest::addColumn<QSize>("window");
        QTest::newRow("usual") << QSize(1920, 1080) << QSize(1536, 864);
        QTest::newRow("700 wide gives 600, not 560") << QSize(700, 500) << QSize(600, 400);
        QTest::newRow("very wide") << QSize(5120, 1440) << QSize(2000, 1152);
        QTest::newRow("truncated") << QSize(1366, 768) << QSize(1092, 614);
        QTest::newRow("the height has no limit") << QSize(800, 100) << QSize(640, 80);
    }
    void the_window_takes_four_fifths_of_the_screen_within_limits()
    {
        QFETCH(QSize, screen);
        QFETCH(QSize, window);
        QCOMPARE(first_window_size(screen), window);
    }

    void the_list_gets_seven_tenths()
    {
        QCOMPARE(first_splitter_sizes(1537), QList<int>({1075, 462}));
    }

    void the_cache_stands_beside_the_settings()
    {
        QCOMPARE(cache_path_beside("/home/a/.config/b/c.ini"),
                 QString("/home/a/.config/b/devicecache.json"));
        QCOMPARE(cache_path_beside("c.ini"), QString("c.ini/devicecache.json"));
    }

    void a_committed_text_moves_to_the_front()
    {
        QCOMPARE(committed_history({"a", "b", "c"}, "b"), QStringList({"b", "a", "c"}));
        QCOMPARE(committed_history({"a"}, "new"), QStringList({"new", "a"}));
    }

    void an_empty_text_commits_nothing()
    {
        QCOMPARE(committed_history({"a", "b"}, ""), QStringList({"a", "b"}));
    }

    void the_eleventh_entry_is_dropped()
    {
        QStringList history;
        for (int i = 0; i < 10; ++i)
            history.append(QString::number(i));
        const QStringList committed = committed_history(history, "new");
        QCOMPARE(committed.size(), 10);
        QCOMPARE(committed.first(), QString("new"));
        QCOMPARE(committed.last(), QString("8"));
    }
};

QTEST_GUILESS_MAIN(WindowRulesTest)
#include "window_rules_test.moc"

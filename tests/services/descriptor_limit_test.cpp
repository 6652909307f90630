// Sockets that are no longer opened when few descriptors are left.
#include "support/descriptor_limit.h"

#include <QScopeGuard>
#include <QtTest>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

namespace {

rlim_t next_descriptor()
{
    const int probe = open("/dev/null", O_RDONLY | O_CLOEXEC);
    close(probe);
    return static_cast<rlim_t>(probe);
}

} // namespace

class DescriptorLimitTest : public QObject
{
    Q_OBJECT

private slots:
    void thirty_two_are_kept_free_beside_the_next_one_data()
    {
        QTest::addColumn<int>("allowed"); // from the next one on
        QTest::addColumn<bool>("is_spare");
        QTest::newRow("none") << 0 << false;
        QTest::newRow("one less") << 32 << false;
        QTest::newRow("as many") << 33 << true;
        QTest::newRow("many") << 200 << true;
    }
    void thirty_two_are_kept_free_beside_the_next_one()
    {
        QFETCH(int, allowed);
        rlimit limit{};
        QCOMPARE(getrlimit(RLIMIT_NOFILE, &limit), 0);
        const rlim_t before = limit.rlim_cur;
        const auto restore = qScopeGuard([before] {
            rlimit again{};
            getrlimit(RLIMIT_NOFILE, &again);
            again.rlim_cur = before;
            setrlimit(RLIMIT_NOFILE, &again);
        });
        limit.rlim_cur = next_descriptor() + static_cast<rlim_t>(allowed);
        QCOMPARE(setrlimit(RLIMIT_NOFILE, &limit), 0);
        QTEST(has_spare_descriptor(), "is_spare");
    }

    void none_is_spare_when_all_of_many_are_taken()
    {
        rlimit limit{};
        QCOMPARE(getrlimit(RLIMIT_NOFILE, &limit), 0);
        const rlimit before = limit;
        std::vector<int> taken;
        for (int i = 0; i < 100; ++i)
            taken.push_back(dup(STDERR_FILENO));
        limit.rlim_cur = next_descriptor();
        QCOMPARE(setrlimit(RLIMIT_NOFILE, &limit), 0);
        const bool is_spare = has_spare_descriptor();
        setrlimit(RLIMIT_NOFILE, &before);
        for (const int one : taken)
            close(one);
        QVERIFY(!is_spare);
    }
};

QTEST_APPLESS_MAIN(DescriptorLimitTest)
#include "descriptor_limit_test.moc"

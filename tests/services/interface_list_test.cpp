// The machine's interfaces are read again only when they may have changed.
#include "link/interface_list.h"
#include "support/no_more_files.h"

#include <QScopeGuard>
#include <QtTest>

#include <fcntl.h>
#include <optional>
#include <unistd.h>

class InterfaceListTest : public QObject
{
    Q_OBJECT

private slots:
    void what_nobody_changed_is_read_once()
    {
        InterfaceList list;
        for (int i = 0; i < 3; ++i)
            list.present();
        QCOMPARE(list.readings(), 1);
        list.renew();
        QCOMPARE(list.readings(), 2);
    }

    // A program that was started without a standard input gets its descriptor for the next thing
    // that it opens.
    void a_program_without_a_standard_input_reads_no_more_often()
    {
        const int kept = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3);
        close(STDIN_FILENO);
        const auto restore = qScopeGuard([kept] {
            if (kept >= 0) {
                dup2(kept, STDIN_FILENO);
                close(kept);
            }
        });
        InterfaceList list;
        QVERIFY(fcntl(STDIN_FILENO, F_GETFD) >= 0); // the list's socket
        for (int i = 0; i < 3; ++i)
            list.present();
        QCOMPARE(list.readings(), 1);
    }

    // As when the program has as many files open as it may: nobody tells it of a change then.
    void without_news_from_the_kernel_all_is_read_each_time()
    {
        std::optional<NoMoreFiles> limit(std::in_place);
        InterfaceList list;
        limit.reset();
        for (int i = 0; i < 3; ++i)
            list.present();
        QCOMPARE(list.readings(), 3);
    }
};

QTEST_GUILESS_MAIN(InterfaceListTest)
#include "interface_list_test.moc"

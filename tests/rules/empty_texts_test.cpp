// What the list's area says while no row shows.
#include "gui/empty_texts.h"

#include <QtTest>

class EmptyTextsTest : public QObject
{
    Q_OBJECT

private slots:
    void without_a_network_a_cable_is_asked_for()
    {
        const EmptyTexts texts = empty_texts({});
        QCOMPARE(texts.headline, QString("No network"));
        QCOMPARE(texts.hint, QString("Connect a cable, or a Wi-Fi with an IPv4 address."));
    }

    void silence_is_explained_only_after_a_while()
    {
        EmptyTexts texts = empty_texts({.network = "eth0"});
        QCOMPARE(texts.headline, QString("No device on eth0"));
        QCOMPARE(texts.hint, QString());
        texts = empty_texts({.network = "eth0", .has_waited = true});
        QCOMPARE(texts.headline, QString("No device on eth0"));
        QCOMPARE(texts.hint,
                 QString("Look at the cable, the network box above and the firewall "
                         "(UDP 7054 and 7055)."));
    }

    void a_search_that_leaves_nothing_is_named()
    {
        const EmptyTexts texts
            = empty_texts({.network = "eth0", .devices = 60, .hidden = 60, .search = "abc"});
        QCOMPARE(texts.headline, QString("None of the 60 devices matches \"abc\""));
        QCOMPARE(texts.hint, QString("Clear the search to see them."));
        QCOMPARE(empty_texts({.devices = 1, .hidden = 1, .search = "<b>"}).headline,
                 QString("The only device does not match \"<b>\""));
        const QString longest(60, 'x');
        QCOMPARE(empty_texts({.devices = 2, .hidden = 2, .search = longest + "y"}).headline,
                 "None of the 2 devices matches \"" + longest + "…\"");
    }

    void nothing_is_said_while_a_row_shows()
    {
        QCOMPARE(empty_texts({.devices = 1}), EmptyTexts());
        QCOMPARE(empty_texts({.network = "eth0", .devices = 2, .hidden = 1, .search = "a"}),
                 EmptyTexts());
    }
};

QTEST_GUILESS_MAIN(EmptyTextsTest)
#include "empty_texts_test.moc"

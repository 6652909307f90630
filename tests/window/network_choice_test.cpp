// The box of networks: what choosing one sends, prints and remembers.
#include "gui/settings_file.h"
#include "link/datagram.h"
#include "support/files.h"
#include "support/fleet.h"
#include "support/printed.h"
#include "support/window_main.h"

#include <QNetworkDatagram>
#include <QUdpSocket>

class NetworkChoiceTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<WindowCase> window;

    WindowHandle &gui() { return *window->gui; }

    static void lay_two_cables()
    {
        shell("ip link add near type veth peer name nearx; ip link set nearx up;"
              "ip link set near up; ip address add 10.8.0.1/24 dev near;"
              "ip link add far type veth peer name farx; ip link set farx up;"
              "ip link set far up; ip address add 10.9.0.1/24 dev far");
    }

private slots:
    void init()
    {
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    }
    void cleanup()
    {
        window.reset();
        qInstallMessageHandler(nullptr);
        shell("ip link del near 2>/dev/null || true; ip link del far 2>/dev/null || true");
    }

    void the_first_request_comes_with_the_event_loop_and_then_one_each_half_second()
    {
        window = std::make_unique<WindowCase>();
        QCOMPARE(gui().discovery_timer().interval(), 10);
        QVERIFY(gui().discovery_timer().isSingleShot());
        QTRY_COMPARE(gui().discovery_timer().interval(), 500);
        QVERIFY(gui().discovery_timer().isActive());
    }

    void a_change_of_network_asks_there_at_once()
    {
        lay_two_cables();
        window = std::make_unique<WindowCase>();
        QTRY_COMPARE(gui().network_box()->count(), 2);
        gui().discovery_timer().stop();
        QUdpSocket ears; // the system hands broadcasts to the sender's own computer, too
        QVERIFY(ears.bind(QHostAddress(), DEVICE_PORT, QAbstractSocket::ReuseAddressHint));
        const QHash<QString, QString> addresses{{"near", "10.8.0.1"}, {"far", "10.9.0.1"}};
        for (const int other :
             {1 - gui().network_box()->currentIndex(), gui().network_box()->currentIndex()}) {
            gui().network_box()->setCurrentIndex(other);
            // No event loop has run since.
            QVERIFY(ears.waitForReadyRead(5000));
            const QNetworkDatagram request = ears.receiveDatagram();
            QCOMPARE(request.senderAddress(), QHostAddress(addresses.value(gui().network())));
            QCOMPARE(request.senderPort(), int(DEVICE_PORT));
            QCOMPARE(read_frame(request.data()).object,
                     (QJsonObject{{"command", "device_info"},
                                  {"add_crc", true},
                                  {"metering", true},
                                  {"api_version", 6}}));
            QVERIFY(!ears.hasPendingDatagrams());
            QCOMPARE(gui().discovery_timer().interval(), 500);
        }
    }

    void an_empty_list_names_the_network_that_is_chosen()
    {
        lay_two_cables();
        window = std::make_unique<WindowCase>();
        gui().show();
        QTRY_COMPARE(gui().network_box()->count(), 2);
        const auto is_named = [this](const QString &name) {
            for (const QLabel *label : gui().view()->findChildren<QLabel *>())
                if (label->text() == "No device on " + name)
                    return true;
            return false;
        };
        for (const int index : {1, 0}) {
            gui().network_box()->setCurrentIndex(index);
            QTRY_VERIFY(is_named(gui().network_box()->itemText(index)));
        }
    }

    void a_choice_by_hand_prints_act_and_is_remembered_and_a_change_is_not()
    {
        lay_two_cables();
        window = std::make_unique<WindowCase>();
        QTRY_COMPARE(gui().network_box()->count(), 2);
        gui().network_box()->setCurrentIndex(1);
        QCOMPARE(printed_by([this] { gui().network_box()->setCurrentIndex(0); }), QByteArray());
        QVERIFY(!gui().settings().contains("current_network"));
        QCOMPARE(printed_by([this] { QTest::keyClick(gui().network_box(), Qt::Key_Down); }),
                 QByteArray("act\n"));
        QCOMPARE(gui().network_box()->currentIndex(), 1);
        QCOMPARE(gui().settings().value("current_network").toString(),
                 gui().network_box()->itemText(1));
        // Also the entry that stands there already.
        QCOMPARE(printed_by([this] { emit gui().network_box()->activated(1); }),
                 QByteArray("act\n"));
        gui().settings().remove("current_network");
        gui().network_box()->addItem(QString());
        gui().network_box()->setCurrentIndex(2);
        QCOMPARE(printed_by([this] { emit gui().network_box()->activated(2); }),
                 QByteArray("act\n"));
        QVERIFY(!gui().settings().contains("current_network"));
    }

    void the_network_that_was_chosen_by_hand_is_chosen_at_the_next_start()
    {
        lay_two_cables();
        window = std::make_unique<WindowCase>();
        QTRY_COMPARE(gui().network_box()->count(), 2);
        gui().network_box()->setCurrentIndex(0);
        QTest::keyClick(gui().network_box(), Qt::Key_Down);
        const QString chosen = gui().network_box()->itemText(1);
        QCOMPARE(gui().network(), chosen);
        window->start();
        QTRY_COMPARE(gui().network_box()->count(), 2);
        QCOMPARE(gui().network(), chosen);
    }

    void a_choice_that_another_programs_lock_held_up_is_written_soon_after()
    {
        lay_two_cables();
        window = std::make_unique<WindowCase>();
        QTRY_COMPARE(gui().network_box()->count(), 2);
        gui().discovery_timer().stop();
        put(settings_path() + ".lock", "4711\nsomething\nelsewhere\n");
        QTest::keyClick(gui().network_box(), Qt::Key_Down);
        const QByteArray line = "current_network=" + gui().network().toUtf8();
        QVERIFY(!contents(settings_path()).contains(line));
        QVERIFY(QFile::remove(settings_path() + ".lock"));
        QTRY_VERIFY(contents(settings_path()).contains(line));
    }

    void interfaces_are_read_once_in_each_round_and_never_for_a_command()
    {
        lay_two_cables();
        window = std::make_unique<WindowCase>();
        QTRY_COMPARE(gui().network_box()->count(), 2);
        gui().discovery_timer().stop();
        QHostAddress address("10.8.0.9");
        gui().report(address, loudspeaker_report("a"), true, "near");
        Device *device = gui().find_device("a");
        gui().discover(); // takes up what the kernel told of the cables
        const int before = gui().link().interface_readings();
        for (int i = 0; i < 200; ++i)
            QCOMPARE(gui().send_to_device(device, {{"command", "blink_leds"}}, false), QString());
        const int after_commands = gui().link().interface_readings();
        QVERIFY2(after_commands - before <= 2,
                 qPrintable(QString::number(after_commands - before)));
        for (int i = 0; i < 5; ++i)
            gui().discover();
        QCOMPARE(gui().link().interface_readings(), after_commands + 5);
    }
};

WINDOW_TEST_MAIN(NetworkChoiceTest)
#include "network_choice_test.moc"

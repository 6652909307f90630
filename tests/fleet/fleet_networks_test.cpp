// Several interfaces: which are offered, which is chosen, and what happens when they come and go.
#include "gui/device_list_view.h"
#include "support/fleet.h"
#include "support/window_main.h"

#include <QComboBox>
#include <QNetworkInterface>

namespace {

// A cable with both ends here: up and running without a fleet.
void lay_cable(const QString &name, const QString &address)
{
    shell("ip link add " + name + " type veth peer name " + name + "x; ip link set " + name
          + " up; ip link set " + name + "x up");
    if (!address.isEmpty())
        shell("ip address add " + address + " broadcast + dev " + name);
}

void remove_cable(const QString &name)
{
    shell("ip link del " + name + " 2>/dev/null || true");
}

// The kernel tells of a carrier that came or went up to a second later.
bool is_running(const QString &name)
{
    return QNetworkInterface::interfaceFromName(name).flags().testFlag(
        QNetworkInterface::IsRunning);
}

} // namespace

class FleetNetworksTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<WindowCase> window;

    WindowHandle &gui() { return *window->gui; }

    QStringList offered()
    {
        QStringList names;
        for (int i = 0; i < gui().network_box()->count(); ++i)
            names.append(gui().network_box()->itemText(i));
        return names;
    }

    bool any_online()
    {
        for (const auto &[id, device] : gui().all_devices())
            if (device->online)
                return true;
        return false;
    }

private slots:
    void cleanup()
    {
        window.reset();
        for (const char *name : {"decoy", "sixes", "quiet", "later", "direct", "directb"})
            remove_cable(name);
    }

    void without_any_network_nothing_is_offered_and_nothing_breaks()
    {
        window = std::make_unique<WindowCase>();
        gui().show();
        const QSignalSpy rounds(&gui().discovery_timer(), &QTimer::timeout);
        QTRY_VERIFY(rounds.size() >= 2);
        QVERIFY(offered().isEmpty());
        QCOMPARE(gui().network(), QString());
        QCOMPARE(gui().send_json("", true, {}, {}), QString("network not found"));
    }

    void useless_interfaces_are_not_offered()
    {
        lay_cable("sixes", "");
        shell("ip -6 address add fd00::5/64 dev sixes");
        lay_cable("quiet", "10.9.0.1/24");
        shell("ip link set quiet broadcast ff:ff:ff:ff:ff:ff; ip link add tun9 type dummy"
              " 2>/dev/null || true");
        lay_cable("decoy", "10.8.0.1/24");
        shell("ip link set decoyx down"); // no carrier: not running
        QTRY_VERIFY(!is_running("decoy"));
        QTRY_VERIFY(is_running("quiet") && is_running("sixes"));
        window = std::make_unique<WindowCase>();
        QVERIFY(!offered().contains("sixes"));
        QVERIFY(!offered().contains("lo"));
        QVERIFY(!offered().contains("decoy"));
        QVERIFY(offered().contains("quiet"));
    }

    void an_interface_that_cannot_broadcast_is_not_offered()
    {
        // A tunnel between two addresses has no broadcast.
        shell("ip tuntap add dev point mode tun && ip address add 10.5.0.1 peer 10.5.0.2 dev point"
              " && ip link set point up");
        window = std::make_unique<WindowCase>();
        QVERIFY(!offered().contains("point"));
        shell("ip link del point");
    }

    void a_fleet_behind_a_network_that_comes_later_is_found()
    {
        lay_cable("decoy", "10.8.0.1/24");
        window = std::make_unique<WindowCase>();
        gui().show();
        QCOMPARE(gui().network(), QString("decoy"));
        SimulatedFleet fleet({"--count", "3"}, "later", "10.71.0.1/16");
        QTRY_VERIFY_WITH_TIMEOUT(offered().contains("later"), 3000);
        // The list has grown: the newcomer is selected, whatever was before.
        QTRY_COMPARE_WITH_TIMEOUT(gui().network(), QString("later"), 3000);
        QTRY_VERIFY_WITH_TIMEOUT(any_online(), 5000);
        QCOMPARE(gui().all_devices().begin()->second->interface, QString("later"));
    }

    void a_saved_network_wins_at_start_and_whenever_the_list_grows()
    {
        lay_cable("decoy", "10.8.0.1/24");
        lay_cable("quiet", "10.9.0.1/24");
        window = std::make_unique<WindowCase>();
        QCOMPARE(gui().network(), QString("decoy"));
        gui().network_box()->setCurrentIndex(gui().network_box()->findText("quiet"));
        emit gui().network_box()->activated(gui().network_box()->currentIndex());
        QCOMPARE(gui().settings().value("current_network").toString(), QString("quiet"));
        gui().close();
        window->start();
        gui().show();
        QCOMPARE(gui().network(), QString("quiet"));
        gui().network_box()->setCurrentIndex(gui().network_box()->findText("decoy"));
        QCOMPARE(gui().network(), QString("decoy"));
        lay_cable("later", "10.7.0.1/24");
        QTRY_VERIFY_WITH_TIMEOUT(offered().contains("later"), 3000);
        QCOMPARE(gui().network(), QString("quiet"));
    }

    void an_automatic_choice_is_not_remembered()
    {
        lay_cable("decoy", "10.8.0.1/24");
        window = std::make_unique<WindowCase>();
        QVERIFY(!gui().settings().contains("current_network"));
    }

    void with_two_link_local_networks_the_first_joins_and_the_second_takes_over()
    {
        lay_cable("decoy", "10.8.0.1/24");
        window = std::make_unique<WindowCase>();
        gui().show();
        QCOMPARE(gui().network(), QString("decoy"));
        lay_cable("direct", "169.254.3.4/16");
        QTRY_COMPARE_WITH_TIMEOUT(gui().network(), QString("direct"), 3000);
        lay_cable("directb", "169.254.9.4/16");
        QTRY_COMPARE_WITH_TIMEOUT(gui().network(), QString("directb"), 3000);
    }

    void a_network_that_goes_stays_in_the_list_and_its_devices_go_offline()
    {
        window = std::make_unique<WindowCase>();
        gui().show();
        {
            SimulatedFleet fleet({"--count", "3"}, "later", "10.71.0.1/16");
            QTRY_VERIFY_WITH_TIMEOUT(any_online(), 8000);
            shell("ip link del later");
            QTRY_VERIFY_WITH_TIMEOUT(!any_online(), 5000);
        }
        QVERIFY(offered().contains("later"));
        QCOMPARE(gui().send_json("later", true, {}, {}), QString("network not found"));
        SimulatedFleet fleet({"--count", "3"}, "later", "10.71.0.1/16");
        QTRY_VERIFY_WITH_TIMEOUT(any_online(), 8000);
    }

    void an_interface_whose_address_changes_is_followed()
    {
        window = std::make_unique<WindowCase>();
        gui().show();
        SimulatedFleet fleet({"--count", "3"}, "later", "10.71.0.1/16");
        QTRY_VERIFY_WITH_TIMEOUT(any_online(), 8000);
        shell("ip address del 10.71.0.1/16 dev later;"
              "ip address add 10.71.0.2/16 broadcast + dev later");
        QTRY_COMPARE_WITH_TIMEOUT(gui().link().source_address(), QHostAddress("10.71.0.2"), 3000);
        for (const auto &[id, device] : gui().all_devices())
            device->last_seen = 1;
        gui().discover();
        QTRY_VERIFY_WITH_TIMEOUT(any_online(), 5000);
    }

    void changing_the_network_takes_all_offline_until_they_report_again()
    {
        SimulatedFleet fleet({"--count", "3"}, "later", "10.71.0.1/16");
        lay_cable("decoy", "10.8.0.1/24");
        window = std::make_unique<WindowCase>();
        gui().show();
        const int loudspeakers = gui().network_box()->findText("later");
        gui().network_box()->setCurrentIndex(loudspeakers);
        QTRY_VERIFY_WITH_TIMEOUT(any_online(), 8000);
        gui().network_box()->setCurrentIndex(gui().network_box()->findText("decoy"));
        QVERIFY(!any_online());
        gui().network_box()->setCurrentIndex(loudspeakers);
        QTRY_VERIFY_WITH_TIMEOUT(any_online(), 5000);
    }
};

WINDOW_TEST_MAIN(FleetNetworksTest)
#include "fleet_networks_test.moc"

// What a firewall on the manager's computer hides, and which ports bring it back. The filter stands
// in the private network that the test makes for itself.
#include "meter/meter_object.h"
#include "support/dialog_probe.h"
#include "support/fleet_window.h"
#include "support/image_file.h"

#include <QPushButton>

namespace {

// nft lies where an ordinary user's shell does not look.
void nft(const QString &rules)
{
    shell("PATH=$PATH:/usr/sbin; command -v nft >/dev/null || "
          "{ echo 'nft is missing: apt-get install nftables' >&2; exit 1; }; nft "
          + rules);
}

// As ufw and firewalld leave a desktop: in comes what belongs to something that went out.
void close_firewall()
{
    nft("'add table inet wall; "
        "add chain inet wall in { type filter hook input priority 0; policy drop; }; "
        "add rule inet wall in iif lo accept; "
        "add rule inet wall in ct state established,related accept'");
}

void open_ports(const QString &ports)
{
    nft("'add rule inet wall in udp dport { " + ports + " } accept'");
}

} // namespace

class FleetFirewallTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<SimulatedFleet> fleet;
    std::unique_ptr<FleetWindow> window;

    void open_window(const QStringList &options)
    {
        fleet = std::make_unique<SimulatedFleet>(QStringList{"--count", "6"} + options);
        close_firewall();
        window = std::make_unique<FleetWindow>(*fleet);
    }

    // Every device has sent so many of these since the start, whether they arrived or not.
    bool have_sent(const char *what, int count)
    {
        for (const QJsonValue &device : fleet->stats())
            if (device.toObject().value(what).toInt() < count)
                return false;
        return true;
    }

    bool all_show_levels()
    {
        for (const auto &[id, device] : window->gui->all_devices())
            if (device->meter.levels.empty())
                return false;
        return true;
    }

private slots:
    void cleanup()
    {
        window.reset();
        fleet.reset();
        nft("delete table inet wall");
    }

    void a_closed_firewall_hides_the_devices_until_two_ports_are_opened()
    {
        open_window({});
        QVERIFY(runs_until([this] { return have_sent("reports_sent", 3); }));
        QVERIFY(window->gui->all_devices().empty());
        open_ports("7054, 7055");
        QVERIFY(runs_until([this] { return window->online_count() == fleet->count; }));
        QVERIFY(runs_until([this] { return all_show_levels(); }));
    }

    void levels_for_everybody_need_the_second_port()
    {
        open_window({"--metering-broadcast"});
        open_ports("7054");
        QVERIFY(runs_until([this] { return window->online_count() == fleet->count; }));
        QVERIFY(runs_until([this] { return have_sent("frames_sent", 10); }));
        for (const auto &[id, device] : window->gui->all_devices())
            QVERIFY(device->meter.levels.empty());
        open_ports("7055");
        QVERIFY(runs_until([this] { return all_show_levels(); }));
    }

    void an_update_passes_a_firewall_that_opens_the_two_ports_only()
    {
        open_window({"--flash-time", "100", "--reboot-time", "300"});
        open_ports("7054, 7055");
        QVERIFY(runs_until([this] { return window->online_count() == fleet->count; }));
        Device *device = window->device(0);
        window->select({device});
        QPushButton *button = window->gui->row("firmware_version").button;
        QVERIFY(button);
        QVERIFY(runs_until([button] { return !button->rect().isEmpty(); }));
        DialogProbe probe;
        probe.choose_file(STAND_IN_IMAGE);
        QTest::mouseClick(button, Qt::LeftButton);
        QVERIFY(runs_until([device] { return device->upload_ok; }));
        QVERIFY(window->uploads(0).last().toObject().value("ok").toBool());
    }
};

WINDOW_TEST_MAIN(FleetFirewallTest)
#include "fleet_firewall_test.moc"

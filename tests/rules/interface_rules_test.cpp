// Networks: what is offered, what is chosen, what a name stands for.
#include "link/interface_rules.h"
#include "support/vectors.h"

#include <QtTest>

namespace {

std::vector<NetworkInterface> read_interfaces(const QJsonArray &list)
{
    std::vector<NetworkInterface> interfaces;
    for (const QJsonValue &value : list) {
        const QJsonObject object = value.toObject();
        NetworkInterface interface {
            .name = object.value("name").toString(), .index = object.value("index").toInt(),
            .is_up = object.value("up").toBool(), .is_running = object.value("running").toBool(),
            .can_broadcast = object.value("can_broadcast").toBool()
        };
        for (const QJsonValue &entry : object.value("entries").toArray())
            interface.entries.push_back(
                {.ip = QHostAddress(entry.toObject().value("ip").toString()),
                 .netmask = QHostAddress(entry.toObject().value("netmask").toString())});
        interfaces.push_back(interface);
    }
    return interfaces;
}

// Stands for the box of networks: its first entry selects itself, and a change of the selection
// brings the list up to date again.
struct Box
{
    QStringList entries = {};
    QString current = {};
    QString saved = {};
    std::set<QString> known = {};
    bool default_is_link_local = false;
    std::vector<NetworkInterface> interfaces = {};

    void select(const QString &name)
    {
        if (current == name || !entries.contains(name))
            return;
        current = name;
        update();
    }

    void add(const QString &name)
    {
        entries.append(name);
        if (entries.size() == 1)
            select(name);
    }

    void update()
    {
        const auto select_entry = [this](const QString &name) {
            select(name);
            return entries.contains(name);
        };
        update_networks(
            interfaces, known, default_is_link_local, saved,
            {.add = [this](const QString &name) { add(name); }, .select = select_entry});
    }
};

QJsonValue text_or_null(const QHostAddress &address)
{
    return address.isNull() ? QJsonValue() : QJsonValue(address.toString());
}

NetworkInterface usable(const QString &name, const QString &ip)
{
    return {.name = name,
            .index = 1,
            .is_up = true,
            .is_running = true,
            .can_broadcast = true,
            .entries = {{.ip = QHostAddress(ip), .netmask = QHostAddress("255.255.0.0")}}};
}

} // namespace

class InterfaceRulesTest : public QObject
{
    Q_OBJECT

private slots:
    void golden_lookups_data() { add_vector_rows("find_network", "find"); }
    void golden_lookups()
    {
        QFETCH(QJsonObject, input);
        QFETCH(QJsonObject, expect);
        const FoundNetwork found = find_network_among(
            read_interfaces(input.value("interfaces").toArray()), input.value("name").toString());
        QCOMPARE(found.index, expect.value("index").toInt());
        QCOMPARE(text_or_null(found.broadcast), expect.value("broadcast"));
        QCOMPARE(text_or_null(found.source), expect.value("source"));
    }

    void golden_selections_data() { add_vector_rows("find_network", "select"); }
    void golden_selections()
    {
        QFETCH(QJsonObject, input);
        QFETCH(QJsonObject, expect);
        Box box{.saved = input.value("saved").toString()};
        const QJsonArray steps = input.value("steps").toArray();
        const QJsonArray after = expect.value("after").toArray();
        QCOMPARE(after.size(), steps.size());
        for (int i = 0; i < steps.size(); ++i) {
            const QJsonArray step = steps.at(i).toArray();
            if (step.at(0).toString() == "update") {
                box.interfaces = read_interfaces(step.at(1).toArray());
                box.update();
            } else {
                box.saved = step.at(1).toString();
                box.select(box.saved);
            }
            const QJsonObject wanted = after.at(i).toObject();
            QCOMPARE(QJsonArray::fromStringList(box.entries), wanted.value("combo").toArray());
            QCOMPARE(box.current, wanted.value("current").toString());
        }
    }

    void golden_error_lists_data() { add_vector_rows("find_network", "errors"); }
    void golden_error_lists()
    {
        QFETCH(QJsonObject, input);
        QFETCH(QJsonObject, expect);
        QString errors;
        for (const QJsonValue &result : input.value("results").toArray())
            append_network_error(errors, QHostAddress(result.toArray().at(0).toString()),
                                 result.toArray().at(1).toString());
        QCOMPARE(errors, expect.value("text").toString());
    }

    void an_interface_without_use_is_not_offered()
    {
        NetworkInterface interface = usable("lan", "192.168.1.5");
        QVERIFY(is_offered(interface));
        interface.can_broadcast = false;
        QVERIFY(!is_offered(interface));
        interface = usable("lan", "192.168.1.5");
        interface.is_running = false;
        QVERIFY(!is_offered(interface));
        QVERIFY(!is_offered(usable("lo", "127.0.0.1")));
        interface = usable("v6", "192.168.1.5");
        interface.entries = {{.ip = QHostAddress("fe80::1"), .netmask = QHostAddress()}};
        QVERIFY(!is_offered(interface));
        interface.entries.clear();
        QVERIFY(!is_offered(interface));
    }

    void the_first_network_wins_at_start_and_a_later_one_takes_over()
    {
        Box box;
        box.interfaces = {usable("lan", "192.168.1.5"), usable("direct", "169.254.3.4")};
        box.update();
        QCOMPARE(box.current, QString("lan"));
        Box later;
        later.interfaces = {usable("lan", "192.168.1.5")};
        later.update();
        later.interfaces = {usable("lan", "192.168.1.5"), usable("direct", "169.254.3.4")};
        later.update();
        QCOMPARE(later.current, QString("direct"));
    }

    // The first newcomer of a round counts as found first, whatever was preferred before.
    void a_plain_network_takes_the_preference_back()
    {
        Box box;
        box.interfaces = {usable("direct", "169.254.3.4")};
        box.update();
        QVERIFY(box.default_is_link_local);
        box.interfaces.push_back(usable("lan", "192.168.1.5"));
        box.update();
        QVERIFY(!box.default_is_link_local);
        QCOMPARE(box.current, QString("lan"));
        box.interfaces.push_back(usable("lan2", "192.168.2.5"));
        box.interfaces.push_back(usable("direct2", "169.254.3.5"));
        box.update();
        QCOMPARE(box.current, QString("direct2"));
        // Now one is preferred, and of two that join together the first wins.
        box.interfaces.push_back(usable("direct3", "169.254.3.6"));
        box.interfaces.push_back(usable("direct4", "169.254.3.7"));
        box.update();
        QCOMPARE(box.current, QString("direct3"));
    }

    // Each interface has one of IPv6.
    void a_link_local_address_counts_where_it_is_ipv4()
    {
        NetworkInterface interface = usable("lan", "192.168.1.5");
        interface.entries.push_back({.ip = QHostAddress("fe80::1"), .netmask = QHostAddress()});
        QVERIFY(!has_link_local_address(interface));
        QVERIFY(has_link_local_address(usable("direct", "169.254.3.4")));
    }

    // Whoever chose by hand in a copy that saves nothing would be sent back each half second.
    void a_round_without_news_selects_nothing()
    {
        std::set<QString> known{"lan", "direct"};
        bool is_link_local = false;
        QStringList selected;
        const auto select = [&selected](const QString &name) {
            selected.append(name);
            return false;
        };
        const std::vector<NetworkInterface> same{usable("lan", "192.168.1.5"),
                                                 usable("direct", "169.254.3.4")};
        update_networks(same, known, is_link_local, "lan",
                        {.add = [](auto &) {}, .select = select});
        QCOMPARE(selected, QStringList());
    }

    void a_tip_tells_this_computers_address()
    {
        QCOMPARE(network_tip({.index = 1, .source = QHostAddress("10.8.0.1")}),
                 QString("The network with the devices; this computer is 10.8.0.1"));
        QCOMPARE(network_tip({}), QString("The network with the devices"));
    }

    void the_report_names_every_interface_of_this_machine()
    {
        const QString report = network_report();
        QVERIFY(report.contains("'lo' (lo) Loopback / 0x"));
        for (const NetworkInterface &interface : present_interfaces())
            QVERIFY(report.contains("(" + interface.name + ") "));
        QVERIFY(report.endsWith("\n"));
    }
};

QTEST_GUILESS_MAIN(InterfaceRulesTest)
#include "interface_rules_test.moc"

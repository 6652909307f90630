// What a fleet adds to an interface: what is not there yet, and an address of its own only where
// the interface has none in the fleet's network. All of it goes, and nothing else.
#include "simulator/own_addresses.h"
#include "support/files.h"
#include "support/simulator_case.h"

#include <QScopeGuard>

using namespace simulator;

class SimulatorAddressesTest : public QObject
{
    Q_OBJECT

    QByteArray before; // of the interface, without the fleet

    static constexpr uint32_t NETWORK = 0x0A080000; // 10.8.0.0

    static QByteArray addresses() { return output_of("ip -o -4 address show spare"); }
    static QByteArray routes() { return output_of("ip route show table local dev spare"); }

    static void give(const char *address)
    {
        run_ip(QString("address add %1 dev spare").arg(address));
    }

    // Until the result goes, this script stands for the tool that changes addresses; without one
    // there is none.
    static auto replace_tool(const QTemporaryDir &folder, const QByteArray &script = {})
    {
        if (!script.isEmpty()) {
            put(folder.filePath("ip"), "#!/bin/sh\nwhile read line; do :; done\n" + script);
            QFile::setPermissions(folder.filePath("ip"), QFile::ReadOwner | QFile::ExeOwner);
        }
        const QByteArray path = qgetenv("PATH");
        qputenv("PATH", folder.path().toLocal8Bit());
        return qScopeGuard([path] { qputenv("PATH", path); });
    }

private slots:
    void init()
    {
        run_ip("link add spare type veth peer name other");
        run_ip("link set spare up");
    }

    void cleanup() { run_ip("link del spare"); }

    void an_address_of_its_own_comes_where_none_is_in_the_network_data()
    {
        QTest::addColumn<QStringList>("present");
        QTest::addColumn<int>("first"); // of the fleet's two, in 10.8.0.0; the other is 5 behind
        QTest::addColumn<bool>("comes");
        QTest::newRow("nothing") << QStringList() << 3 << true;
        QTest::newRow("its network ends within the fleet")
            << QStringList{"10.8.0.1/29"} << 3 << false;
        QTest::newRow("its network ends before") << QStringList{"10.8.0.1/29"} << 9 << true;
        QTest::newRow("the first of two")
            << QStringList{"10.8.0.1/29", "10.9.0.1/24"} << 3 << false;
        QTest::newRow("the second of two")
            << QStringList{"10.9.0.1/24", "10.8.0.1/29"} << 3 << false;
        QTest::newRow("neither") << QStringList{"10.9.0.1/24", "10.10.0.1/24"} << 3 << true;
    }

    void an_address_of_its_own_comes_where_none_is_in_the_network()
    {
        QFETCH(QStringList, present);
        QFETCH(int, first);
        QFETCH(bool, comes);
        for (const QString &address : present)
            give(address.toLatin1().constData());
        before = addresses() + routes();
        const QByteArray own = "10.8.0." + QByteArray::number(first) + "/24 brd 10.8.0.255 ";
        OwnAddresses fleet;
        const uint32_t address = NETWORK + static_cast<uint32_t>(first);
        QCOMPARE(fleet.add("spare", {address, address + 5}, 24), QString());
        QCOMPARE(addresses().contains(own), comes);
        QCOMPARE(addresses().count('\n'), present.size() + (comes ? 1 : 0));
        for (const int last : {first, first + 5})
            QVERIFY(routes().contains("local 10.8.0." + QByteArray::number(last) + ' '));
        fleet.remove_all();
        QCOMPARE(addresses() + routes(), before);
    }

    void what_was_there_before_stays()
    {
        give("10.8.0.1/29");
        give("10.8.0.2/29");
        before = addresses() + routes();
        {
            OwnAddresses fleet;
            QCOMPARE(fleet.add("spare", {NETWORK + 1, NETWORK + 2, NETWORK + 3}, 24), QString());
            for (const char *address : {"10.8.0.1 ", "10.8.0.2 ", "10.8.0.3 "})
                QCOMPARE(routes().count(QByteArray("local ") + address), 1);
        }
        QCOMPARE(addresses() + routes(), before);
    }

    // The kernel's route tells from which address the interface speaks.
    void the_route_to_its_own_address_is_the_kernels()
    {
        OwnAddresses fleet;
        QCOMPARE(fleet.add("spare", {NETWORK + 3, NETWORK + 4}, 24), QString());
        QCOMPARE(routes().count("local 10.8.0.3 "), 1);
        QVERIFY2(routes().contains("local 10.8.0.3 proto kernel"), routes().constData());
    }

    void one_that_went_before_the_others_keeps_none()
    {
        give("10.8.0.1/29");
        before = addresses() + routes();
        OwnAddresses fleet;
        QCOMPARE(fleet.add("spare", {NETWORK + 3, NETWORK + 5}, 24), QString());
        run_ip("route del local 10.8.0.3/32 dev spare table local");
        fleet.remove_all();
        QCOMPARE(addresses() + routes(), before);
    }

    // A fleet whose addresses exist adds none.
    void single_ones_come_and_go_with_the_others_alone()
    {
        give("10.8.0.1/29");
        before = addresses() + routes();
        OwnAddresses fleet;
        QCOMPARE(fleet.add_one(NETWORK + 5), QString());
        QCOMPARE(addresses() + routes(), before);
        QCOMPARE(fleet.add("spare", {NETWORK + 3}, 24), QString());
        QCOMPARE(fleet.add_one(NETWORK + 5), QString());
        QVERIFY(routes().contains("local 10.8.0.5 "));
        fleet.remove_all();
        QCOMPARE(addresses() + routes(), before);
        QCOMPARE(fleet.add_one(NETWORK + 5), QString());
        QCOMPARE(addresses() + routes(), before);
    }

    void what_a_fleet_had_before_does_not_come_again()
    {
        OwnAddresses fleet;
        QCOMPARE(fleet.add("spare", {NETWORK + 0x103, NETWORK + 0x104}, 24), QString());
        QVERIFY(addresses().contains("10.8.1.3/24"));
        fleet.remove_all();
        give("10.8.0.1/29");
        before = addresses() + routes();
        QCOMPARE(fleet.add("spare", {NETWORK + 3}, 24), QString());
        QCOMPARE(addresses().count('\n'), 1);
        QVERIFY(!routes().contains("10.8.1."));
        fleet.remove_all();
        QCOMPARE(addresses() + routes(), before);
    }

    void an_interface_that_is_missing_is_told()
    {
        OwnAddresses fleet;
        QCOMPARE(fleet.add("none", {NETWORK + 3}, 24),
                 QString("there is no network interface \"none\""));
        QCOMPARE(fleet.add_one(NETWORK + 5), QString()); // for nothing has been added
    }

    void an_interface_that_has_all_needs_no_tool()
    {
        give("10.8.0.1/29");
        const QTemporaryDir folder;
        const auto end = replace_tool(folder);
        OwnAddresses fleet;
        QCOMPARE(fleet.add("spare", {NETWORK + 1}, 24), QString());
        QCOMPARE(fleet.add_one(NETWORK + 2),
                 QString("the program \"ip\" (package iproute2) is missing"));
    }

    void what_the_tool_complains_of_is_told_data()
    {
        QTest::addColumn<QByteArray>("script");
        QTest::addColumn<QString>("told");
        QTest::newRow("nothing") << QByteArray("exit 0") << QString();
        QTest::newRow("a warning") << QByteArray("echo beware >&2") << QString();
        QTest::newRow("the first line")
            << QByteArray("echo one fault >&2; echo line 1 >&2; exit 1") << QString("one fault");
        QTest::newRow("no right")
            << QByteArray("echo Operation not permitted >&2; exit 2")
            << QString("Operation not permitted (adding addresses needs root; or add them before "
                       "and use --addresses-exist)");
        QTest::newRow("a failure without a word")
            << QByteArray("exit 1") << QString("the program \"ip\" failed without a word");
        QTest::newRow("an end by force")
            << QByteArray("kill -9 $$") << QString("the program \"ip\" failed without a word");
    }

    void what_the_tool_complains_of_is_told()
    {
        QFETCH(QByteArray, script);
        QFETCH(QString, told);
        const QTemporaryDir folder;
        OwnAddresses fleet;
        QCOMPARE(fleet.add("spare", {NETWORK + 3}, 24), QString());
        const auto end = replace_tool(folder, script);
        QCOMPARE(fleet.add_one(NETWORK + 5), told);
    }
};

int main(int argc, char **argv)
{
    std::string reason;
    if (!enter_private_network(&reason))
        qFatal("no private network: %s", reason.c_str());
    QCoreApplication application(argc, argv);
    SimulatorAddressesTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "simulator_addresses_test.moc"

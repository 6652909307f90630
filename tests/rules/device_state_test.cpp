// Reports merge into a device's record.
#include "model/device_state.h"

#include <QJsonArray>
#include <QRegularExpression>
#include <QtTest>

namespace {

QJsonObject session(const QString &name, const QString &info, const QJsonValue &channels)
{
    return {{"n", name}, {"i", info}, {"c", channels}};
}

QJsonObject with_sessions(QJsonObject report, const QJsonArray &list)
{
    report.insert("streams", QJsonObject{{"list", list}});
    return report;
}

QJsonObject loudspeaker(const QString &name = "Left")
{
    return {{"product", "KESTA"},
            {"seq", 0},
            {"device_id", "a1"},
            {"product_id", 3},
            {"ui", QJsonObject{{"name", name}, {"loc", "Stage"}}},
            {"dsp", QJsonObject{{"bank", 2}, {"level", 4}, {"mute", false}}}};
}

QStringList changed(const MergeResult &result)
{
    QStringList keys;
    for (const std::string *key : result.changed_keys)
        keys.append(QString::fromStdString(*key));
    return keys;
}

} // namespace

class DeviceStateTest : public QObject
{
    Q_OBJECT

    Device *device = nullptr;

private slots:
    void initTestCase()
    {
        build_catalogue();
        register_session_item();
    }
    void init()
    {
        device = new Device;
        device->properties = catalogue().product_table.front().properties;
    }
    void cleanup() { delete device; }

    void the_first_report_brings_the_product_and_its_values_at_once()
    {
        const MergeResult result = merge_report(*device, loudspeaker());
        QVERIFY(result.product_changed);
        QCOMPARE(device->properties.size(), find_product(3).properties.size());
        QCOMPARE(device->value("product_id"), QVariant(3));
        QCOMPARE(device->value("dsp/bank"), QVariant(2));
        QCOMPARE(device->value("ui/name"), QVariant("Left"));
        QVERIFY(changed(result).contains("ui/name"));
    }

    void the_same_report_twice_changes_nothing()
    {
        merge_report(*device, loudspeaker());
        const MergeResult result = merge_report(*device, loudspeaker());
        QVERIFY(!result.device_changed());
        QVERIFY(!result.product_changed);
    }

    void only_what_changed_is_told()
    {
        merge_report(*device, loudspeaker());
        QCOMPARE(changed(merge_report(*device, loudspeaker("Right"))), QStringList("ui/name"));
    }

    void changes_come_in_the_order_of_the_keys()
    {
        const QStringList keys = changed(merge_report(*device, loudspeaker()));
        QStringList sorted;
        for (const std::string &key : catalogue().property_keys)
            if (keys.contains(QString::fromStdString(key)))
                sorted.append(QString::fromStdString(key));
        QCOMPARE(keys, sorted);
    }

    void a_value_that_vanishes_becomes_invalid()
    {
        merge_report(*device, loudspeaker());
        QJsonObject report = loudspeaker();
        report.remove("ui");
        QCOMPARE(changed(merge_report(*device, report)), QStringList({"ui/name", "ui/loc"}));
        QVERIFY(!device->value("ui/name").isValid());
        QVERIFY(device->values.count("ui/name") != 0);
    }

    void another_product_empties_the_values()
    {
        merge_report(*device, loudspeaker());
        QJsonObject report = loudspeaker();
        report.insert("product_id", 1000);
        report.remove("dsp");
        const MergeResult result = merge_report(*device, report);
        QVERIFY(result.product_changed);
        QCOMPARE(device->properties.size(), find_product(1000).properties.size());
        QVERIFY(device->values.count("dsp/bank") == 0);
    }

    void a_new_product_is_told_and_what_it_says_nothing_about_is_not()
    {
        const QStringList keys = changed(merge_report(*device, loudspeaker()));
        QVERIFY(keys.contains("product_id"));
        QVERIFY(!keys.contains("firmware_version"));
    }

    void an_unknown_product_gets_the_first_row()
    {
        QJsonObject report = loudspeaker();
        report.insert("product_id", 9999);
        merge_report(*device, report);
        QCOMPARE(device->properties.size(), catalogue().product_table.front().properties.size());
        QCOMPARE(device->value("product_id"), QVariant(9999));
    }

    void a_product_that_is_no_number_counts_as_none()
    {
        QJsonObject report = loudspeaker();
        report.insert("product_id", "abc");
        merge_report(*device, report);
        QCOMPARE(device->properties.size(), find_product(0).properties.size());
        report.remove("product_id");
        merge_report(*device, loudspeaker());
        merge_report(*device, report);
        QCOMPARE(device->properties.size(), find_product(0).properties.size());
    }

    void a_device_without_a_product_keeps_the_first_table()
    {
        QJsonObject report = loudspeaker();
        report.remove("product_id");
        const MergeResult result = merge_report(*device, report);
        QVERIFY(!result.product_changed);
        QCOMPARE(device->properties.size(), catalogue().product_table.front().properties.size());
    }

    void a_session_that_differs_only_in_its_channels_counts()
    {
        merge_report(*device, with_sessions(loudspeaker(), {session("a", "x", 2)}));
        const MergeResult result
            = merge_report(*device, with_sessions(loudspeaker(), {session("a", "x", 8)}));
        QCOMPARE(changed(result), QStringList("stream/name"));
        const auto &choices = device->properties.at("stream/name").choices;
        QCOMPARE(choices.size(), size_t(2));
        QCOMPARE(choices.back().data.value<session_item>().channels, 8);
    }

    void a_session_list_that_went_empty_rebuilds_the_choices()
    {
        merge_report(*device, with_sessions(loudspeaker(), {session("a", "x", 2)}));
        const MergeResult result = merge_report(*device, loudspeaker());
        QCOMPARE(changed(result), QStringList("stream/name"));
        QCOMPARE(device->properties.at("stream/name").choices.size(), size_t(1));
    }

    void a_device_that_hears_no_session_offers_to_disable_at_once()
    {
        merge_report(*device, loudspeaker());
        QCOMPARE(device->properties.at("stream/name").choices.size(), size_t(1));
        QCOMPARE(device->properties.at("stream/name").choices.front().label,
                 std::string("<disable>"));
    }

    void sessions_of_wrong_types_are_empty_ones()
    {
        const std::vector<session_item> sessions = sessions_of(
            with_sessions({}, {5, "x", session("a", "b", "8"), session("c", "d", 1.5)}));
        QCOMPARE(sessions.size(), size_t(4));
        QCOMPARE(sessions[0], session_item());
        QCOMPARE(sessions[2].channels, 0);
        QCOMPARE(sessions[3].channels, 0);
    }

    void a_report_can_bring_no_more_than_1024_sessions()
    {
        QJsonArray list;
        for (int i = 0; i < 5000; ++i)
            list.append(session(QString::number(i), "x", 2));
        QCOMPARE(sessions_of(with_sessions({}, list)).size(), size_t(1024));
    }

    void two_firmware_versions_need_the_assistant()
    {
        for (const QString version : {"1.1", "v1.5.4.1d"}) {
            device->values["firmware_version"] = version;
            QVERIFY(needs_assistant(*device));
        }
        for (const QString version : {"", "1.1 ", "v1.5.5.8d"}) {
            device->values["firmware_version"] = version;
            QVERIFY(!needs_assistant(*device));
        }
        device->values.clear();
        QVERIFY(!needs_assistant(*device));
    }

    void a_dummy_reports_the_defaults_of_the_unknown_product()
    {
        const QJsonObject report = dummy_report({0x01020304, 0, 0xFFFFFFFF, 7});
        QCOMPARE(report.value("product").toString(), QString("KESTA"));
        QCOMPARE(report.value("seq"), QJsonValue(0));
        QCOMPARE(report.value("api_version"), QJsonValue(6));
        QCOMPARE(report.value("product_id"), QJsonValue(0));
        QVERIFY(QRegularExpression("^[0-9a-f]{32}$")
                    .match(report.value("device_id").toString())
                    .hasMatch());
        QCOMPARE(report.value("ui").toObject().value("name").toString(),
                 QString("Offline dummy device"));
        const QJsonObject dsp = report.value("dsp").toObject();
        QCOMPARE(dsp.value("bank").toDouble(), 1.0);
        QCOMPARE(dsp.value("delay").toDouble(), 0.0);
        QCOMPARE(dsp.value("mute"), QJsonValue(false));
        QCOMPARE(dsp.value("eq0").toObject().value("q").toDouble(), 0.1);
        QCOMPARE(dsp.value("eq0").toObject().value("gain").toDouble(), -25.0);
        QCOMPARE(dsp.value("eq0").toObject().value("freq").toDouble(), 10.0);
        QCOMPARE(report.value("link_state").toObject().value("rx_bw"), QJsonValue(0));
        QCOMPARE(report.value("net").toObject().value("static_ip"), QJsonValue("0.0.0.0"));
        QCOMPARE(report.value("ui").toObject().value("loc"), QJsonValue(""));
        QVERIFY(!report.contains("dummy"));
        QVERIFY(!report.contains("firmware_version"));
    }

    void two_dummies_differ()
    {
        QVERIFY(dummy_report({1, 2, 3, 4}).value("device_id")
                != dummy_report({1, 2, 3, 5}).value("device_id"));
    }
};

QTEST_GUILESS_MAIN(DeviceStateTest)
#include "device_state_test.moc"

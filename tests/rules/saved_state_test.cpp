// The device cache's text: assembled from kept parts, and read whatever a file holds.
#include "model/registry_limit.h"
#include "model/saved_state.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QRandomGenerator>
#include <QtTest>

namespace {

QByteArray assembled(std::vector<SavedText> &parts)
{
    QByteArray text;
    begin_cache_text(text);
    for (const SavedText &part : parts)
        add_to_cache_text(text, part);
    end_cache_text(text);
    return text;
}

QByteArray assembled(const SavedText &part)
{
    std::vector<SavedText> parts{part};
    return assembled(parts);
}

SavedText part_of(const QString &address, const QJsonObject &report)
{
    SavedText part;
    renew_saved_text(part, QHostAddress(address), KeptReport(report), LARGEST_CACHE_PART);
    return part;
}

QByteArray written_plainly(const std::vector<SavedText> &parts)
{
    QJsonArray devices;
    for (const SavedText &part : parts)
        devices.append(
            QJsonObject{{"ip", part.address.toString()}, {"data", part.report.object()}});
    return QJsonDocument(QJsonObject{{"devices", devices}}).toJson();
}

QString random_text(QRandomGenerator &random)
{
    static const QStringList pieces = {"a",  "\"", "\\", "\n",      "\t",     "ü",   "😀",
                                       "\r", "}",  "],", "    }\n", "\u2028", "<b>", "\x7F"};
    QString text;
    for (int i = random.bounded(6); i > 0; --i)
        text += pieces.at(random.bounded(pieces.size()));
    if (random.bounded(10) == 0)
        text += QChar(0);
    if (random.bounded(10) == 0)
        text += QChar(0xD800); // half a character
    return text;
}

QJsonValue random_value(QRandomGenerator &random, int depth)
{
    switch (random.bounded(depth > 4 ? 5 : 7)) {
    case 0:
        return random_text(random);
    case 1:
        return random.bounded(2) == 0;
    case 2:
        return QJsonValue();
    case 3:
        return random.bounded(1000) - 500;
    case 4:
        return (random.generateDouble() - 0.5) * std::pow(10.0, random.bounded(40) - 20);
    case 5: {
        QJsonArray array;
        for (int i = random.bounded(4); i > 0; --i)
            array.append(random_value(random, depth + 1));
        return array;
    }
    default: {
        QJsonObject object;
        for (int i = random.bounded(5); i > 0; --i)
            object.insert(random_text(random), random_value(random, depth + 1));
        return object;
    }
    }
}

QJsonObject nested(int depth)
{
    QJsonObject object;
    for (int i = 1; i < depth; ++i)
        object = QJsonObject{{"a", object}};
    return object;
}

QJsonObject plain_report(const QString &id)
{
    return {{"product", "KESTA"}, {"seq", 0}, {"device_id", id}};
}

} // namespace

class SavedStateTest : public QObject
{
    Q_OBJECT

private slots:
    void parts_together_are_the_indented_document()
    {
        QRandomGenerator random(7);
        for (int round = 0; round < 300; ++round) {
            std::vector<SavedText> parts;
            for (int i = round % 4; i > 0; --i) {
                QJsonObject report;
                for (int member = random.bounded(6); member > 0; --member)
                    report.insert(random_text(random), random_value(random, 0));
                parts.push_back(part_of(random.bounded(3) ? "10.0.0.7" : "fe80::1", report));
            }
            QCOMPARE(assembled(parts), written_plainly(parts));
        }
    }

    void a_device_without_address_is_written_with_an_empty_one()
    {
        std::vector<SavedText> parts{part_of("", {})};
        QCOMPARE(assembled(parts), written_plainly(parts));
        QVERIFY(assembled(parts).contains("\"ip\": \"\""));
    }

    void no_devices_give_an_empty_list()
    {
        std::vector<SavedText> none;
        QCOMPARE(assembled(none), QByteArray("{\n    \"devices\": [\n    ]\n}\n"));
    }

    void a_part_is_kept_until_report_or_address_change()
    {
        const auto renew = [](SavedText &part, const QString &address, const QJsonObject &report) {
            renew_saved_text(part, QHostAddress(address), KeptReport(report), LARGEST_CACHE_PART);
        };
        SavedText part = part_of("10.0.0.1", plain_report("a"));
        const char *made = part.text.constData();
        renew(part, "10.0.0.1", plain_report("a"));
        QCOMPARE(part.text.constData(), made);

        renew(part, "10.0.0.2", plain_report("a"));
        QCOMPARE(part.text.constData(), made);
        std::vector<SavedText> parts{part};
        QCOMPARE(assembled(parts), written_plainly(parts));
        renew(part, "10.0.0.2", plain_report("b"));
        QVERIFY(part.text.contains("\"b\""));
        QVERIFY(!part.text.contains("\"a\""));
    }

    void what_is_written_reads_back()
    {
        std::vector<SavedText> parts{part_of("10.0.0.9", plain_report("a")),
                                     part_of("fe80::1", plain_report("b")),
                                     part_of("", plain_report("c"))};
        const std::vector<SavedDevice> devices = read_cache_text(assembled(parts));
        QCOMPARE(devices.size(), size_t(3));
        for (size_t i = 0; i < devices.size(); ++i) {
            QCOMPARE(devices[i].address, parts[i].address);
            QCOMPARE(devices[i].data, parts[i].report.object());
            QCOMPARE(devices[i].interface, QString());
        }
    }

    void a_network_name_is_read_though_none_is_written()
    {
        const std::vector<SavedDevice> devices
            = read_cache_text(R"({"devices":[{"interface":"eth0"}]})");
        QCOMPARE(devices.at(0).interface, QString("eth0"));
    }

    void a_report_nested_beyond_reason_costs_no_other_device()
    {
        std::vector<SavedText> parts{part_of("10.0.0.1", plain_report("a")),
                                     part_of("10.0.0.2", nested(1000)),
                                     part_of("10.0.0.3", plain_report("c"))};
        const std::vector<SavedDevice> devices = read_cache_text(assembled(parts));
        QCOMPARE(devices.size(), size_t(2));
        QCOMPARE(devices[1].data, plain_report("c"));
    }

    void a_report_of_two_hundred_levels_is_kept()
    {
        std::vector<SavedText> parts{part_of("10.0.0.2", nested(200))};
        QCOMPARE(read_cache_text(assembled(parts)).at(0).data, nested(200));
    }

    // One datagram could otherwise grow to 60 MB of blanks.
    void a_report_that_would_be_all_blanks_is_left_out()
    {
        QJsonArray wide;
        for (int i = 0; i < 30000; ++i)
            wide.append(0);
        QJsonValue value = wide;
        for (int i = 0; i < 300; ++i)
            value = QJsonArray{value};
        std::vector<SavedText> parts{part_of("10.0.0.1", {{"a", value}})};
        QVERIFY(parts.front().text.isEmpty());
        QVERIFY(read_cache_text(assembled(parts)).empty());
    }

    void the_tail_of_an_older_text_is_ignored_data()
    {
        QTest::addColumn<QByteArray>("tail");
        QTest::newRow("older device") << QByteArray("    }\n    ]\n}\n");
        QTest::newRow("NULs") << QByteArray(100, '\0');
        QTest::newRow("text") << QByteArray("x");
        QTest::newRow("another document") << QByteArray(R"({"devices":[{},{}]})");
        QTest::newRow("line ends") << QByteArray("\n\n\n");
    }
    void the_tail_of_an_older_text_is_ignored()
    {
        QFETCH(QByteArray, tail);
        std::vector<SavedText> parts{part_of("10.0.0.1", plain_report("a"))};
        const std::vector<SavedDevice> devices = read_cache_text(assembled(parts) + tail);
        QCOMPARE(devices.size(), size_t(1));
        QCOMPARE(devices[0].data, plain_report("a"));
    }

    void what_is_no_cache_gives_no_device_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("binary") << QByteArray("\x00\xFF\x80\x01garbage", 11);
        QTest::newRow("object") << QByteArray("{}");
        QTest::newRow("array") << QByteArray("[]");
        QTest::newRow("number") << QByteArray("5");
        QTest::newRow("array of devices") << QByteArray(R"([{"ip":"10.0.0.1"}])");
        QTest::newRow("devices is a number") << QByteArray(R"({"devices":5})");
        QTest::newRow("devices is an object") << QByteArray(R"({"devices":{"a":{}}})");
        QTest::newRow("devices is null") << QByteArray(R"({"devices":null})");
        QTest::newRow("too deep") << QByteArray("{\"devices\":") + QByteArray(3000, '[');
        QTest::newRow("tail alone") << QByteArray("    ]\n}\n");
    }
    void what_is_no_cache_gives_no_device()
    {
        QFETCH(QByteArray, text);
        QVERIFY(read_cache_text(text).empty());
    }

    void wrong_types_give_devices_without_anything()
    {
        const std::vector<SavedDevice> devices = read_cache_text(
            R"({"devices":[1,null,"x",[],{},{"ip":7,"data":[],"interface":{}},
                {"ip":"nonsense","data":"x"}]})");
        QCOMPARE(devices.size(), size_t(7));
        for (const SavedDevice &device : devices) {
            QVERIFY(device.address.isNull());
            QVERIFY(device.data.isEmpty());
            QVERIFY(device.interface.isEmpty());
        }
    }

    void a_text_cut_anywhere_gives_no_device()
    {
        std::vector<SavedText> parts{part_of("10.0.0.1", plain_report("a")),
                                     part_of("10.0.0.2", plain_report("b"))};
        const QByteArray text = assembled(parts);
        // Without the last line end it is still whole.
        for (int size = 0; size < text.size() - 1; ++size)
            QVERIFY2(read_cache_text(text.left(size)).empty(), text.left(size).constData());
    }

    void the_number_of_devices_has_an_end()
    {
        const QByteArray text = "{\"devices\":[" + QByteArray("{},").repeated(100000) + "{}]}";
        QCOMPARE(read_cache_text(text).size(), size_t(8192));
    }

    void no_part_takes_more_than_its_size()
    {
        for (const char *address : {"", "10.0.0.1", "fe80::1234:5678:9abc:def0%enx001122334455"}) {
            const SavedText part = part_of(address, plain_report("a"));
            QByteArray text = "}";
            add_to_cache_text(text, part);
            QVERIFY(text.size() - 1 <= part.size);
        }
    }

    void a_report_that_takes_too_much_leaves_the_last_that_did_not()
    {
        QJsonArray wide;
        for (int i = 0; i < 15000; ++i)
            wide.append(QJsonArray{1});
        SavedText part = part_of("10.0.0.1", plain_report("a"));
        const KeptReport large(QJsonObject{{"device_id", "a"}, {"x", wide}});
        renew_saved_text(part, QHostAddress("10.0.0.2"), large, LARGEST_CACHE_PART);
        const SavedDevice kept = read_cache_text(assembled(part)).at(0);
        QCOMPARE(kept.data, plain_report("a"));
        QCOMPARE(kept.address, QHostAddress("10.0.0.2"));

        SavedText fresh;
        for (int look = 0; look < 2; ++look) {
            renew_saved_text(fresh, QHostAddress("10.0.0.2"), large, LARGEST_CACHE_PART);
            QCOMPARE(fresh.size, 0);
            QVERIFY(read_cache_text(assembled(fresh)).empty());
        }
    }

    void a_part_is_bounded_as_it_is_written()
    {
        SavedText last;
        for (int blanks = 0; last.size > 0 || blanks == 0; blanks += 10000) {
            const QJsonObject report{{"device_id", "a"}, {"memo", QString(blanks, ' ')}};
            last = part_of("10.0.0.1", report);
            QVERIFY(assembled(last).size() < LARGEST_CACHE_PART);
        }
        QVERIFY(last.text.isEmpty());
    }

    void the_first_to_arrive_have_the_room_data()
    {
        QTest::addColumn<int>("room");
        QTest::addColumn<int>("last");
        QTest::newRow("all") << 1000 << 3;
        QTest::newRow("all but the last") << 999 << 2;
        QTest::newRow("the first two") << 400 << 1;
        QTest::newRow("those of the start") << 399 << 0;
        QTest::newRow("not even those") << 10 << 0;
    }
    void the_first_to_arrive_have_the_room()
    {
        QFETCH(int, room);
        QFETCH(int, last);
        const std::vector<SavedText> parts = {{.size = 500, .arrival = 3},
                                              {.size = 100, .arrival = 2},
                                              {.size = 200, .arrival = 0},
                                              {.size = 100, .arrival = 0},
                                              {.size = 100, .arrival = 1}};
        std::vector<const SavedText *> looked_at;
        for (const SavedText &part : parts)
            looked_at.push_back(&part);
        QCOMPARE(last_arrival_with_room(looked_at, room), last);
    }

    // 192 bytes are for what stands around a report.
    void the_largest_part_fits_to_the_byte()
    {
        const QHostAddress address("10.0.0.1");
        const KeptReport report(QJsonObject{{"product", "KESTA"}, {"text", QString(500, 'x')}});
        SavedText whole;
        renew_saved_text(whole, address, report, LARGEST_CACHE_PART);
        QVERIFY(whole.size > 192);
        SavedText fitting;
        renew_saved_text(fitting, address, report, whole.size);
        QCOMPARE(fitting.text, whole.text);
        QCOMPARE(fitting.size, whole.size);
        SavedText refused;
        renew_saved_text(refused, address, report, whole.size - 1);
        QCOMPARE(refused.text, QByteArray());
        QVERIFY(assembled(whole).size() <= whole.size);
    }

    void only_the_family_name_makes_a_backup_data()
    {
        QTest::addColumn<QJsonValue>("product");
        QTest::addColumn<bool>("is_backup");
        QTest::newRow("ours") << QJsonValue("KESTA") << true;
        QTest::newRow("lower case") << QJsonValue("kesta") << false;
        QTest::newRow("longer") << QJsonValue("KESTA ") << false;
        QTest::newRow("number") << QJsonValue(5) << false;
        QTest::newRow("null") << QJsonValue() << false;
        QTest::newRow("object") << QJsonValue(QJsonObject{{"KESTA", 1}}) << false;
        QTest::newRow("missing") << QJsonValue(QJsonValue::Undefined) << false;
    }
    void only_the_family_name_makes_a_backup()
    {
        QFETCH(QJsonValue, product);
        QFETCH(bool, is_backup);
        QCOMPARE(is_device_json({{"product", product}, {"seq", 0}}), is_backup);
    }
};

QTEST_GUILESS_MAIN(SavedStateTest)
#include "saved_state_test.moc"

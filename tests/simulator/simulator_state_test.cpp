// The state that simulated devices report, and how commands change it.
#include "link/crc32.h"
#include "model/json_path.h"
#include "model/meta.h"
#include "simulator/datagrams.h"
#include "simulator/device_commands.h"
#include "simulator/loudspeaker_state.h"
#include "simulator/param_rules.h"
#include "simulator/simulated_device.h"
#include "support/test_parts.h"

#include <QJsonDocument>
#include <QtTest>

#include <algorithm>

using namespace simulator;

namespace {

DevicePlan loudspeaker_plan()
{
    return {.product_id = 6, .name = "Front fill 1", .location = "Stage lip", .order = 3};
}

QJsonObject command(const char *name, QJsonObject members = {})
{
    members.insert("command", name);
    members.insert("seq", 1);
    members.insert("api_version", 6);
    return members;
}

QJsonValue at(const QJsonObject &object, const std::vector<std::string> &path)
{
    return json_get_path(object, path);
}

bool is_offered(const PropertyDesc &desc, const QVariant &value)
{
    return std::any_of(desc.choices.begin(), desc.choices.end(),
                       [&value](const PropertyChoice &choice) { return choice.value == value; });
}

// 0 when it hears no session of this name.
int channels_of_session(const QJsonObject &state, const QString &name)
{
    int channels = 0;
    for (const QJsonValue &session : at(state, {"streams", "list"}).toArray())
        if (session.toObject().value("n").toString() == name)
            channels = session.toObject().value("c").toInt();
    return channels;
}

} // namespace

class SimulatorStateTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { build_catalogue(); }

    void every_property_has_a_value_of_its_type_data()
    {
        QTest::addColumn<int>("product_id");
        for (const ProductDesc &product : catalogue().product_table)
            QTest::newRow(product.name.c_str()) << product.product_id;
    }

    void every_property_has_a_value_of_its_type()
    {
        QFETCH(int, product_id);
        const SimulatedDevice device(0, {.product_id = product_id, .name = "x"}, 5);
        for (const auto &[key, desc] : find_product(product_id).properties) {
            const QVariant value = value_from_json(device.state, desc);
            if (desc.kind == PROP_DUMMY)
                continue;
            QVERIFY2(value.isValid(), key.c_str());
            if (!desc.choices.empty())
                QVERIFY2(is_offered(desc, value), key.c_str());
            if (desc.kind != PROP_INT && desc.kind != PROP_FLOAT)
                continue;
            QVERIFY2(value.toDouble() >= desc.min, key.c_str());
            QVERIFY2(value.toDouble() <= desc.max, key.c_str());
        }
    }

    void a_preset_is_one_of_the_first_bank()
    {
        for (const ProductDesc &product : catalogue().product_table) {
            if (product.preset_names.empty())
                continue;
            const SimulatedDevice device(0, {.product_id = product.product_id}, 7);
            const int preset = at(device.state, {"dsp", "preset"}).toInt(-1);
            QVERIFY(preset >= 0);
            QVERIFY(preset < static_cast<int>(product.preset_names.front().size()));
        }
    }

    void a_source_channel_is_one_of_the_chosen_session_or_none()
    {
        for (uint64_t seed = 0; seed < 20; ++seed) {
            const SimulatedDevice device(0, {.product_id = 1000}, seed);
            const QString playing = at(device.state, {"stream", "name"}).toString();
            const int channels = channels_of_session(device.state, playing);
            for (int i = 0; i < 8; ++i) {
                const std::string channel = "ch" + std::to_string(i);
                QCOMPARE(at(device.state, {"stream", channel}).toInt(), i < channels ? i : -1);
            }
        }
    }

    void a_report_has_all_that_makes_it_one()
    {
        SimulatedDevice device(0, loudspeaker_plan(), 1);
        QByteArray report = device.report();
        const int size = report.size();
        QVERIFY2(size > 2000 && size < 3000, qPrintable(QString::number(size)));
        const QByteArray covered = report.chopped(12);
        QCOMPARE(report.mid(covered.size(), 4), QByteArray("\n//#"));
        const uint32_t sum = crc32(0, reinterpret_cast<const uint8_t *>(covered.constData()),
                                   static_cast<size_t>(covered.size()));
        QCOMPARE(report.right(8).toUInt(nullptr, 16), sum);
        QVERIFY(covered.endsWith("}\n"));
        const QJsonObject object = QJsonDocument::fromJson(covered).object();
        QCOMPARE(object.value("product").toString(), QString("KESTA"));
        QCOMPARE(object.value("seq"), QJsonValue(0));
        QVERIFY(!object.value("device_id").toString().isEmpty());
        QCOMPARE(object.value("fw_magic").toDouble(), double{0x354A2936});
        QCOMPARE(object.value("firmware_version").toString(), QString("v1.5.5.8d"));
        QCOMPARE(at(object, {"ui", "name"}).toString(), QString("Front fill 1"));
        QCOMPARE(at(object, {"ui", "loc"}).toString(), QString("Stage lip"));
        QCOMPARE(at(object, {"ui", "order"}).toInt(), 3);
        QCOMPARE(at(object, {"logging", "en"}), QJsonValue(false));
        QCOMPARE(at(object, {"streams", "list"}).toArray().size(), 5);
    }

    void an_unchanged_report_is_not_made_anew()
    {
        SimulatedDevice device(0, loudspeaker_plan(), 1);
        const QByteArray first = device.report();
        QCOMPARE(device.report().constData(), first.constData());
        device.state.insert("firmware_version", "v9");
        device.state_changed();
        QVERIFY(device.report().contains("\"v9\""));
    }

    void equal_seeds_make_equal_devices()
    {
        QCOMPARE(SimulatedDevice(0, loudspeaker_plan(), 4).state,
                 SimulatedDevice(0, loudspeaker_plan(), 4).state);
        QVERIFY(SimulatedDevice(0, loudspeaker_plan(), 4).device_id()
                != SimulatedDevice(0, loudspeaker_plan(), 5).device_id());
    }

    void the_plan_wins_over_what_is_drawn()
    {
        DevicePlan plan = loudspeaker_plan();
        plan.device_id = "my id";
        plan.firmware_version = "1.1";
        plan.fw_magic = 0;
        plan.sessions = QJsonArray();
        plan.state = {{"dsp", QJsonObject{{"level", 6}}}};
        const SimulatedDevice device(0, plan, 1);
        QCOMPARE(device.device_id(), QString("my id"));
        QCOMPARE(device.state.value("firmware_version").toString(), QString("1.1"));
        QCOMPARE(device.fw_magic(), uint32_t{0});
        QCOMPARE(at(device.state, {"dsp", "level"}).toInt(), 6);
        QVERIFY(at(device.state, {"dsp", "mute"}).isBool());
        QVERIFY(at(device.state, {"streams", "list"}).toArray().isEmpty());
    }

    void a_product_that_nobody_knows_can_be_played()
    {
        const SimulatedDevice device(0, {.product_id = 9999}, 1);
        QCOMPARE(device.state.value("product_id").toInt(), 9999);
    }

    void a_magic_number_out_of_range_is_no_magic_number()
    {
        SimulatedDevice device(0, loudspeaker_plan(), 1);
        device.state.insert("fw_magic", 1e300);
        QCOMPARE(device.fw_magic(), uint32_t{0});
        device.state.insert("fw_magic", -1);
        QCOMPARE(device.fw_magic(), uint32_t{0});
    }

    void merging_goes_down_member_by_member()
    {
        QJsonObject target{{"a", QJsonObject{{"b", QJsonObject{{"c", 1}, {"d", 2}}}, {"e", 3}}}};
        merge_members(target, {{"a", QJsonObject{{"b", QJsonObject{{"c", 9}}}}}, {"f", 4}});
        QCOMPARE(target,
                 (QJsonObject{{"a", QJsonObject{{"b", QJsonObject{{"c", 9}, {"d", 2}}}, {"e", 3}}},
                              {"f", 4}}));
    }

    void merging_replaces_what_is_no_object_on_both_sides()
    {
        QJsonObject target{{"a", 1}, {"b", QJsonObject{{"c", 1}}}, {"l", QJsonArray{1, 2}}};
        merge_members(target, {{"a", QJsonObject{{"x", 1}}}, {"b", 5}, {"l", QJsonArray{3}}});
        QCOMPARE(target,
                 (QJsonObject{{"a", QJsonObject{{"x", 1}}}, {"b", 5}, {"l", QJsonArray{3}}}));
    }

    void a_command_shows_in_the_next_report()
    {
        SimulatedDevice device(0, loudspeaker_plan(), 1);
        device.report();
        answer_command(device, command("set_params", {{"ui", QJsonObject{{"name", "New name"}}}}));
        const QJsonObject report
            = QJsonDocument::fromJson(device.report().chopped(TRAILER_SIZE)).object();
        QCOMPARE(at(report, {"ui", "name"}).toString(), QString("New name"));
        QCOMPARE(at(report, {"ui", "loc"}).toString(), QString("Stage lip"));
        QVERIFY(!report.contains("command"));
        QCOMPARE(report.value("seq").toInt(), 0);
    }

    void a_command_changes_neither_identity_nor_firmware()
    {
        SimulatedDevice device(0, loudspeaker_plan(), 1);
        const QJsonObject before = device.state;
        answer_command(device,
                       command("set_params",
                               {{"device_id", "x"},
                                {"product", "x"},
                                {"product_id", 7},
                                {"fw_magic", 1},
                                {"firmware_version", "x"}}));
        QCOMPARE(device.state, before);
    }

    void a_command_with_what_no_device_takes_is_refused_whole_data()
    {
        QTest::addColumn<QJsonObject>("params");
        const QString long_text = QString("x").repeated(40'000);
        const auto inside = [](const char *name, QJsonObject members) {
            return QJsonObject{{name, members}};
        };
        QTest::newRow("a name of 40 KB") << inside("ui", {{"name", long_text}});
        QTest::newRow("a name of 128 bytes")
            << inside("ui", {{"name", QString("x").repeated(128)}});
        QTest::newRow("a text without a bound of 40 KB")
            << inside("stream_tx", {{"name", long_text}});
        QTest::newRow("a member that nobody knows") << QJsonObject{{"colour", "red"}};
        QTest::newRow("a nested member that nobody knows") << inside("ui", {{"colour", "red"}});
        QTest::newRow("a slash in a name") << QJsonObject{{"ui/memo", "red"}};
        QTest::newRow("what the product lacks") << inside("stream_tx", {{"ch7", 1}});
        QTest::newRow("what only reports tell") << inside("rtp", {{"lock", 3}});
        QTest::newRow("a number for a text") << inside("ui", {{"memo", 5}});
        QTest::newRow("a list for a choice") << inside("stream", {{"name", QJsonArray{1}}});
        QTest::newRow("no choice") << inside("dsp", {{"level", 7}});
        QTest::newRow("a number out of range") << inside("dsp", {{"delay", 936}});
        QTest::newRow("a text for logging") << inside("logging", {{"en", "yes"}});
        QTest::newRow("null") << inside("ui", {{"name", QJsonValue::Null}});
    }

    void a_command_with_what_no_device_takes_is_refused_whole()
    {
        QFETCH(QJsonObject, params);
        SimulatedDevice device(0, loudspeaker_plan(), 1);
        const QJsonObject before = device.state;
        merge_members(params, {{"dsp", QJsonObject{{"mute", true}}}});
        const QJsonObject reply = answer_command(device, command("set_params", params));
        QCOMPARE(reply.value("status").toString(), QString("error"));
        QVERIFY(!reply.value("error").toString().isEmpty());
        QCOMPARE(device.state, before);
    }

    // What the equaliser's curve writes: a shelf has a q of 0.
    void numbers_of_the_equaliser_may_leave_their_rows_bounds()
    {
        SimulatedDevice device(0, loudspeaker_plan(), 1);
        const QJsonObject eq{{"eq0", QJsonObject{{"q", 0}, {"type", 1}}}};
        const QJsonObject reply = answer_command(device, command("set_params", {{"dsp", eq}}));
        QCOMPARE(reply.value("status").toString(), QString("ok"));
        QCOMPARE(at(device.state, {"dsp", "eq0", "q"}), QJsonValue(0));
    }

    // A backup restores them all in one command.
    void every_property_that_can_be_written_is_taken_as_it_is()
    {
        for (const ProductDesc &product : catalogue().product_table) {
            SimulatedDevice device(0, {.product_id = product.product_id}, 3);
            QJsonObject params;
            for (const auto &[key, desc] : product.properties) {
                const QJsonValue value = at(device.state, desc.path);
                if ((desc.flags & PF_READONLY) == 0 && key != "product_id" && !value.isUndefined())
                    json_set_path(params, desc.path, value);
            }
            const QJsonObject reply = answer_command(device, command("set_params", params));
            QVERIFY2(reply.value("status").toString() == "ok",
                     qPrintable(reply.value("error").toString()));
        }
    }

    void no_report_outgrows_a_datagram()
    {
        SimulatedDevice device(0, loudspeaker_plan(), 1);
        QVERIFY(report_refusal(device.state).isEmpty());
        device.state.insert("more", QString("x").repeated(LARGEST_REPORT));
        QVERIFY(!report_refusal(device.state).isEmpty());
        const QJsonObject before = device.state;
        const QJsonObject mute{{"mute", !at(before, {"dsp", "mute"}).toBool()}};
        answer_command(device, command("set_params", {{"dsp", mute}}));
        QCOMPARE(device.state, before);
    }

    void a_device_without_a_product_takes_one()
    {
        SimulatedDevice device(0, {.product_id = 0, .name = "Module", .location = "Rack"}, 1);
        device.state.insert("firmware_version", "1.1");
        const QString id = device.device_id();
        answer_command(device, command("set_params", {{"product_id", 29}}));
        QCOMPARE(device.state.value("product_id").toInt(), 29);
        QCOMPARE(device.device_id(), id);
        QCOMPARE(device.name(), QString("Module"));
        QCOMPARE(device.state.value("firmware_version").toString(), QString("1.1"));
        QVERIFY(at(device.state, {"stream", "ch1"}).isUndefined()); // one channel only
        QCOMPARE(device.levels.peaks.size(), size_t{1});
        answer_command(device, command("set_params", {{"product_id", 30}}));
        QCOMPARE(device.state.value("product_id").toInt(), 29);
    }

    void a_device_that_takes_a_product_keeps_all_else()
    {
        DevicePlan plan{.product_id = 0, .name = "Module", .location = "Rack"};
        plan.memo = "left of the door";
        plan.order = 7;
        plan.fw_magic = 99;
        plan.sessions = QJsonArray{QJsonObject{{"n", "Only"}, {"c", 2}}};
        plan.state = {{"firmware_update_error", "worn out"}};
        SimulatedDevice device(0, plan, 1);
        set_state_address(device.state, 0x0A470005);
        const QJsonObject before = device.state;
        answer_command(device, command("set_params", {{"product_id", 29}}));
        QCOMPARE(device.state.value("product_id").toInt(), 29);
        for (const char *kept : {"net", "hw", "logging", "firmware_update_error", "fw_magic",
                                 "device_id", "firmware_version"})
            QVERIFY2(device.state.value(kept) == before.value(kept), kept);
        for (const char *kept : {"name", "loc", "memo", "order"})
            QVERIFY2(at(device.state, {"ui", kept}) == at(before, {"ui", kept}), kept);
        QCOMPARE(at(device.state, {"streams", "list"}), QJsonValue(*plan.sessions));
    }

    void a_device_shows_as_many_levels_as_its_product_has_channels()
    {
        SimulatedDevice device(0, {.product_id = 2001}, 1);
        QCOMPARE(device.levels.peaks.size(), size_t{32});
        device.state.insert("product_id", 29);
        device.state_changed();
        QCOMPARE(device.levels.peaks.size(), size_t{1});
        device.state.insert("product_id", 1000);
        device.state_changed();
        QCOMPARE(device.levels.peaks.size(), size_t{8});
    }

    void bridges_have_a_module_of_their_own()
    {
        for (const ProductDesc &product : catalogue().product_table) {
            const int id = product.product_id;
            const bool is_bridge = id == 2000 || id == 2001 || id < 0;
            QCOMPARE(usual_fw_magic(id), is_bridge ? uint32_t{0x354A2937} : uint32_t{0x354A2936});
        }
        SimulatedDevice device(0, loudspeaker_plan(), 1);
        device.state.insert("fw_magic", 4294967295.0);
        QCOMPARE(device.fw_magic(), uint32_t{4294967295U});
    }

    void a_device_that_hears_no_session_has_no_clock()
    {
        QSet<int> locks;
        for (uint64_t seed = 0; seed < 30; ++seed) {
            const SimulatedDevice device(0, {.product_id = 1000}, seed);
            const QString playing = at(device.state, {"stream", "name"}).toString();
            const int channels = channels_of_session(device.state, playing);
            QCOMPARE(at(device.state, {"rtp", "lock"}).toInt(), playing.isEmpty() ? 0 : 3);
            QCOMPARE(at(device.state, {"link_state", "rx_bw"}).toInt(), 40 + 1170 * channels);
            locks.insert(at(device.state, {"rtp", "lock"}).toInt());
        }
        QCOMPARE(locks.size(), 2);
    }

    void what_was_never_sold_has_an_address_that_collides_with_nothing()
    {
        const SimulatedDevice device(0, loudspeaker_plan(), 1);
        const QStringList mac = at(device.state, {"net", "mac"}).toString().split(':');
        QCOMPARE(mac.size(), 6);
        QCOMPARE(mac[0].toInt(nullptr, 16) & 3, 2); // locally administered, of one station
        QCOMPARE(at(device.state, {"dsp", "error"}), QJsonValue(""));
    }

    void a_text_may_be_as_long_as_its_property_allows_and_the_first_mistake_is_told()
    {
        SimulatedDevice device(0, loudspeaker_plan(), 1);
        const auto error_of = [&device](const QJsonObject &params) {
            return answer_command(device, command("set_params", params)).value("error").toString();
        };
        const QString longest = QString("x").repeated(127);
        QCOMPARE(error_of({{"ui", QJsonObject{{"name", longest}}}}), QString());
        QCOMPARE(device.name(), longest);
        QCOMPARE(error_of({{"ui", QJsonObject{{"name", longest + "x"}}}}),
                 QString("\"ui/name\": 128 bytes, and at most 127 fit"));
        QCOMPARE(error_of({{"apple", 1}, {"berry", 1}}), QString("\"apple\": unknown"));
        QCOMPARE(error_of({{QString("x").repeated(5000), 1}}),
                 '"' + QString("x").repeated(100) + "\": unknown");
    }

    // Frames are written by hand.
    void an_id_with_signs_of_json_is_told_in_frames_too()
    {
        const QString id = "a\"b\\c\n\u00e9";
        const SimulatedDevice device(0, {.product_id = 6, .device_id = id}, 1);
        const QByteArray frame = metering_datagram(device.id_bytes(), {1}, {0}, Checksum::NONE);
        QCOMPARE(QJsonDocument::fromJson(frame).object().value("device_id").toString(), id);
    }

    void a_command_is_meant_by_its_whole_name()
    {
        SimulatedDevice device(0, loudspeaker_plan(), 1);
        for (const char *name : {"blink_leds_twice", "blink", "", "set_paramsx"})
            QCOMPARE(answer_command(device, {{"command", name}}).value("error").toString(),
                     QString("unknown command"));
        QCOMPARE(device.counters.blinks, 0);
    }

    void logging_is_switched_by_a_command()
    {
        SimulatedDevice device(0, loudspeaker_plan(), 1);
        QVERIFY(!device.is_logging);
        answer_command(device, command("set_params", {{"logging", QJsonObject{{"en", true}}}}));
        QVERIFY(device.is_logging);
        answer_command(device, command("set_params", {{"logging", QJsonObject{{"en", false}}}}));
        QVERIFY(!device.is_logging);
    }

    void a_purge_forgets_the_sessions()
    {
        SimulatedDevice device(0, loudspeaker_plan(), 1);
        answer_command(device, command("sap_purge", {{"age", 0}, {"blocktime", 1}}));
        QVERIFY(at(device.state, {"streams", "list"}).isArray());
        QVERIFY(at(device.state, {"streams", "list"}).toArray().isEmpty());
    }

    void a_reply_is_no_report()
    {
        SimulatedDevice device(0, loudspeaker_plan(), 1);
        const QJsonObject reply = answer_command(device, command("blink_leds"));
        QCOMPARE(reply,
                 (QJsonObject{{"command", "blink_leds"},
                              {"device_id", device.device_id()},
                              {"seq", 1},
                              {"status", "ok"}}));
        QCOMPARE(device.counters.blinks, 1);
        QVERIFY(is_from_device(reply));
        QVERIFY(is_from_device(device.state));
        QVERIFY(!is_from_device(command("set_params")));
    }

    void an_unknown_command_is_answered_with_an_error()
    {
        SimulatedDevice device(0, loudspeaker_plan(), 1);
        const QJsonObject before = device.state;
        const QJsonObject reply = answer_command(device, {{"command", "format"}});
        QCOMPARE(reply.value("status").toString(), QString("error"));
        QVERIFY(!reply.value("error").toString().isEmpty());
        QVERIFY(!reply.contains("seq"));
        QCOMPARE(device.state, before);
        QCOMPARE(answer_garbage(device).value("status").toString(), QString("error"));
    }

    void commands_are_kept_as_they_came_up_to_a_thousand()
    {
        SimulatedDevice device(0, loudspeaker_plan(), 1);
        const QJsonObject first = command("set_params", {{"dsp", QJsonObject{{"mute", true}}}});
        answer_command(device, first);
        for (int i = 0; i < 1500; ++i)
            answer_command(device, command("blink_leds"));
        QCOMPARE(device.counters.commands.first().toObject(), first);
        QCOMPARE(device.counters.commands.size(), 1000);
        QCOMPARE(device.counters.commands_received, 1501);
    }
};

GUILESS_PARTS_TEST_MAIN(SimulatorStateTest)
#include "simulator_state_test.moc"

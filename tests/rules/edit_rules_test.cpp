// From editors to values, and from edited rows to what a device is sent.
#include "gui/edit_rules.h"
#include "link/interface_rules.h"
#include "model/error_value.h"
#include "support/selected_rows.h"
#include "support/vectors.h"

#include <QtTest>

class EditRulesTest : public QObject
{
    Q_OBJECT

private slots:
    void editor_is_read_as_computed_elsewhere_data() { add_vector_rows("set_params", "read"); }
    void editor_is_read_as_computed_elsewhere();
    void box_is_as_computed_elsewhere_data() { add_vector_rows("set_params", "box"); }
    void box_is_as_computed_elsewhere();
    void commands_are_as_computed_elsewhere_data() { add_vector_rows("set_params", "confirm"); }
    void commands_are_as_computed_elsewhere();
    void name_of_128_bytes_is_too_long();
    void dots_count_as_text_only_where_devices_agree();
    void bounds_are_named_even_though_the_editor_keeps_them();
    void whole_numbers_beyond_an_int_are_refused();
    void partial_check_box_has_no_value();
    void address_with_a_hidden_end_is_refused();
    void rows_without_editor_refuse();
    void unedited_and_read_only_rows_are_not_validated();
    void only_the_device_that_differs_gets_a_command();
    void nothing_edited_sends_nothing();
    void read_only_row_of_a_device_is_left_out_for_it_alone();
    void an_edited_row_that_was_hidden_is_still_sent();
    void non_finite_numbers_are_left_out();
    void offline_device_keeps_the_rest_of_its_report();
    void members_of_one_object_stay_together();
};

namespace {

const QMap<QString, Qt::CheckState> check_states{
    {"checked", Qt::Checked}, {"unchecked", Qt::Unchecked}, {"partial", Qt::PartiallyChecked}};

double bound_from(const QJsonValue &value)
{
    if (value.isString())
        return value.toString() == "inf" ? qInf() : -qInf();
    return value.toDouble();
}

QString text_refusal(const PropertyDesc &desc, const QString &text, bool uniform = true)
{
    return refusal(editor_value(desc, uniform, {.text = text}));
}

QString number_refusal(const PropertyDesc &desc, double number)
{
    return refusal(editor_value(desc, true, {.number = number}));
}

QJsonObject dsp(const QString &key, const QJsonValue &value)
{
    return {{"dsp", QJsonObject{{key, value}}}};
}

QJsonObject level_command(int level)
{
    return {{"command", "set_params"}, {"seq", 1}, {"dsp", QJsonObject{{"level", level}}}};
}

QJsonValue sent_or_null(const std::optional<QJsonObject> &object, bool is_expected_here)
{
    return object && is_expected_here ? QJsonValue(*object) : QJsonValue();
}

} // namespace

void EditRulesTest::editor_is_read_as_computed_elsewhere()
{
    QFETCH(QJsonObject, input);
    QFETCH(QJsonObject, expect);
    const PropertyDesc desc{.kind = static_cast<PropertyKind>(input.value("kind").toInt()),
                            .min = bound_from(input.value("min")),
                            .max = bound_from(input.value("max"))};
    const EditorState editor{
        .text = input.value("text").toString(),
        .check_state = check_states.value(input.value("check").toString()),
        .number = input.value("spin").toDouble(),
        .mixed = input.value("mixed").toBool(),
        .data = input.contains("data") ? typed_value(input.value("data").toObject()) : QVariant()};

    const QVariant value = editor_value(desc, input.value("uniform").toBool(), editor);
    QCOMPARE(refusal(value), expect.value("error").toString());
    if (expect.contains("error"))
        return;
    const QVariant expected = typed_value(expect.value("value").toObject());
    QCOMPARE(value, expected);
    QCOMPARE(value.userType(), expected.userType());
}

void EditRulesTest::box_is_as_computed_elsewhere()
{
    QFETCH(QJsonObject, input);
    QFETCH(QJsonObject, expect);
    QCOMPARE(value_error_text(input.value("label").toString().toStdString(),
                              input.value("error").toString()),
             expect.value("text").toString());
}

void EditRulesTest::commands_are_as_computed_elsewhere()
{
    QFETCH(QJsonObject, input);
    QFETCH(QJsonObject, expect);
    const QJsonArray given = input.value("devices").toArray();
    std::vector<std::unique_ptr<Device>> devices;
    std::vector<Device *> selection;
    for (const QJsonValue &device : given) {
        devices.push_back(device_from_report(device.toObject().value("report").toObject()));
        devices.back()->online = device.toObject().value("online").toBool();
        selection.push_back(devices.back().get());
    }
    SelectedRows panel;
    panel.select(selection);
    for (const QJsonValue &edit : input.value("edits").toArray())
        panel.edit(edit.toArray().at(0).toString().toStdString(),
                   typed_value(edit.toArray().at(1).toObject()));

    QString errors;
    bool any_offline = false;
    for (int i = 0; i < given.size(); ++i) {
        const QJsonObject from = given.at(i).toObject();
        const bool online = from.value("online").toBool();
        const std::optional<QJsonObject> object
            = panel.rows.changes_for(*devices[static_cast<std::size_t>(i)]);
        const QJsonObject wanted = expect.value("devices").toArray().at(i).toObject();
        QCOMPARE(sent_or_null(object, online), wanted.value("sent"));
        QCOMPARE(sent_or_null(object, !online), wanted.value("stored"));
        if (!object)
            continue;
        any_offline |= !online;
        append_network_error(errors, QHostAddress(from.value("address").toString()),
                             online ? from.value("send_error").toString() : "offline");
    }
    if (any_offline)
        errors += offline_notice();
    QCOMPARE(errors, expect.value("network_error").toString());
}

void EditRulesTest::name_of_128_bytes_is_too_long()
{
    const PropertyDesc name{.kind = PROP_TEXT, .max = 127};
    QCOMPARE(text_refusal(name, QString(127, 'x')), QString());
    QCOMPARE(text_refusal(name, QString(64, QChar(0xfc))),
             QString("text too long (allows up to 127 bytes, but got 128 bytes)"));
}

void EditRulesTest::dots_count_as_text_only_where_devices_agree()
{
    const PropertyDesc name{.kind = PROP_TEXT, .max = 127};
    QVERIFY(!editor_value(name, false, {.text = "..."}).isValid());
    QCOMPARE(editor_value(name, true, {.text = "..."}), QVariant("..."));
    QCOMPARE(text_refusal({.kind = PROP_IP}, "..."), QString("not a valid IPv4"));
    QCOMPARE(text_refusal({.kind = PROP_IP}, "1.2.3"), QString("not a valid IPv4"));
}

void EditRulesTest::bounds_are_named_even_though_the_editor_keeps_them()
{
    for (const PropertyKind kind : {PROP_INT, PROP_FLOAT}) {
        const PropertyDesc desc{.kind = kind, .min = 10, .max = 20};
        QCOMPARE(number_refusal(desc, 9), QString("value is too small"));
        QCOMPARE(number_refusal(desc, 21), QString("value is too large"));
        QCOMPARE(number_refusal(desc, 10), QString());
        QCOMPARE(number_refusal(desc, 20), QString());
    }
    // Cut first, then tested.
    QCOMPARE(editor_value({.kind = PROP_INT, .max = 2}, true, {.number = 2.7}), QVariant(2));
}

void EditRulesTest::whole_numbers_beyond_an_int_are_refused()
{
    const PropertyDesc order{.kind = PROP_INT};
    QCOMPARE(number_refusal(order, 1e12), QString("value is too large"));
    QCOMPARE(number_refusal(order, -1e300), QString("value is too small"));
    QCOMPARE(number_refusal(order, qInf()), QString("value is too large"));
    QCOMPARE(number_refusal(order, qQNaN()), QString("invalid"));
    QCOMPARE(editor_value(order, true, {.number = 2147483647.0}), QVariant(2147483647));
}

void EditRulesTest::partial_check_box_has_no_value()
{
    const PropertyDesc mute{.kind = PROP_BOOL};
    QVERIFY(!editor_value(mute, true, {.check_state = Qt::PartiallyChecked}).isValid());
    QCOMPARE(editor_value(mute, false, {.check_state = Qt::Unchecked}), QVariant(false));
}

void EditRulesTest::address_with_a_hidden_end_is_refused()
{
    const QString text = QString("1.2.3.4") + QChar::Null + "junk";
    QCOMPARE(text_refusal({.kind = PROP_IP}, text), QString("not a valid IPv4"));
}

void EditRulesTest::rows_without_editor_refuse()
{
    QCOMPARE(refusal(editor_value({.kind = PROP_NONE}, true, {})), QString("invalid"));
    QCOMPARE(refusal(editor_value({.kind = PROP_DUMMY}, true, {})), QString("invalid"));
    QVERIFY(!editor_value({.kind = PROP_METER}, true, {}).isValid());
}

void EditRulesTest::unedited_and_read_only_rows_are_not_validated()
{
    QVERIFY(needs_validation({.desc = {.kind = PROP_TEXT}, .edited = true}));
    QVERIFY(!needs_validation({.desc = {.kind = PROP_TEXT}}));
    QVERIFY(!needs_validation({.desc = {.kind = PROP_NONE}, .edited = true}));
    QVERIFY(!needs_validation({.desc = {.kind = PROP_DUMMY}, .edited = true}));
    QVERIFY(
        !needs_validation({.desc = {.flags = PF_READONLY, .kind = PROP_FIRMWARE}, .edited = true}));
}

void EditRulesTest::only_the_device_that_differs_gets_a_command()
{
    const auto same = device_from_report(report_of(11, dsp("level", 4)));
    const auto other = device_from_report(report_of(11, dsp("level", 2)));
    SelectedRows panel;
    panel.select({same.get(), other.get()});
    panel.edit("dsp/level", 4);
    QVERIFY(!panel.rows.changes_for(*same));
    QCOMPARE(panel.rows.changes_for(*other).value_or(QJsonObject()), level_command(4));
}

void EditRulesTest::nothing_edited_sends_nothing()
{
    const auto device = device_from_report(report_of(11, dsp("level", 4)));
    SelectedRows panel;
    panel.select({device.get()});
    QVERIFY(!panel.rows.changes_for(*device));
    device->online = false;
    QVERIFY(!panel.rows.changes_for(*device));
}

void EditRulesTest::read_only_row_of_a_device_is_left_out_for_it_alone()
{
    const auto unknown = device_from_report(report_of(0, {}));
    const auto loudspeaker = device_from_report(report_of(11, {}));
    SelectedRows panel;
    panel.select({unknown.get(), loudspeaker.get()});
    QVERIFY((panel.row("product_id").desc.flags & PF_READONLY) == 0);
    panel.edit("product_id", 12);
    QVERIFY(!panel.rows.changes_for(*loudspeaker));
    QCOMPARE(panel.rows.changes_for(*unknown).value_or(QJsonObject()).value("product_id"),
             QJsonValue(12));
}

void EditRulesTest::an_edited_row_that_was_hidden_is_still_sent()
{
    const auto device = device_from_report(report_of(11, dsp("level", 2)));
    SelectedRows panel;
    panel.select({device.get()});
    panel.edit("dsp/level", 4);
    PropertyRows rows = panel.rows.all();
    rows.at("dsp/level").desc.kind = PROP_NONE;
    QVERIFY(!needs_validation(rows.at("dsp/level")));
    QCOMPARE(device_changes(rows, *device).value_or(QJsonObject()), level_command(4));
}

void EditRulesTest::non_finite_numbers_are_left_out()
{
    const auto device = device_from_report(report_of(11, dsp("delay", 1)));
    SelectedRows panel;
    panel.select({device.get()});
    for (const double number : {qInf(), -qInf(), qQNaN()}) {
        panel.edit("dsp/delay", number);
        QVERIFY(!panel.rows.changes_for(*device));
    }
    panel.edit("dsp/level", 3);
    QCOMPARE(panel.rows.changes_for(*device).value_or(QJsonObject()), level_command(3));
}

void EditRulesTest::offline_device_keeps_the_rest_of_its_report()
{
    const QJsonObject report = report_of(11, {{"x", "kept"}, {"dsp", QJsonObject{{"level", 1}}}});
    const auto device = device_from_report(report);
    device->online = false;
    SelectedRows panel;
    panel.select({device.get()});
    panel.edit("dsp/level", 5);
    QJsonObject expected = report;
    expected.insert("dsp", QJsonObject{{"level", 5}});
    QCOMPARE(panel.rows.changes_for(*device).value_or(QJsonObject()), expected);
    QCOMPARE(device->last_report.object(), report); // storing it is for the caller
}

void EditRulesTest::members_of_one_object_stay_together()
{
    const auto device = device_from_report(report_of(1000, {}));
    SelectedRows panel;
    panel.select({device.get()});
    panel.edit("stream/rtp/en", true);
    panel.edit("stream/rtp/ip", "239.1.2.3");
    const QJsonObject object = panel.rows.changes_for(*device).value_or(QJsonObject());
    QCOMPARE(object.value("stream").toObject().value("rtp").toObject(),
             (QJsonObject{{"en", true}, {"ip", "239.1.2.3"}}));
}

QTEST_GUILESS_MAIN(EditRulesTest)
#include "edit_rules_test.moc"

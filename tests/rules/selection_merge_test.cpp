// What the panel shows for a selection of devices.
#include "gui/choices.h"
#include "gui/selection_merge.h"
#include "gui/value_text.h"
#include "support/selected_rows.h"
#include "support/vectors.h"

#include <QtTest>

class SelectionMergeTest : public QObject
{
    Q_OBJECT

private slots:
    void rows_are_as_computed_elsewhere_data() { add_vector_rows("merge"); }
    void rows_are_as_computed_elsewhere();
    void nothing_selected_hides_all_rows();
    void mixed_products_share_no_preset_names();
    void mixed_level_keeps_the_first_devices_choices();
    void module_and_loudspeaker_hide_what_only_one_has();
    void headers_and_buttons_show_for_devices_never_selected_before();
    void different_decimals_hide_the_row();
    void value_that_no_device_said_is_uniform_and_invalid();
    void devices_behind_the_first_difference_are_not_looked_at();
    void smaller_minimum_wins();
    void edited_value_counts_for_all();
    void list_columns_have_no_row();
    void backed_up_bank_changes_the_presets_before_confirm();
    void choices_are_shared_by_label_and_value_whatever_their_data();
    void flags_and_needs_rebuild_no_editor();
    void session_listed_twice_multiplies_with_each_device();
    void session_listed_twice_by_many_devices_fills_no_memory();
    void choices_multiply_up_to_1024();
    void merging_changes_no_device();
};

namespace {

using DeviceList = std::vector<std::unique_ptr<Device>>;

std::vector<Device *> pointers(const DeviceList &devices)
{
    std::vector<Device *> list;
    for (const std::unique_ptr<Device> &device : devices)
        list.push_back(device.get());
    return list;
}

double bound_from(const QJsonValue &value)
{
    if (value.isString())
        return value.toString() == "inf" ? qInf() : -qInf();
    return value.toDouble();
}

void override_descriptor(PropertyDesc &desc, const QJsonObject &fields)
{
    if (fields.contains("decimals"))
        desc.decimals = fields.value("decimals").toInt();
    if (fields.contains("unit"))
        desc.unit = fields.value("unit").toString().toStdString();
    if (fields.contains("min"))
        desc.min = bound_from(fields.value("min"));
    if (fields.contains("max"))
        desc.max = bound_from(fields.value("max"));
    if (fields.contains("kind"))
        desc.kind = static_cast<PropertyKind>(fields.value("kind").toInt());
    if (fields.contains("user_value"))
        desc.user_value = typed_value(fields.value("user_value").toObject());
    if (!fields.contains("choices"))
        return;
    desc.choices.clear();
    for (const QJsonValue &choice : fields.value("choices").toArray())
        desc.choices.push_back({.value = choice.toArray().at(0).toInt(),
                                .label = choice.toArray().at(1).toString().toStdString(),
                                .data = {}});
}

std::unique_ptr<Device> device_from_case(const QJsonObject &given)
{
    std::unique_ptr<Device> device = device_from_report(given.value("report").toObject());
    const QJsonObject overrides = given.value("overrides").toObject();
    for (auto it = overrides.begin(); it != overrides.end(); ++it)
        override_descriptor(device->properties.own(it.key().toStdString()), it.value().toObject());
    return device;
}

QString text_of(const Property &row)
{
    QString text;
    QVariant icon;
    value_text(row.desc, row.value, row.uniform, &text, &icon);
    return text;
}

void compare_combo(const Property &row, const QJsonObject &expect)
{
    const QJsonArray choices = expect.value("choices").toArray();
    QCOMPARE(row.desc.choices.size(), static_cast<std::size_t>(choices.size()));
    QJsonArray items;
    for (int i = 0; i < choices.size(); ++i) {
        const PropertyChoice &choice = row.desc.choices[static_cast<std::size_t>(i)];
        QCOMPARE(choice.value, typed_value(choices.at(i).toArray().at(0).toObject()));
        QCOMPARE(QString::fromStdString(choice.label), choices.at(i).toArray().at(1).toString());
        items.append(QString::fromStdString(choice.label));
    }
    if (!expect.contains("items"))
        return;
    const ComboState state = combo_state(row.desc, row.value, row.uniform);
    if (state.has_extra)
        items.append(state.extra_text);
    QCOMPARE(items, expect.value("items").toArray());
    QCOMPARE(state.current, expect.value("current").toInt());
}

void compare_row(const Property &row, const QJsonObject &expect)
{
    QCOMPARE(row.desc.kind != PROP_NONE, expect.value("shown").toBool());
    if (!expect.value("shown").toBool())
        return;
    QCOMPARE(row.value, typed_value(expect.value("value").toObject()));
    QCOMPARE(row.desc.min, bound_from(expect.value("min")));
    QCOMPARE(row.desc.max, bound_from(expect.value("max")));
    if (expect.contains("uniform"))
        QCOMPARE(row.uniform, expect.value("uniform").toBool());
    if (expect.contains("text"))
        QCOMPARE(text_of(row), expect.value("text").toString());
    if (expect.contains("choices"))
        compare_combo(row, expect);
}

DeviceList devices_of(std::initializer_list<QJsonObject> reports)
{
    DeviceList devices;
    for (const QJsonObject &report : reports)
        devices.push_back(device_from_report(report));
    return devices;
}

QJsonObject dsp(const QString &key, const QJsonValue &value)
{
    return {{"dsp", QJsonObject{{key, value}}}};
}

// A device that lists the same session twice.
QJsonObject doubled_session()
{
    const QJsonObject session{{"n", "main"}, {"i", "x"}, {"c", 2}};
    const QJsonArray list{session, session};
    return report_of(11, {{"streams", QJsonObject{{"list", list}}}});
}

} // namespace

void SelectionMergeTest::rows_are_as_computed_elsewhere()
{
    QFETCH(QJsonObject, input);
    QFETCH(QJsonObject, expect);
    DeviceList devices;
    for (const QJsonValue &device : input.value("devices").toArray())
        devices.push_back(device_from_case(device.toObject()));
    SelectedRows panel;
    panel.select(pointers(devices));
    for (const QJsonValue &edit : input.value("edits").toArray())
        panel.edit(edit.toArray().at(0).toString().toStdString(),
                   typed_value(edit.toArray().at(1).toObject()));

    const QJsonObject rows = expect.value("rows").toObject();
    for (const QString &key : rows.keys()) {
        compare_row(panel.row(key.toStdString()), rows.value(key).toObject());
        QVERIFY2(!QTest::currentTestFailed(), qPrintable(key));
    }
}

void SelectionMergeTest::nothing_selected_hides_all_rows()
{
    SelectedRows panel;
    panel.select({});
    for (const std::string &key : catalogue().property_keys)
        QVERIFY(!panel.is_shown(key));
}

void SelectionMergeTest::mixed_products_share_no_preset_names()
{
    const DeviceList devices
        = devices_of({report_of(11, dsp("preset", 2)), report_of(4, dsp("preset", 2))});
    SelectedRows panel;
    panel.select(pointers(devices));
    QVERIFY(!panel.row("product_id").uniform);
    const Property &preset = panel.row("dsp/preset");
    QVERIFY(panel.is_shown("dsp/preset"));
    QVERIFY(preset.desc.choices.empty());
    QCOMPARE(combo_state(preset.desc, preset.value, preset.uniform).extra_text,
             QString("2 (not found)"));
}

void SelectionMergeTest::mixed_level_keeps_the_first_devices_choices()
{
    const DeviceList devices
        = devices_of({report_of(11, dsp("level", 1)), report_of(11, dsp("level", 2))});
    SelectedRows panel;
    panel.select(pointers(devices));
    const Property &level = panel.row("dsp/level");
    QVERIFY(!level.uniform);
    QVERIFY(!level.value.isValid());
    QCOMPARE(level.desc.choices, devices[0]->properties.at("dsp/level").choices);
    QCOMPARE(combo_state(level.desc, level.value, level.uniform).extra_text, QString("..."));
}

void SelectionMergeTest::module_and_loudspeaker_hide_what_only_one_has()
{
    const DeviceList devices = devices_of({report_of(1000, {}), report_of(11, {})});
    SelectedRows panel;
    panel.select(pointers(devices));
    QVERIFY(!panel.is_shown("dsp/level"));
    QVERIFY(!panel.is_shown("dummy/header/eq0"));
    QVERIFY(panel.is_shown("ui/name"));
    panel.select({devices[1].get()});
    QVERIFY(panel.is_shown("dsp/level"));
}

void SelectionMergeTest::headers_and_buttons_show_for_devices_never_selected_before()
{
    const DeviceList devices = devices_of({report_of(11, {}), report_of(12, {})});
    SelectedRows panel;
    panel.select(pointers(devices));
    QVERIFY(panel.is_shown("dummy/header/1"));
    QVERIFY(panel.is_shown("dummy/load_restore/0"));
}

void SelectionMergeTest::different_decimals_hide_the_row()
{
    const DeviceList devices
        = devices_of({report_of(11, dsp("delay", 1)), report_of(11, dsp("delay", 1))});
    devices[1]->properties.own("dsp/delay").decimals = 2;
    SelectedRows panel;
    panel.select(pointers(devices));
    QVERIFY(!panel.is_shown("dsp/delay"));
}

void SelectionMergeTest::value_that_no_device_said_is_uniform_and_invalid()
{
    const DeviceList devices = devices_of({report_of(11, {}), report_of(11, {})});
    SelectedRows panel;
    panel.select(pointers(devices));
    QVERIFY(panel.row("dsp/mute").uniform);
    QVERIFY(!panel.row("dsp/mute").value.isValid());
    QCOMPARE(text_of(panel.row("ui/name")), QString("?"));
}

void SelectionMergeTest::devices_behind_the_first_difference_are_not_looked_at()
{
    const DeviceList devices = devices_of(
        {report_of(11, dsp("delay", 1)), report_of(11, dsp("delay", 2)), report_of(1000, {})});
    SelectedRows panel;
    panel.select(pointers(devices));
    QVERIFY(panel.is_shown("dsp/delay")); // though the third has none
    panel.select({devices[0].get(), devices[2].get(), devices[1].get()});
    QVERIFY(!panel.is_shown("dsp/delay"));
}

void SelectionMergeTest::smaller_minimum_wins()
{
    const DeviceList devices
        = devices_of({report_of(11, dsp("delay", 1)), report_of(11, dsp("delay", 1))});
    devices[1]->properties.own("dsp/delay").min = 10;
    devices[1]->properties.own("dsp/delay").max = 500;
    SelectedRows panel;
    panel.select(pointers(devices));
    QCOMPARE(panel.row("dsp/delay").desc.min, 0.0);
    QCOMPARE(panel.row("dsp/delay").desc.max, 500.0);
    devices[1]->properties.own("dsp/delay").max = -1;
    panel.select(pointers(devices));
    QVERIFY(!panel.is_shown("dsp/delay"));
}

void SelectionMergeTest::edited_value_counts_for_all()
{
    const DeviceList devices
        = devices_of({report_of(11, dsp("level", 1)), report_of(11, dsp("level", 2))});
    SelectedRows panel;
    panel.select(pointers(devices));
    panel.edit("product_id", 12); // makes every other row stale
    panel.edit("dsp/level", 5);
    panel.edit("product_id", 11);
    QVERIFY(panel.row("dsp/level").uniform);
    QCOMPARE(panel.row("dsp/level").value, QVariant(5));
}

void SelectionMergeTest::list_columns_have_no_row()
{
    const DeviceList devices = devices_of({report_of(11, {})});
    SelectedRows panel;
    panel.select(pointers(devices));
    for (const char *key : {"device_id", "net/static_ip", "link_state/bw"})
        QVERIFY(!panel.is_shown(key));
}

void SelectionMergeTest::backed_up_bank_changes_the_presets_before_confirm()
{
    const DeviceList devices
        = devices_of({report_of(3, {{"dsp", QJsonObject{{"bank", 1}, {"preset", 0}}}})});
    SelectedRows panel;
    panel.select(pointers(devices));
    QCOMPARE(panel.row("dsp/preset").desc.choices.front().label, std::string("Flat"));
    panel.edit("dsp/bank", 3);
    QCOMPARE(panel.row("dsp/preset").desc.choices.front().label, std::string("Flat in-wall"));
}

void SelectionMergeTest::choices_are_shared_by_label_and_value_whatever_their_data()
{
    const auto with_session = [](const QString &info, int channels) {
        const QJsonObject session{{"n", "main"}, {"i", info}, {"c", channels}};
        return report_of(11, {{"streams", QJsonObject{{"list", QJsonArray{session}}}}});
    };
    const DeviceList devices
        = devices_of({with_session("x", 2), with_session("x", 8), with_session("y", 2)});
    SelectedRows panel;
    panel.select({devices[0].get(), devices[1].get()});
    const std::vector<PropertyChoice> &choices = panel.row("stream/name").desc.choices;
    QCOMPARE(choices.size(), std::size_t{2});
    QCOMPARE(choices[1].data.value<session_item>().channels, 2); // the first device's
    panel.select({devices[0].get(), devices[2].get()});
    QCOMPARE(panel.row("stream/name").desc.choices.size(), std::size_t{1});
}

void SelectionMergeTest::flags_and_needs_rebuild_no_editor()
{
    const PropertyDesc desc{.key = "a", .path = {"a"}, .label = "A", .kind = PROP_TEXT};
    PropertyDesc other = desc;
    other.flags = PF_READONLY;
    other.needs = {CAP_DSP};
    QVERIFY(desc.same_editor(other));
    other.decimals = 7;
    QVERIFY(!desc.same_editor(other));
}

void SelectionMergeTest::session_listed_twice_multiplies_with_each_device()
{
    const DeviceList devices = devices_of({doubled_session(), doubled_session()});
    SelectedRows panel;
    panel.select({devices[0].get()});
    QCOMPARE(panel.row("stream/name").desc.choices.size(), std::size_t{1 + 2 * 2});
    panel.select(pointers(devices));
    QCOMPARE(panel.row("stream/name").desc.choices.size(), std::size_t{1 + 2 * 2 * 2});
}

void SelectionMergeTest::session_listed_twice_by_many_devices_fills_no_memory()
{
    DeviceList devices;
    for (int i = 0; i < 200; ++i)
        devices.push_back(device_from_report(doubled_session()));
    SelectedRows panel;
    panel.select(pointers(devices));
    QVERIFY(panel.is_shown("stream/name"));
    QVERIFY(panel.row("stream/name").desc.choices.size() <= 1024);
    QCOMPARE(panel.row("stream/name").desc.choices.front().label, std::string("<disable>"));
}

// Beside the choice of none: 31, 7, 3 and 2 times the same one, each as often again.
void SelectionMergeTest::choices_multiply_up_to_1024()
{
    QJsonArray list;
    for (const auto &[name, times] : {std::pair("a", 31), {"b", 7}, {"c", 3}, {"d", 2}})
        for (int i = 0; i < times; ++i)
            list.append(QJsonObject{{"n", name}, {"i", "x"}, {"c", 2}});
    const auto choices_with = [](const QJsonArray &sessions) {
        const auto device
            = device_from_report(report_of(11, {{"streams", QJsonObject{{"list", sessions}}}}));
        SelectedRows panel;
        panel.select({device.get()});
        return panel.row("stream/name").desc.choices.size();
    };
    QCOMPARE(choices_with(list), std::size_t{1024});
    list.append(QJsonObject{{"n", "e"}, {"i", "x"}, {"c", 2}});
    QCOMPARE(choices_with(list), std::size_t{1 + 31 + 7 + 3 + 2 + 1});
}

void SelectionMergeTest::merging_changes_no_device()
{
    const DeviceList devices = devices_of({report_of(11, {}), report_of(12, {})});
    const ValueMap before = devices[0]->values;
    SelectedRows panel;
    panel.select(pointers(devices));
    QCOMPARE(devices[0]->values.size(), before.size());
}

QTEST_GUILESS_MAIN(SelectionMergeTest)
#include "selection_merge_test.moc"

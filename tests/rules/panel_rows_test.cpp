// What the panel's rows stand for: refreshed over a selection, edited, and told to devices.
#include "gui/panel_rows.h"
#include "model/error_value.h"
#include "support/selected_rows.h"

#include <QtTest>

namespace {

QJsonObject dsp(const QString &key, const QJsonValue &value)
{
    return {{"dsp", QJsonObject{{key, value}}}};
}

// A loudspeaker with a value in its dsp part.
std::unique_ptr<Device> loudspeaker(const QString &key, const QJsonValue &value)
{
    return device_from_report(report_of(11, dsp(key, value)));
}

std::unique_ptr<Device> module()
{
    return device_from_report(report_of(1000, {}));
}

QVariant refused(const QString &reason)
{
    return QVariant::fromValue(ErrorValue{.reason = reason});
}

} // namespace

class PanelRowsTest : public QObject
{
    Q_OBJECT

private slots:
    void each_key_has_a_hidden_row_that_needs_a_refresh();
    void a_refresh_tells_what_the_widgets_have_to_do();
    void a_key_without_a_row_is_hidden_and_changes_nothing();
    void a_refreshed_row_needs_no_refresh();
    void a_refresh_marks_by_the_flags_of_the_last_one();
    void an_edit_marks_what_follows_it();
    void a_refused_edit_changes_nothing();
    void edits_survive_a_refresh_until_they_are_dropped();
    void a_hidden_row_keeps_its_value_and_takes_the_flags_of_the_leader();
    void a_hidden_row_drives_no_choices();
    void a_meter_is_for_one_device();
    void the_first_refusal_goes_by_key_and_looks_at_edited_rows_only();
    void a_row_changes_a_selection_when_it_changes_one_device();
    void properties_that_some_lack_are_counted();
};

void PanelRowsTest::each_key_has_a_hidden_row_that_needs_a_refresh()
{
    build_catalogue();
    const PanelRows rows;
    QCOMPARE(rows.all().size(), catalogue().property_keys.size());
    QVERIFY(rows.needs_refresh());
    for (const std::string &key : catalogue().property_keys) {
        QVERIFY(rows.row(key)->desc.kind == PROP_NONE && rows.row(key)->needs_update);
        QCOMPARE(rows.row(key)->desc.key, key);
    }
}

void PanelRowsTest::a_refresh_tells_what_the_widgets_have_to_do()
{
    SelectedRows panel;
    const auto first = loudspeaker("delay", 1);
    const auto second = loudspeaker("delay", 2);
    panel.selection = {first.get()};
    QVERIFY(panel.rows.refresh("dsp/delay", {}) == RowChange::HIDDEN);
    QVERIFY(panel.rows.refresh("dsp/delay", {first.get()}) == RowChange::NEW_EDITOR);
    QVERIFY(panel.rows.refresh("dsp/delay", {second.get()}) == RowChange::SAME_EDITOR);
    QCOMPARE(panel.row("dsp/delay").value, QVariant(2));
    second->properties.own("dsp/delay").decimals = 1;
    second->values["dsp/delay"] = 1;
    QVERIFY(panel.rows.refresh("dsp/delay", {second.get()}) == RowChange::NEW_EDITOR);
    QVERIFY(panel.rows.refresh("dsp/delay", {first.get(), second.get()}) == RowChange::HIDDEN);
    QVERIFY(panel.rows.refresh("dsp/delay", {first.get()}) == RowChange::NEW_EDITOR);
}

void PanelRowsTest::a_key_without_a_row_is_hidden_and_changes_nothing()
{
    SelectedRows panel;
    const auto device = loudspeaker("delay", 1);
    QVERIFY(panel.rows.refresh("no such key", {device.get()}) == RowChange::HIDDEN);
    QVERIFY(!panel.rows.edit("no such key", 1));
    panel.rows.mark("no such key");
    for (const std::string &key : catalogue().property_keys)
        panel.rows.refresh(key, {device.get()});
    panel.rows.mark_dependants("no such key");
    for (const auto &[key, row] : panel.rows.all())
        QVERIFY2(!row.needs_update, key.c_str());
    panel.rows.set_value("no such key", 1, true);
    QVERIFY(!panel.rows.row("no such key"));
    QCOMPARE(panel.rows.all().size(), catalogue().property_keys.size());
}

void PanelRowsTest::a_refreshed_row_needs_no_refresh()
{
    SelectedRows panel;
    const auto device = loudspeaker("delay", 1);
    panel.select({device.get()});
    for (const std::string &key : catalogue().property_keys)
        panel.rows.refresh(key, panel.selection);
    panel.rows.mark("dsp/delay");
    QVERIFY(panel.rows.needs_refresh());
    panel.rows.refresh("dsp/delay", panel.selection);
    QVERIFY(!panel.row("dsp/delay").needs_update);
}

void PanelRowsTest::a_refresh_marks_by_the_flags_of_the_last_one()
{
    SelectedRows panel;
    const auto device = loudspeaker("bank", 1);
    panel.selection = {device.get()};
    panel.rows.refresh("dsp/preset", panel.selection);
    QVERIFY(!panel.row("dsp/preset").needs_update);
    panel.rows.refresh("dsp/bank", panel.selection); // it had no flags so far
    QVERIFY(!panel.row("dsp/preset").needs_update);
    panel.rows.refresh("dsp/bank", panel.selection);
    QVERIFY(panel.row("dsp/preset").needs_update);
}

void PanelRowsTest::an_edit_marks_what_follows_it()
{
    SelectedRows panel;
    const auto device = loudspeaker("bank", 1);
    panel.select({device.get()});
    panel.rows.refresh("dsp/preset", panel.selection);
    QVERIFY(!panel.row("dsp/preset").needs_update);
    QVERIFY(panel.rows.edit("dsp/bank", 3));
    QVERIFY(panel.row("dsp/preset").needs_update);
    QVERIFY(panel.row("dsp/bank").edited);
    QCOMPARE(panel.row("dsp/bank").value, QVariant(3));
}

void PanelRowsTest::a_refused_edit_changes_nothing()
{
    SelectedRows panel;
    const auto device = loudspeaker("bank", 1);
    panel.select({device.get()});
    panel.rows.refresh("dsp/preset", panel.selection);
    QVERIFY(!panel.rows.edit("dsp/bank", refused("value is too large")));
    QVERIFY(!panel.row("dsp/bank").edited);
    QCOMPARE(panel.row("dsp/bank").value, QVariant(1));
    QVERIFY(!panel.row("dsp/preset").needs_update);
    // No value is a value: the row was set back to "...".
    QVERIFY(panel.rows.edit("dsp/bank", QVariant()));
    QVERIFY(panel.row("dsp/bank").edited);
}

void PanelRowsTest::edits_survive_a_refresh_until_they_are_dropped()
{
    SelectedRows panel;
    const auto device = loudspeaker("delay", 1);
    panel.select({device.get()});
    panel.edit("dsp/delay", 7.0);
    panel.refresh_all();
    QCOMPARE(panel.row("dsp/delay").value, QVariant(7.0));
    panel.rows.drop_edits();
    QCOMPARE(panel.row("dsp/delay").value, QVariant(7.0)); // until it is refreshed
    panel.refresh_all();
    QCOMPARE(panel.row("dsp/delay").value, QVariant(1));
    QVERIFY(!panel.rows.changes_for(*device));
}

void PanelRowsTest::a_hidden_row_keeps_its_value_and_takes_the_flags_of_the_leader()
{
    SelectedRows panel;
    const auto device = loudspeaker("bank", 2);
    const auto other = module();
    panel.select({device.get()});
    QCOMPARE(panel.row("dsp/bank").value, QVariant(2));
    panel.select({device.get(), other.get()});
    QVERIFY(!panel.is_shown("dsp/bank"));
    QCOMPARE(panel.row("dsp/bank").value, QVariant(2));
    QVERIFY((panel.row("dsp/bank").desc.flags & PF_DRIVES_PRESETS) != 0);
}

void PanelRowsTest::a_hidden_row_drives_no_choices()
{
    const QJsonObject manual{{"en", true}, {"cc", 2}};
    const auto with_stream
        = device_from_report(report_of(1000, {{"stream", QJsonObject{{"rtp", manual}}}}));
    const QJsonArray list{QJsonObject{{"n", "a"}, {"i", "x"}, {"c", 5}}};
    const auto with_session = device_from_report(report_of(
        11, {{"streams", QJsonObject{{"list", list}}}, {"stream", QJsonObject{{"name", "a"}}}}));
    SelectedRows panel;
    panel.select({with_stream.get()});
    QCOMPARE(panel.row("stream/ch0").desc.choices.size(), std::size_t{3});
    panel.select({with_session.get()});
    QVERIFY(!panel.is_shown("stream/rtp/en"));
    QCOMPARE(panel.row("stream/rtp/en").value, QVariant(true));
    QCOMPARE(panel.row("stream/ch0").desc.choices.size(), std::size_t{6});
}

void PanelRowsTest::a_meter_is_for_one_device()
{
    const auto one = loudspeaker("delay", 1);
    const auto other = loudspeaker("delay", 1);
    for (Device *device : {one.get(), other.get()})
        device->properties.own("rtp/lock").kind = PROP_METER;
    SelectedRows panel;
    panel.select({one.get()});
    QVERIFY(panel.is_shown("rtp/lock"));
    panel.select({one.get(), other.get()});
    QVERIFY(!panel.is_shown("rtp/lock"));
}

void PanelRowsTest::the_first_refusal_goes_by_key_and_looks_at_edited_rows_only()
{
    SelectedRows panel;
    const auto device = loudspeaker("delay", 1);
    panel.select({device.get()});
    const auto refuse_all
        = [](const std::string &key) { return refused(QString::fromStdString(key)); };
    QVERIFY(!panel.rows.first_refusal(refuse_all));
    panel.edit("ui/name", "x");
    panel.edit("dsp/delay", 3);
    const std::optional<RefusedRow> first = panel.rows.first_refusal(refuse_all);
    QVERIFY(first);
    QCOMPARE(first->label, std::string("Delay"));
    QCOMPARE(first->reason, QString("dsp/delay"));
    QVERIFY(!panel.rows.first_refusal([](const std::string &) { return QVariant(1); }));
}

void PanelRowsTest::a_row_changes_a_selection_when_it_changes_one_device()
{
    SelectedRows panel;
    const auto first = loudspeaker("level", 2);
    const auto second = loudspeaker("level", 4);
    panel.select({first.get(), second.get()});
    QVERIFY(!panel.rows.changes_any("dsp/level", panel.selection)); // mixed, but nothing edited
    panel.edit("dsp/level", 2);
    QVERIFY(panel.rows.changes_any("dsp/level", panel.selection));
    QVERIFY(!panel.rows.changes_any("dsp/level", {first.get()}));
    panel.edit("dsp/level", QVariant());
    QVERIFY(!panel.rows.changes_any("dsp/level", panel.selection));
    QVERIFY(!panel.rows.changes_any("no such key", panel.selection));
}

void PanelRowsTest::properties_that_some_lack_are_counted()
{
    SelectedRows panel;
    const auto one = loudspeaker("level", 2);
    const auto like_it = loudspeaker("level", 4);
    panel.select({one.get(), like_it.get()});
    QCOMPARE(panel.rows.count_unshared(panel.selection), 0);
    QCOMPARE(panel.rows.count_unshared({}), 0);
    // A row that all have, and that is hidden for another reason, is no such property.
    like_it->properties.own("dsp/delay").decimals = 1;
    panel.select({one.get(), like_it.get()});
    QVERIFY(!panel.is_shown("dsp/delay"));
    QCOMPARE(panel.rows.count_unshared(panel.selection), 0);

    const auto other = module();
    panel.select({one.get(), other.get()});
    int expected = 0;
    for (const std::string &key : catalogue().property_keys) {
        const Device *owner = one->properties.count(key) ? one.get() : other.get();
        const bool shared = one->properties.count(key) && other->properties.count(key);
        const auto desc = owner->properties.find(key);
        if (shared || desc == owner->properties.end() || key.rfind("dummy/", 0) == 0)
            continue;
        expected += (desc->second.flags & PF_NO_ROW) == 0;
    }
    QVERIFY(expected > 20);
    QCOMPARE(panel.rows.count_unshared(panel.selection), expected);
}

QTEST_GUILESS_MAIN(PanelRowsTest)
#include "panel_rows_test.moc"

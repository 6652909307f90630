// Choices that depend on other rows, and how a combo box shows a value.
#include "gui/choices.h"
#include "support/vectors.h"

#include <QtTest>

class ChoicesTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void presets_are_as_computed_elsewhere_data() { add_vector_rows("choices", "preset"); }
    void presets_are_as_computed_elsewhere();
    void channels_are_as_computed_elsewhere_data() { add_vector_rows("choices", "channels"); }
    void channels_are_as_computed_elsewhere();
    void sessions_are_as_computed_elsewhere_data() { add_vector_rows("choices", "sessions"); }
    void sessions_are_as_computed_elsewhere();
    void combo_is_as_computed_elsewhere_data() { add_vector_rows("choices", "combo"); }
    void combo_is_as_computed_elsewhere();
    void other_rows_keep_their_choices();
    void broken_session_leaves_disabled_alone();
    void disabled_source_channel_is_minus_one();
    void hostile_channel_counts_fill_no_memory();
    void hostile_products_and_banks_have_no_presets_or_the_first();
    void two_sessions_stand_behind_disable();
    void sessions_of_one_name_keep_the_devices_order();
    void sessions_that_are_alike_compare_equal();
    void numbers_that_are_not_found_are_shown_one_higher_for_source_channels_only();
};

namespace {

using Rows = std::map<std::string, Property>;

PropertyLookup lookup_in(const Rows &rows)
{
    return [rows](const std::string &key) {
        const auto found = rows.find(key);
        return found == rows.end() ? OtherRow()
                                   : OtherRow{&found->second.desc, &found->second.value};
    };
}

QJsonArray labels_and_values(const std::vector<PropertyChoice> &choices)
{
    QJsonArray list;
    for (const PropertyChoice &choice : choices)
        list.append(QJsonArray{QJsonValue::fromVariant(choice.value),
                               QString::fromStdString(choice.label)});
    return list;
}

Property source_channel_row()
{
    return {.desc = {.key = "stream/ch0",
                     .flags = PF_SOURCE_CHANNEL,
                     .kind = PROP_CHOICE,
                     .user_value = static_cast<qulonglong>(0)}};
}

std::vector<PropertyChoice> sessions_from(const QJsonArray &list)
{
    std::vector<PropertyChoice> choices;
    for (const QJsonValue &session : list) {
        const QJsonArray fields = session.toArray();
        const session_item item{.name = fields.at(0).toString(),
                                .info = fields.at(1).toString(),
                                .channels = fields.at(2).toInt()};
        choices.push_back({.value = item.name, .label = {}, .data = QVariant::fromValue(item)});
    }
    return choices;
}

std::vector<PropertyChoice> channels_for_count(const QVariant &count)
{
    Property row = source_channel_row();
    update_dynamic_choices(
        row.desc,
        lookup_in({{"stream/rtp/en", {.value = true}}, {"stream/rtp/cc", {.value = count}}}));
    return row.desc.choices;
}

std::vector<PropertyChoice> presets_for(const QVariant &product, const QVariant &bank)
{
    Property row{.desc = {.key = "dsp/preset", .kind = PROP_CHOICE}};
    update_dynamic_choices(
        row.desc, lookup_in({{"product_id", {.value = product}}, {"dsp/bank", {.value = bank}}}));
    return row.desc.choices;
}

} // namespace

void ChoicesTest::initTestCase()
{
    build_catalogue();
    register_session_item();
}

void ChoicesTest::presets_are_as_computed_elsewhere()
{
    QFETCH(QJsonObject, input);
    QFETCH(QJsonObject, expect);
    const std::vector<PropertyChoice> choices
        = presets_for(typed_value(input.value("product").toObject()),
                      typed_value(input.value("bank").toObject()));
    QCOMPARE(labels_and_values(choices), expect.value("choices").toArray());
    for (const PropertyChoice &choice : choices) {
        QCOMPARE(choice.value.userType(), static_cast<int>(QMetaType::Int));
        QVERIFY(!choice.data.isValid());
    }
}

void ChoicesTest::channels_are_as_computed_elsewhere()
{
    QFETCH(QJsonObject, input);
    QFETCH(QJsonObject, expect);
    const QJsonObject name = input.value("name").toObject();
    const Rows rows{
        {"stream/name",
         {.desc = {.kind = name.value("exists").toBool() ? PROP_CHOICE : PROP_NONE,
                   .choices = sessions_from(name.value("choices").toArray())},
          .value = typed_value(name.value("value").toObject())}},
        {"stream/rtp/en", {.value = typed_value(input.value("en").toObject())}},
        {"stream/rtp/cc", {.value = typed_value(input.value("cc").toObject())}},
    };

    Property row = source_channel_row();
    row.desc.user_value = typed_value(input.value("user_value").toObject());
    row.desc.choices = {{.value = 77, .label = "before", .data = {}}};
    update_dynamic_choices(row.desc, lookup_in(rows));

    const QJsonArray unchanged{QJsonValue(QJsonArray{77, "before"})};
    QCOMPARE(labels_and_values(row.desc.choices),
             expect.contains("unchanged") ? unchanged : expect.value("choices").toArray());
}

void ChoicesTest::sessions_are_as_computed_elsewhere()
{
    QFETCH(QJsonObject, input);
    QFETCH(QJsonObject, expect);
    std::vector<session_item> sessions;
    for (const QJsonValue &session : input.value("list").toArray())
        sessions.push_back({.name = session.toObject().value("n").toString(),
                            .info = session.toObject().value("i").toString(),
                            .channels = session.toObject().value("c").toInt()});

    QJsonArray list;
    for (const PropertyChoice &choice : session_choices(sessions)) {
        const QJsonValue channels = choice.data.isValid()
            ? QJsonValue(choice.data.value<session_item>().channels)
            : QJsonValue();
        list.append(
            QJsonArray{choice.value.toString(), QString::fromStdString(choice.label), channels});
    }
    QCOMPARE(list, expect.value("choices").toArray());
}

void ChoicesTest::combo_is_as_computed_elsewhere()
{
    QFETCH(QJsonObject, input);
    QFETCH(QJsonObject, expect);
    PropertyDesc desc{.kind = PROP_CHOICE};
    if (input.value("source_channel").toBool())
        desc.flags = PF_SOURCE_CHANNEL;
    QJsonArray items;
    for (const QJsonValue &choice : input.value("choices").toArray()) {
        desc.choices.push_back({.value = typed_value(choice.toArray().at(0).toObject()),
                                .label = choice.toArray().at(1).toString().toStdString(),
                                .data = {}});
        items.append(choice.toArray().at(1));
    }

    const ComboState state = combo_state(desc, typed_value(input.value("value").toObject()),
                                         input.value("uniform").toBool());
    if (state.has_extra)
        items.append(state.extra_text);
    QCOMPARE(items, expect.value("items").toArray());
    QCOMPARE(state.current, expect.value("current").toInt());
}

void ChoicesTest::other_rows_keep_their_choices()
{
    Property row{.desc = {.key = "dsp/level",
                          .kind = PROP_CHOICE,
                          .choices = {{.value = 1, .label = "x", .data = {}}}}};
    update_dynamic_choices(row.desc, [](const std::string &) -> OtherRow {
        qFatal("a row that depends on nothing looks nothing up");
    });
    QCOMPARE(row.desc.choices.size(), std::size_t{1});
}

void ChoicesTest::broken_session_leaves_disabled_alone()
{
    Property row = source_channel_row();
    const Property session{
        .desc = {.kind = PROP_CHOICE, .choices = {{.value = "a", .label = "a ()", .data = "?"}}},
        .value = "a"};
    update_dynamic_choices(row.desc, lookup_in({{"stream/name", session}}));
    QCOMPARE(labels_and_values(row.desc.choices),
             (QJsonArray{QJsonValue(QJsonArray{-1.0, "Disabled"})}));
}

void ChoicesTest::disabled_source_channel_is_minus_one()
{
    const std::vector<PropertyChoice> choices = channels_for_count(1);
    QCOMPARE(choices.size(), std::size_t{2});
    QCOMPARE(choices.back().value, QVariant(-1.0));
    for (const PropertyChoice &choice : choices)
        QCOMPARE(choice.value.userType(), static_cast<int>(QMetaType::Double));
}

void ChoicesTest::hostile_channel_counts_fill_no_memory()
{
    QCOMPARE(channels_for_count(std::numeric_limits<int>::max()).size(), std::size_t{1025});
    QCOMPARE(channels_for_count(std::numeric_limits<int>::min()).size(), std::size_t{1});
    QCOMPARE(channels_for_count(1e300).size(), std::size_t{1});
    QCOMPARE(channels_for_count(qQNaN()).size(), std::size_t{1});
}

void ChoicesTest::hostile_products_and_banks_have_no_presets_or_the_first()
{
    QVERIFY(presets_for(1e300, 1).empty());
    QVERIFY(presets_for(4294967307LL, 1).empty()); // 2^32 + 11
    QVERIFY(presets_for("eleven", 1).empty());
    QVERIFY(!presets_for("11", 1).empty());
    const std::size_t names = presets_for(11, 1).size();
    QCOMPARE(presets_for(11, std::numeric_limits<int>::min()).size(), names);
    QCOMPARE(presets_for(11, std::numeric_limits<int>::max()).size(), names);
}

void ChoicesTest::two_sessions_stand_behind_disable()
{
    const std::vector<PropertyChoice> choices
        = session_choices({{.name = "b", .info = "x"}, {.name = "a", .info = "y"}});
    QCOMPARE(choices.size(), std::size_t{3});
    QCOMPARE(choices[0].label, std::string("<disable>"));
    QCOMPARE(choices[0].value, QVariant(QString("")));
    QVERIFY(!choices[0].data.isValid());
    QCOMPARE(choices[1].label, std::string("a (y)"));
    QCOMPARE(choices[2].label, std::string("b (x)"));
}

void ChoicesTest::sessions_of_one_name_keep_the_devices_order()
{
    std::vector<session_item> sessions;
    for (int channels = 0; channels < 100; ++channels)
        sessions.push_back({.name = "a", .info = "x", .channels = channels});
    const std::vector<PropertyChoice> choices = session_choices(sessions);
    for (size_t i = 0; i < sessions.size(); ++i)
        QCOMPARE(choices[i + 1].data.value<session_item>().channels, static_cast<int>(i));
}

void ChoicesTest::sessions_that_are_alike_compare_equal()
{
    register_session_item();
    const std::vector<session_item> sessions{{.name = "a", .info = "x", .channels = 2}};
    QVERIFY(session_choices(sessions) == session_choices(sessions));
}

void ChoicesTest::numbers_that_are_not_found_are_shown_one_higher_for_source_channels_only()
{
    PropertyDesc desc{.kind = PROP_CHOICE};
    QCOMPARE(combo_state(desc, 4, true).extra_text, QString("4 (not found)"));
    desc.flags = PF_SOURCE_CHANNEL;
    const ComboState state = combo_state(desc, 4, true);
    QCOMPARE(state.extra_text, QString("5 (not found)"));
    QCOMPARE(state.extra_data, QVariant(4)); // the item still stands for what the device said
    QCOMPARE(combo_state(desc, "left", true).extra_text, QString("left (not found)"));
    QVERIFY(!combo_state(desc, 4, false).extra_data.isValid());
}

QTEST_GUILESS_MAIN(ChoicesTest)
#include "choices_test.moc"

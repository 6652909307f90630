// From descriptors to JSON and back.
#include "model/json_path.h"
#include "support/allocation_count.h"
#include "support/vectors.h"

#include <QtTest>

namespace {

std::vector<std::string> read_path(const QJsonValue &value)
{
    std::vector<std::string> path;
    for (const QJsonValue &component : value.toArray())
        path.push_back(component.toString().toStdString());
    return path;
}

PropertyDesc desc_of(PropertyKind kind)
{
    return {.path = {"a"}, .kind = kind};
}

} // namespace

class JsonPathTest : public QObject
{
    Q_OBJECT

private slots:
    void golden_writes_data() { add_vector_rows("json_set", "set"); }
    void golden_writes()
    {
        QFETCH(QJsonObject, input);
        QFETCH(QJsonObject, expect);
        QJsonObject object = input.value("object").toObject();
        json_set_path(object, read_path(input.value("path")), input.value("value"));
        QCOMPARE(object, expect.value("object").toObject());
    }

    void golden_reads_data() { add_vector_rows("json_set", "get"); }
    void golden_reads()
    {
        QFETCH(QJsonObject, input);
        QFETCH(QJsonObject, expect);
        const QJsonValue value
            = json_get_path(input.value("object").toObject(), read_path(input.value("path")));
        QCOMPARE(value.isUndefined(), expect.value("undefined").toBool());
        if (!value.isUndefined())
            QCOMPARE(value, expect.value("value"));
    }

    void golden_values_data() { add_vector_rows("json_value"); }
    void golden_values()
    {
        QFETCH(QJsonObject, input);
        QFETCH(QJsonObject, expect);
        const PropertyDesc desc{.path = read_path(input.value("path")),
                                .kind = static_cast<PropertyKind>(input.value("kind").toInt())};
        const QVariant value = value_from_json(input.value("object").toObject(), desc);
        const QVariant wanted = typed_value(expect);
        QCOMPARE(value.isValid(), wanted.isValid());
        QCOMPARE(value, wanted);
        if (expect.value("t").toString() != "number")
            QCOMPARE(value.userType(), wanted.userType());
    }

    void whole_numbers_are_whole_and_fit()
    {
        const PropertyDesc desc = desc_of(PROP_INT);
        QCOMPARE(value_from_json({{"a", 48.0}}, desc), QVariant(48));
        QVERIFY(!value_from_json({{"a", 48.5}}, desc).isValid());
        QVERIFY(!value_from_json({{"a", "5"}}, desc).isValid());
        QCOMPARE(value_from_json({{"a", -2147483648.0}}, desc), QVariant(-2147483647 - 1));
        QCOMPARE(value_from_json({{"a", 2147483647.0}}, desc), QVariant(2147483647));
        for (const double number : {3e9, -3e9, 1e300, -1e300, qInf(), qQNaN()})
            QVERIFY(!value_from_json({{"a", number}}, desc).isValid());
    }

    void a_choice_takes_any_type()
    {
        const PropertyDesc desc = desc_of(PROP_CHOICE);
        QCOMPARE(value_from_json({{"a", "5"}}, desc), QVariant("5"));
        QCOMPARE(value_from_json({{"a", true}}, desc), QVariant(true));
        QVERIFY(value_from_json({{"a", QJsonArray{1}}}, desc).isValid());
        QVERIFY(!value_from_json({{"a", QJsonValue()}}, desc).isValid());
    }

    void a_list_as_long_as_a_datagram_is_no_choice_and_takes_no_memory()
    {
        QJsonArray lists;
        for (int i = 0; i < 15000; ++i)
            lists.append(i);
        const PropertyDesc desc = desc_of(PROP_CHOICE);
        QCOMPARE(value_from_json({{"a", lists}}, desc), QVariant(QVariantList()));
        const QJsonObject deep{{"b", lists}};
        QCOMPARE(value_from_json({{"a", deep}}, desc), QVariant(QVariantMap()));
    }

    void kinds_without_a_value_read_none()
    {
        for (const int kind : {0, 1, 10, 11, 77})
            QVERIFY(
                !value_from_json({{"a", 1}}, desc_of(static_cast<PropertyKind>(kind))).isValid());
    }

    // A reader keeps what it has opened on its way to the path before.
    void paths_in_any_order_are_read_as_each_one_alone()
    {
        const QJsonObject object{
            {"a",
             QJsonObject{{"b", QJsonObject{{"x", 1}, {"y", 2}}}, {"c", QJsonObject{{"x", 3}}}}},
            {"c", QJsonObject{{"x", 4}, {"b", QJsonObject{{"y", 5}}}}},
            {"x", 6}};
        const std::vector<std::vector<std::string>> paths{
            {"a", "b", "x"}, {"c", "x"},      {"a", "b", "y"}, {"x"},          {"a", "c", "x"},
            {"c", "b", "y"}, {"a", "b", "z"}, {"a", "x"},      {"c", "b", "x"}};
        for (size_t first = 0; first < paths.size(); ++first) {
            JsonPathReader reader(object);
            for (size_t step = 1; step <= paths.size(); ++step)
                for (size_t i = first; i < paths.size(); i += step)
                    QCOMPARE(reader.read(paths[i]), json_get_path(object, paths[i]));
        }
    }

    void a_path_is_read_after_a_longer_one_that_begins_with_it()
    {
        const QJsonObject object{{"a", QJsonObject{{"b", 1}, {"a", 2}}}};
        JsonPathReader reader(object);
        QCOMPARE(reader.read({"a", "b"}), QJsonValue(1));
        QCOMPARE(reader.read({"a"}), object.value("a"));
    }

    void an_empty_path_reads_nothing_and_writes_nothing()
    {
        QVERIFY(json_get_path({{"a", 1}}, {}).isUndefined());
        QJsonObject object{{"a", 1}};
        json_set_path(object, {}, 5);
        QCOMPARE(object, (QJsonObject{{"a", 1}}));
    }

    void a_number_on_the_way_becomes_an_object_and_siblings_stay()
    {
        QJsonObject object{{"stream", 5}, {"ui", QJsonObject{{"name", "x"}}}};
        json_set_path(object, {"stream", "rtp", "en"}, true);
        json_set_path(object, {"stream", "rtp", "ip"}, "1.2.3.4");
        json_set_path(object, {"ui", "loc"}, "y");
        const QJsonObject rtp{{"en", true}, {"ip", "1.2.3.4"}};
        QCOMPARE(object.value("stream").toObject(), (QJsonObject{{"rtp", rtp}}));
        QCOMPARE(object.value("ui").toObject(), (QJsonObject{{"name", "x"}, {"loc", "y"}}));
    }

    // A backup sets hundreds of members of one report.
    void a_member_is_set_without_a_copy_of_the_others()
    {
        QJsonObject object{
            {"dsp", QJsonObject{{"eq", QJsonObject{{"gain", 1}, {"q", 2}}}, {"level", 3}}}};
        const std::vector<std::string> path = {"dsp", "eq", "gain"};
        const size_t before = allocations;
        json_set_path(object, path, 5);
        QCOMPARE(static_cast<size_t>(allocations) - before, size_t{0});
        const QJsonObject eq{{"gain", 5}, {"q", 2}};
        QCOMPARE(object, (QJsonObject{{"dsp", QJsonObject{{"eq", eq}, {"level", 3}}}}));
    }

    void whoever_shares_the_object_keeps_its_own()
    {
        QJsonObject object{{"dsp", QJsonObject{{"eq", QJsonObject{{"gain", 1}}}}}};
        const QJsonObject whole = object;
        const QJsonObject inner = object.value("dsp").toObject();
        json_set_path(object, {"dsp", "eq", "gain"}, 5);
        QCOMPARE(whole, (QJsonObject{{"dsp", QJsonObject{{"eq", QJsonObject{{"gain", 1}}}}}}));
        QCOMPARE(inner, (QJsonObject{{"eq", QJsonObject{{"gain", 1}}}}));
        QCOMPARE(json_get_path(object, {"dsp", "eq", "gain"}), QJsonValue(5));
    }

    // A step's name of more than fifteen letters has to be kept in memory of its own.
    void what_two_paths_share_is_walked_once()
    {
        const std::vector<std::string> step = {"a step with a long name", "another of these names"};
        const QJsonObject inner{{"one", 1}, {"two", 2}};
        const QJsonObject object{{step[0].c_str(), QJsonObject{{step[1].c_str(), inner}}}};
        JsonPathReader reader(object);
        const std::vector<std::string> first = {step[0], step[1], "one"};
        const std::vector<std::string> second = {step[0], step[1], "two"};
        QCOMPARE(reader.read(first).toInt(), 1);
        const size_t before = allocations;
        const QJsonValue value = reader.read(second);
        QCOMPARE(static_cast<size_t>(allocations) - before, size_t{0});
        QCOMPARE(value.toInt(), 2);
    }
};

QTEST_GUILESS_MAIN(JsonPathTest)
#include "json_path_test.moc"

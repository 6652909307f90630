// The built-in tables: every descriptor, every product, every key.
#include "gui/column_rules.h"
#include "model/meta.h"
#include "support/vectors.h"

#include <QtTest>

#include <cmath>

namespace {

double bound(const QJsonValue &value)
{
    if (value.isString())
        return value.toString() == "inf" ? qInf() : -qInf();
    return value.toDouble();
}

QJsonArray texts(const std::vector<std::string> &list)
{
    QJsonArray array;
    for (const std::string &text : list)
        array.append(QString::fromStdString(text));
    return array;
}

QJsonArray numbers(const std::set<int> &set)
{
    QJsonArray array;
    for (const int number : set)
        array.append(number);
    return array;
}

QJsonArray choice_pairs(const std::vector<PropertyChoice> &choices)
{
    QJsonArray array;
    for (const PropertyChoice &choice : choices) {
        if (choice.value.userType() != QMetaType::Int || choice.data.isValid())
            return {};
        array.append(QJsonArray{choice.value.toInt(), QString::fromStdString(choice.label)});
    }
    return array;
}

const PropertyDesc &desc_of(int product, const std::string &key)
{
    return find_product(product).properties.at(key);
}

} // namespace

class CatalogueTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { build_catalogue(); }

    void golden_rows_data()
    {
        QTest::addColumn<QJsonObject>("input");
        QTest::addColumn<QJsonObject>("expect");
        for (const QJsonValue &value : vector_cases("catalogue")) {
            const QJsonObject one = value.toObject();
            const QJsonObject input = one.value("input").toObject();
            const QString name = input.value("table").toString() + " "
                + QString::number(input.value("index").toInt()) + " " + one.value("why").toString();
            QTest::newRow(qPrintable(name)) << input << one.value("expect").toObject();
        }
    }
    void golden_rows()
    {
        QFETCH(QJsonObject, input);
        QFETCH(QJsonObject, expect);
        const QString table = input.value("table").toString();
        const auto index = static_cast<size_t>(input.value("index").toInt());
        if (table == "generic")
            compare_desc(catalogue().generic_properties.at(index), expect);
        else if (table == "eq")
            compare_desc(make_eq_properties().at(index), expect);
        else if (table == "keys")
            compare_keys(expect);
        else if (table == "product_choices")
            compare_product_choices(expect);
        else if (table == "product")
            compare_product(catalogue().product_table.at(index), expect);
        else if (table == "lookup")
            compare_lookup(input, expect);
        else
            QFAIL("unknown table");
    }

    // Fails by design for a new product or property: here alone it is stated how many there are, so
    // that no row comes or goes by accident.
    void there_are_as_many_products_and_properties_as_were_meant()
    {
        QCOMPARE(catalogue().product_table.size(), size_t(34));
        QCOMPARE(catalogue().property_keys.size(), size_t(89));
        QCOMPARE(catalogue().generic_properties.size(), size_t(59));
        QCOMPARE(list_columns().size(), size_t(83));
    }

    void a_second_build_changes_nothing()
    {
        const Catalogue *first = &catalogue();
        const Catalogue before = *first;
        build_catalogue();
        QCOMPARE(&catalogue(), first);
        QCOMPARE(first->property_keys, before.property_keys);
        QCOMPARE(first->product_table.size(), before.product_table.size());
        QCOMPARE(first->generic_properties.size(), before.generic_properties.size());
    }

    void an_unknown_number_gives_the_first_row()
    {
        QCOMPARE(find_product(9999).name, std::string("KV8127 Quality Control"));
        QCOMPARE(find_product(-2147483647).name, std::string("KV8127 Quality Control"));
        QCOMPARE(find_product(0).name, std::string("<unknown>"));
    }

    void banks_follow_the_presets()
    {
        QCOMPARE(desc_of(29, "dsp/bank").max, 1.0);
        QCOMPARE(find_product(29).preset_names, (std::vector<std::vector<std::string>>{{"1"}}));
        QCOMPARE(desc_of(3, "dsp/bank").max, 3.0);
    }

    void without_banks_the_highest_is_two()
    {
        QCOMPARE(highest_bank(0), 2.0);
        QCOMPARE(highest_bank(1), 1.0);
        QCOMPARE(highest_bank(5), 5.0);
    }

    void channels_follow_the_product()
    {
        for (const ProductDesc &product : catalogue().product_table) {
            const bool has_dsp = product.capabilities.count(CAP_DSP) != 0;
            QCOMPARE(product.properties.count("dsp/bank") != 0, has_dsp);
            if (has_dsp && product.channels == 1) {
                QVERIFY(product.properties.count("stream/ch0") != 0);
                QVERIFY(product.properties.count("stream/ch1") == 0);
            }
            if (product.capabilities == std::set<int>{CAP_DSP})
                for (const auto &[key, desc] : product.properties)
                    QVERIFY(key.rfind("stream_tx", 0) != 0);
        }
        for (const int product : {1, 2})
            QVERIFY(find_product(product).properties.count("stream/ch1") != 0);
        for (int channel = 0; channel < 8; ++channel)
            QVERIFY(find_product(0).properties.count("stream/ch" + std::to_string(channel)) != 0);
    }

    void the_bridge_has_eight_selectors_of_32_channels()
    {
        const PropertyMap &properties = find_product(2001).properties;
        QVERIFY(properties.count("stream_tx/ch7") != 0);
        QVERIFY(properties.count("stream_tx/ch8") == 0);
        const auto &choices = properties.at("stream_tx/ch7").choices;
        QCOMPARE(choices.size(), size_t(32));
        QCOMPARE(choices.front().label, std::string("1"));
        QCOMPARE(choices.front().value, QVariant(0));
        QCOMPARE(choices.back().label, std::string("32"));
        const auto &counts = properties.at("stream_tx/channel_count").choices;
        QCOMPARE(counts.size(), size_t(32));
        QCOMPARE(counts.front().value, QVariant(1));
        QCOMPARE(counts.back().value, QVariant(32));
    }

    void only_an_unknown_device_may_be_given_a_product()
    {
        for (const ProductDesc &product : catalogue().product_table) {
            const PropertyDesc &desc = product.properties.at("product_id");
            QCOMPARE(desc.choices.size(), catalogue().product_table.size());
            QCOMPARE((desc.flags & PF_READONLY) == 0, product.product_id == 0);
            QVERIFY(!(desc.flags & PF_FOLLOWS_PRODUCT));
        }
    }

    void pseudo_rows_have_paths_of_three()
    {
        const PropertyDesc &row = desc_of(0, "dummy/load_restore/0");
        QCOMPARE(row.label, std::string());
        QCOMPARE(row.user_value, QVariant(4096));
        for (const std::vector<PropertyDesc> &list :
             {catalogue().generic_properties, make_eq_properties()})
            for (const PropertyDesc &desc : list)
                if (desc.kind == PROP_DUMMY) {
                    QVERIFY(desc.path.size() >= 3);
                    QCOMPARE(desc.path[0], std::string("dummy"));
                }
    }

    void a_change_marks_what_follows_it()
    {
        QCOMPARE(stale_mask(PF_DRIVES_PRESETS), uint32_t(PF_FOLLOWS_BANK));
        QCOMPARE(stale_mask(PF_DRIVES_CHANNELS), uint32_t(PF_FOLLOWS_STREAM));
        QCOMPARE(stale_mask(PF_DRIVES_ALL), uint32_t(PF_FOLLOWS_PRODUCT));
        QCOMPARE(stale_mask(0x2A0), 0x540U);
        QCOMPARE(stale_mask(PF_EQ | PF_BACKUP), 0U);
    }

    void whatever_shapes_an_editor_makes_another_of_it()
    {
        const PropertyDesc desc = catalogue().product_table.at(5).properties.at("dsp/eq0/freq");
        QVERIFY(desc.same_editor(PropertyDesc(desc)));
        const std::vector<void (*)(PropertyDesc &)> changes{
            [](PropertyDesc &other) { other.key += "x"; },
            [](PropertyDesc &other) { other.path.push_back("x"); },
            [](PropertyDesc &other) { other.label += "x"; },
            [](PropertyDesc &other) { other.kind = PROP_FLOAT; },
            [](PropertyDesc &other) { other.min -= 1.0; },
            [](PropertyDesc &other) { other.max += 1.0; },
            [](PropertyDesc &other) { other.unit += "x"; },
            [](PropertyDesc &other) { other.decimals += 1; },
            [](PropertyDesc &other) { other.choices.push_back({.value = 1, .label = "x"}); },
            [](PropertyDesc &other) { other.user_value = 1; }};
        for (size_t i = 0; i < changes.size(); ++i) {
            PropertyDesc other = desc;
            changes[i](other);
            QVERIFY2(!desc.same_editor(other), qPrintable(QString::number(i)));
        }
    }

    void flags_and_needs_do_not_count_as_another_editor()
    {
        PropertyDesc desc = desc_of(3, "dsp/bank");
        PropertyDesc other = desc;
        other.flags = 0;
        other.needs.clear();
        QVERIFY(desc.same_editor(other));
        other.decimals = 1;
        QVERIFY(!desc.same_editor(other));
    }

private:
    static void compare_desc(const PropertyDesc &desc, const QJsonObject &expect)
    {
        QCOMPARE(desc.key, std::string());
        QCOMPARE(texts(desc.path), expect.value("path").toArray());
        QCOMPARE(numbers(desc.needs), expect.value("needs").toArray());
        QCOMPARE(QString::fromStdString(desc.label), expect.value("label").toString());
        QCOMPARE(static_cast<int>(desc.flags), expect.value("flags").toInt());
        QCOMPARE(static_cast<int>(desc.kind), expect.value("kind").toInt());
        QCOMPARE(desc.min, bound(expect.value("min")));
        if (expect.value("max").toString() != "per product")
            QCOMPARE(desc.max, bound(expect.value("max")));
        QCOMPARE(QString::fromStdString(desc.unit), expect.value("unit").toString());
        QCOMPARE(desc.decimals, expect.value("decimals").toInt());
        QCOMPARE(choice_pairs(desc.choices), expect.value("choices").toArray());
        const QVariant user_value = typed_value(expect.value("user_value").toObject());
        QCOMPARE(desc.user_value, user_value);
        QCOMPARE(desc.user_value.userType(), user_value.userType());
    }

    static void compare_keys(const QJsonObject &expect)
    {
        QCOMPARE(static_cast<int>(catalogue().property_keys.size()), expect.value("count").toInt());
        QCOMPARE(texts(catalogue().property_keys), expect.value("keys").toArray());
    }

    static void compare_product_choices(const QJsonObject &expect)
    {
        for (const ProductDesc &product : catalogue().product_table)
            QCOMPARE(choice_pairs(product.properties.at("product_id").choices),
                     expect.value("choices").toArray());
    }

    static void compare_product(const ProductDesc &product, const QJsonObject &expect)
    {
        QCOMPARE(product.product_id, expect.value("product_id").toInt());
        QCOMPARE(numbers(product.capabilities), expect.value("capabilities").toArray());
        QCOMPARE(QString::fromStdString(product.name), expect.value("name").toString());
        QCOMPARE(QString::fromStdString(product.icon), expect.value("icon").toString());
        QCOMPARE(product.channels, expect.value("channels").toInt());
        QJsonArray banks;
        for (const std::vector<std::string> &bank : product.preset_names)
            banks.append(texts(bank));
        QCOMPARE(banks, expect.value("preset_names").toArray());
        QCOMPARE(static_cast<int>(product.properties.size()), expect.value("map_size").toInt());
        const QJsonObject properties = expect.value("properties").toObject();
        QCOMPARE(static_cast<int>(product.properties.size()), properties.size());
        for (const auto &[key, desc] : product.properties)
            compare_property(desc, properties.value(QString::fromStdString(key)).toObject());
    }

    static void compare_property(const PropertyDesc &desc, const QJsonObject &expect)
    {
        QVERIFY(!expect.isEmpty());
        QCOMPARE(static_cast<int>(desc.flags), expect.value("flags").toInt());
        QCOMPARE(static_cast<int>(desc.kind), expect.value("kind").toInt());
        QCOMPARE(desc.min, bound(expect.value("min")));
        QCOMPARE(desc.max, bound(expect.value("max")));
        if (expect.contains("choices"))
            QCOMPARE(choice_pairs(desc.choices), expect.value("choices").toArray());
        else if (desc.key != "product_id")
            QCOMPARE(desc.choices, generic_choices(desc.path));
    }

    static std::vector<PropertyChoice> generic_choices(const std::vector<std::string> &path)
    {
        for (const std::vector<PropertyDesc> &list :
             {catalogue().generic_properties, make_eq_properties()})
            for (const PropertyDesc &desc : list)
                if (desc.path == path)
                    return desc.choices;
        return {{.value = "not found", .label = {}, .data = {}}};
    }

    static void compare_lookup(const QJsonObject &input, const QJsonObject &expect)
    {
        const auto id = static_cast<int32_t>(input.value("product_id").toDouble());
        const ProductDesc &product = find_product(id);
        QCOMPARE(static_cast<int>(&product - catalogue().product_table.data()),
                 expect.value("index").toInt());
        QCOMPARE(QString::fromStdString(product.name), expect.value("name").toString());
    }
};

QTEST_GUILESS_MAIN(CatalogueTest)
#include "catalogue_test.moc"

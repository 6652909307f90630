// The properties of a device: its product's, and its own where they differ.
#include "model/device_properties.h"
#include "model/device_state.h"

#include <QJsonArray>
#include <QtTest>

#include <memory>
#include <stdexcept>

namespace {

const PropertyMap &product()
{
    return find_product(3).properties;
}

QStringList keys_of(const DeviceProperties &properties)
{
    QStringList keys;
    for (const auto &[key, desc] : properties)
        keys.append(QString::fromStdString(key));
    return keys;
}

} // namespace

class DevicePropertiesTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        build_catalogue();
        register_session_item();
    }
    void init() { properties = std::make_unique<DeviceProperties>(); }

    void a_new_device_has_none()
    {
        QVERIFY(properties->empty());
        QCOMPARE(properties->size(), size_t(0));
        QVERIFY(properties->begin() == properties->end());
        QVERIFY(properties->find("dsp/level") == properties->end());
        QVERIFY_EXCEPTION_THROWN(properties->at("dsp/level"), std::out_of_range);
    }

    void those_of_its_product_are_not_copied()
    {
        *properties = product();
        QCOMPARE(properties->size(), product().size());
        auto expected = product().begin();
        for (const auto &entry : *properties)
            QCOMPARE(&entry, &*expected++);
        QCOMPARE(&properties->at("dsp/level"), &product().at("dsp/level"));
        QCOMPARE(properties->count("dsp/level"), size_t(1));
        QVERIFY(!properties->empty());
    }

    void its_own_is_seen_everywhere_and_nobody_elses()
    {
        DeviceProperties other;
        other = product();
        *properties = product();
        properties->own("dsp/level").max = 12;
        properties->own("dsp/delay").max = 34;
        properties->own("dsp/level").min = -12; // the same one
        QCOMPARE(properties->at("dsp/level").max, 12.0);
        QCOMPARE(properties->at("dsp/level").min, -12.0);
        QCOMPARE(properties->find("dsp/delay")->second.max, 34.0);
        int differing = 0;
        auto same = product().begin();
        for (const auto &[key, desc] : *properties)
            differing += &desc != &(same++)->second;
        QCOMPARE(differing, 2);
        QVERIFY(other.at("dsp/level").max != 12);
        QVERIFY(product().at("dsp/level").max != 12);
        QCOMPARE(properties->at("dsp/level").path, product().at("dsp/level").path);
    }

    void another_product_leaves_nothing_of_its_own()
    {
        for (const char *more : {"dsp/level", "one/more"}) {
            *properties = product();
            properties->own("dsp/level").max = 12;
            properties->own(more).label = "One more";
            *properties = product();
            QCOMPARE(&properties->at("dsp/level"), &product().at("dsp/level"));
            QCOMPARE(properties->size(), product().size());
            QCOMPARE(properties->count("one/more"), size_t(0));
            properties->own("dsp/level").max = 13;
            QCOMPARE(properties->at("dsp/level").max, 13.0);
        }
    }

    void a_key_that_its_product_lacks_stands_in_its_place()
    {
        *properties = product();
        QStringList expected = keys_of(*properties);
        properties->own("dsp/level").max = 12;
        properties->own("eye/catcher").label = "Eye-catcher";
        expected.append("eye/catcher");
        expected.sort();
        QCOMPARE(keys_of(*properties), expected);
        QCOMPARE(properties->at("dsp/level").max, 12.0);
        QCOMPARE(properties->at("eye/catcher").label, std::string("Eye-catcher"));
        properties->own("dsp/level").max = 13;
        QCOMPARE(properties->at("dsp/level").max, 13.0);
    }

    void what_is_taken_away_is_gone_here_alone()
    {
        *properties = product();
        properties->erase("dsp/level");
        QVERIFY(properties->find("dsp/level") == properties->end());
        QCOMPARE(properties->size(), product().size() - 1);
        QCOMPARE(product().count("dsp/level"), size_t(1));
        properties->erase("dsp/delay");
        QCOMPARE(properties->size(), product().size() - 2);
    }

    void an_entry_that_changes_during_a_walk_does_not_disturb_it()
    {
        *properties = product();
        QStringList walked;
        for (const auto &[key, desc] : *properties) {
            walked.append(QString::fromStdString(key));
            properties->own(key).decimals = 3;
        }
        QCOMPARE(walked, keys_of(*properties));
        for (const auto &[key, desc] : *properties)
            QCOMPARE(desc.decimals, 3);
    }

    void sessions_that_one_device_hears_are_no_other_ones()
    {
        Device first;
        Device second;
        for (Device *device : {&first, &second})
            device->properties = product();
        const QJsonObject session{{"n", "a"}, {"i", "x"}, {"c", 2}};
        merge_report(first,
                     {{"product_id", 3}, {"streams", QJsonObject{{"list", QJsonArray{session}}}}});
        merge_report(second, {{"product_id", 3}});
        QCOMPARE(first.properties.at("stream/name").choices.size(), size_t(2));
        QCOMPARE(second.properties.at("stream/name").choices.size(), size_t(1));
        QVERIFY(product().at("stream/name").choices.empty());
    }

private:
    std::unique_ptr<DeviceProperties> properties;
};

QTEST_APPLESS_MAIN(DevicePropertiesTest)
#include "device_properties_test.moc"

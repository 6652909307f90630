// The mix of a fleet that is told by its size alone.
#include "model/meta.h"
#include "simulator/fleet_mix.h"
#include "support/test_parts.h"

#include <QtTest>

#include <set>

using namespace simulator;

class FleetMixTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { build_catalogue(); }

    void a_mix_begins_with_every_product_once()
    {
        const std::vector<DevicePlan> plans = make_fleet_mix(1000);
        QCOMPARE(plans.size(), size_t{1000});
        std::set<int> products;
        for (size_t i = 0; i < catalogue().product_table.size(); ++i)
            products.insert(plans[i].product_id);
        for (const ProductDesc &product : catalogue().product_table)
            QVERIFY2(products.count(product.product_id) == 1, product.name.c_str());
        // The new module comes last of these.
        QCOMPARE(plans[catalogue().product_table.size() - 1].product_id, 0);
    }

    void names_of_a_mix_are_numbered_and_short_enough()
    {
        std::set<QString> names;
        for (const DevicePlan &plan : make_fleet_mix(1000)) {
            QVERIFY(plan.name.toUtf8().size() <= 127);
            if (!plan.name.isEmpty())
                QVERIFY2(names.insert(plan.name).second, qPrintable(plan.name));
        }
        QVERIFY(names.count("Stage left main 1") == 1);
        QVERIFY(names.count("Stage left main 2") == 1);
        QVERIFY(names.count("Stage left main 0") == 0);
    }

    void a_mix_is_numbered_from_1_and_every_ninth_device_is_a_version_behind()
    {
        const std::vector<DevicePlan> plans = make_fleet_mix(30);
        for (int i = 0; i < 30; ++i) {
            const DevicePlan &plan = plans[static_cast<size_t>(i)];
            QCOMPARE(plan.order, i + 1);
            QCOMPARE(plan.firmware_version, QString(i % 9 == 5 ? "v1.5.5.2d" : "v1.5.5.8d"));
        }
    }
};

TEST_PART(FleetMixTest)
#include "simulator_state_test_mix.moc"

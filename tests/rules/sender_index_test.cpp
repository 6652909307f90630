// Finding a device by the address that it last spoke from.
#include "link/sender_index.h"
#include "model/device.h"

#include <QtTest>

class SenderIndexTest : public QObject
{
    Q_OBJECT

    const QHostAddress here = QHostAddress("10.0.0.1");
    const QHostAddress there = QHostAddress("10.0.0.2");

private slots:
    void nobody_is_found_where_nobody_spoke()
    {
        SenderIndex senders;
        QCOMPARE(senders.find(here), nullptr);
        senders.forget(here, nullptr);
        QCOMPARE(senders.size(), size_t(0));
    }

    void a_device_is_found_at_each_address_until_it_leaves_it()
    {
        SenderIndex senders;
        Device device;
        senders.note(here, &device);
        senders.note(here, &device);
        QCOMPARE(senders.find(here), &device);
        QCOMPARE(senders.find(there), nullptr);
        senders.forget(here, &device);
        senders.note(there, &device);
        QCOMPARE(senders.find(here), nullptr);
        QCOMPARE(senders.find(there), &device);
        QCOMPARE(senders.size(), size_t(1));
    }

    void the_last_of_two_behind_one_address_is_found_and_the_other_takes_nothing_along()
    {
        SenderIndex senders;
        Device first;
        Device second;
        senders.note(here, &first);
        senders.note(here, &second);
        QCOMPARE(senders.find(here), &second);
        senders.forget(here, &first);
        QCOMPARE(senders.find(here), &second);
        QCOMPARE(senders.size(), size_t(1));
    }
};

QTEST_GUILESS_MAIN(SenderIndexTest)
#include "sender_index_test.moc"

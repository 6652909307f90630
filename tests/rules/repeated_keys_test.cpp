// JSON texts in which an object says a key more than once.
#include "link/datagram.h"
#include "link/repeated_keys.h"
#include "support/sanitized.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QtTest>

#include <malloc.h>
#include <random>

#ifdef ADDRESS_SANITIZED
#define READING_LEAKS // the toolkit's own, of a text that repeats keys
#endif

namespace {

size_t heap_bytes()
{
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

// Few keys, written in two ways, so that most objects repeat one.
QByteArray random_value(std::mt19937 &random, int depth)
{
    static const QList<QByteArray> keys{"\"a\"",   "\"b\"",     "\"\\u0061\"",
                                        "\"a b\"", "\"{\\\"\"", "\"\""};
    static const QList<QByteArray> plain{"1",     "-2.5e3",       "true",          "null",
                                         "\"a\"", "\"}],{\\\\\"", "\"\\\"a\\\":\""};
    const auto below
        = [&random](int end) { return static_cast<int>(random() % static_cast<unsigned>(end)); };
    const int kind = depth == 0 ? 0 : below(3);
    if (kind == 0)
        return plain.at(below(plain.size()));
    QByteArrayList members;
    for (int i = below(5); i > 0; --i) {
        const QByteArray value = random_value(random, depth - 1);
        members.append(kind == 1 ? value : keys.at(below(keys.size())) + " :" + value);
    }
    return kind == 1 ? "[" + members.join(", ") + "]" : "{ " + members.join(" ,") + "}";
}

} // namespace

class RepeatedKeysTest : public QObject
{
    Q_OBJECT

private slots:
    void a_text_without_repetitions_comes_back_as_it_is_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::newRow("nothing") << QByteArray();
        QTest::newRow("object") << QByteArray(R"({"a":{"b":1},"b":{"a":"a"},"c":["a","a"]})");
        QTest::newRow("a list of like objects") << QByteArray(R"([{"a":1},{"a":2}])");
        QTest::newRow("a text that looks like one")
            << QByteArray("{\"a\":\"\\\",\\\"a\\\":1\",\"b\":\"{\"}");
        QTest::newRow("no JSON") << QByteArray("\"}{],,\"\\");
        QTest::newRow("an end too early") << QByteArray("{\"a\":{\"x\":1},\"b");
    }
    void a_text_without_repetitions_comes_back_as_it_is()
    {
        QFETCH(const QByteArray, json);
        QCOMPARE(without_repeated_keys(json), json);
    }

    void the_last_of_a_key_stays_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<QByteArray>("once");
        QTest::newRow("first") << QByteArray(R"({"a":{"x":1},"a":2})") << QByteArray(R"({"a":2})");
        QTest::newRow("thrice") << QByteArray(R"({"a":[1],"b":3,"a":[2] , "a":4})")
                                << QByteArray(R"({"b":3,"a":4})");
        QTest::newRow("inner") << QByteArray(R"({"o":{"a":[],"a":1}})")
                               << QByteArray(R"({"o":{"a":1}})");
        QTest::newRow("inside of what goes")
            << QByteArray(R"({"a":{"b":[],"b":1},"a":5})") << QByteArray(R"({"a":5})");
        QTest::newRow("escaped") << QByteArray("{\"a\":[1],\"\\u0061\":2}")
                                 << QByteArray("{\"\\u0061\":2}");
    }
    void the_last_of_a_key_stays()
    {
        QFETCH(const QByteArray, json);
        QFETCH(const QByteArray, once);
        QCOMPARE(without_repeated_keys(json), once);
    }

    void what_is_read_is_what_the_toolkit_reads()
    {
        std::mt19937 random(7);
        int shorter = 0;
        for (int i = 0; i < 5000; ++i) {
            const QByteArray json = "[" + random_value(random, 4) + "]";
            const QByteArray once = without_repeated_keys(json);
            shorter += once.size() < json.size();
            const QJsonDocument read = QJsonDocument::fromJson(once);
            QVERIFY2(read.isArray(), json.constData());
#ifndef READING_LEAKS
            QVERIFY2(read == QJsonDocument::fromJson(json), json.constData());
#endif
            QCOMPARE(without_repeated_keys(once), once);
        }
        QVERIFY(shorter > 500);
    }

    void no_sender_makes_the_memory_grow_by_saying_a_key_twice()
    {
        const QByteArray datagram = "{\"a\":[" + QByteArray("[],").repeated(10000) + "1],\"a\":2}";
        QVERIFY(read_frame(datagram).object == QJsonObject({{"a", 2}}));
        const size_t before = heap_bytes();
        for (int i = 0; i < 50; ++i)
            read_frame(datagram);
        QVERIFY(heap_bytes() < before + 100000);
    }
};

QTEST_APPLESS_MAIN(RepeatedKeysTest)
#include "repeated_keys_test.moc"

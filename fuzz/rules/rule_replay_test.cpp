// Plays the corpora of the fuzzers of rules, and changes of them that are the same each time.
#include "simulator/random_source.h"

#include <QFile>
#include <QtTest>

#include <memory>

// The fuzzers, one RULE_FUZZER(fuzzer) each: from the table in fuzz/CMakeLists.txt.
#define RULE_FUZZER(fuzzer) void fuzz_##fuzzer(const uint8_t *data, size_t size);
#include "rule_fuzzers.h"
#undef RULE_FUZZER

namespace {

constexpr int CHANGES = 2000; // per corpus

struct Row
{
    const char *name = "";
    void (*play)(const uint8_t *data, size_t size) = nullptr;
};

#define RULE_FUZZER(fuzzer) {.name = #fuzzer, .play = &fuzz_##fuzzer},
constexpr Row FUZZERS[] = {
#include "rule_fuzzers.h"
};
#undef RULE_FUZZER

QList<QByteArray> read_corpus(const QString &name)
{
    QList<QByteArray> inputs;
    QFile file(QString(CORPUS_FOLDER) + "/" + name + ".base64");
    if (!file.open(QIODevice::ReadOnly))
        return {};
    while (!file.atEnd())
        inputs.append(QByteArray::fromBase64(file.readLine()));
    return inputs;
}

// In a block of exactly its size, so that reading one byte too many is seen.
void play(const Row &row, const QByteArray &input)
{
    const auto size = static_cast<size_t>(input.size());
    const std::unique_ptr<uint8_t[]> block(new uint8_t[size]);
    std::copy(input.begin(), input.end(), block.get());
    row.play(block.get(), size);
}

QByteArray changed(QByteArray input, const QByteArray &other, simulator::RandomSource &random)
{
    for (int i = random.between(1, 4); i > 0; --i) {
        const int place = random.below(input.size() + 1);
        switch (random.below(4)) {
        case 0:
            input.insert(place, static_cast<char>(random.below(256)));
            break;
        case 1:
            input.remove(place, random.between(1, 8));
            break;
        case 2:
            input.insert(place, other.mid(random.below(other.size() + 1), random.between(1, 40)));
            break;
        default:
            if (place < input.size())
                input[place] = static_cast<char>(input.at(place) ^ 1 << random.below(8));
        }
    }
    return input;
}

} // namespace

class RuleReplayTest : public QObject
{
    Q_OBJECT

private slots:
    void properties_hold_data()
    {
        QTest::addColumn<int>("index");
        for (int i = 0; i < int{std::size(FUZZERS)}; ++i)
            QTest::newRow(FUZZERS[i].name) << i;
    }

    // What does not hold ends the program, and says what it was.
    void properties_hold()
    {
        QFETCH(int, index);
        const Row &row = FUZZERS[index];
        const QList<QByteArray> corpus = read_corpus(row.name);
        QVERIFY(!corpus.isEmpty());
        for (const QByteArray &input : corpus)
            play(row, input);
        simulator::RandomSource random(1);
        for (int i = 0; i < CHANGES; ++i)
            play(row,
                 changed(corpus.at(random.below(corpus.size())),
                         corpus.at(random.below(corpus.size())), random));
    }
};

QTEST_GUILESS_MAIN(RuleReplayTest)
#include "rule_replay_test.moc"

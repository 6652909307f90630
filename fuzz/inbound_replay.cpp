// Plays the corpus of the inbound harness, and changes of it that are the same each time.
//
//   inbound_replay FOLDER [changes, default 2000] [seed, 1]
#include "fuzz/inbound_mutation.h"
#include "fuzz/inbound_play.h"
#include "fuzz/inbound_process.h"
#include "fuzz/inbound_steps.h"
#include "soak/vital_signs.h"

#include <QDir>

#include <cstdio>

using namespace simulator;

namespace {

constexpr double GROWTH_PER_DATAGRAM = 16; // bytes
constexpr int PLAYED_PER_SHOWN = 16;
constexpr double GROWTH_ANYHOW = 16 * 1024.0;

QList<QByteArray> read_corpus(const QString &folder)
{
    QList<QByteArray> inputs;
    for (const QFileInfo &entry : QDir(folder).entryInfoList(QDir::Files, QDir::Name)) {
        QFile file(entry.filePath());
        if (file.open(QIODevice::ReadOnly))
            inputs.append(file.readAll());
    }
    return inputs;
}

// The input stays in a file when the program ends in the middle of it.
void play(InboundPlay &inbound, const QByteArray &input)
{
    QFile trace(QDir::temp().filePath("inbound_replay_last"));
    if (trace.open(QIODevice::WriteOnly))
        trace.write(input);
    trace.close();
    inbound.play(reinterpret_cast<const uint8_t *>(input.constData()),
                 static_cast<size_t>(input.size()));
    trace.remove();
}

// What arrives, without anybody acting at the window: editors that are made and go before they were
// shown leave something behind in the toolkit's caches of styles.
QList<QByteArray> arrivals_of(const QList<QByteArray> &corpus)
{
    QList<QByteArray> arrivals;
    for (const QByteArray &input : corpus)
        for (const QByteArray &step : steps_of(input))
            if (step.startsWith('D') || step.startsWith('B'))
                arrivals.append(step);
    return arrivals;
}

// Bytes of heap that playing them all again has added, and how many datagrams that was. What has a
// size that it reaches once has reached it before.
struct Growth
{
    double bytes = 0;
    int datagrams = 0;
};

Growth growth_of(InboundPlay &inbound, const QList<QByteArray> &arrivals)
{
    // So many play each with the window shown once, and end where they began between showing and
    // hiding, which moves the heap by half a MB.
    constexpr int PASSES = PLAYED_PER_SHOWN;
    for (int i = 0; i < PASSES; ++i)
        for (const QByteArray &input : arrivals)
            play(inbound, input);
    const double before = tidy_holdings().heap;
    for (int i = 0; i < PASSES; ++i)
        for (const QByteArray &input : arrivals)
            play(inbound, input);
    return {.bytes = (tidy_holdings().heap - before) * 1024 * 1024,
            .datagrams = PASSES * int{arrivals.size()}};
}

} // namespace

int main(int argc, char **argv)
{
    const auto application = make_inbound_process();
    const QList<QByteArray> corpus = read_corpus(argc > 1 ? argv[1] : "fuzz/corpus/inbound");
    const int changes = argc > 2 ? QByteArray(argv[2]).toInt() : 2000;
    RandomSource random(argc > 3 ? QByteArray(argv[3]).toULongLong() : 1);
    if (corpus.isEmpty()) {
        std::fprintf(stderr, "there is no corpus\n");
        return 1;
    }
    InboundPlay inbound({.played_per_shown = PLAYED_PER_SHOWN});
    for (const QByteArray &input : corpus)
        play(inbound, input);
    for (int i = 0; i < changes; ++i) {
        const QByteArray &one = corpus.at(random.below(corpus.size()));
        const QByteArray &other = corpus.at(random.below(corpus.size()));
        play(inbound, changed_input(one, other, random));
    }
    const Growth growth = growth_of(inbound, arrivals_of(corpus));
    const double allowed = GROWTH_ANYHOW + GROWTH_PER_DATAGRAM * growth.datagrams;
    std::printf("heap over %d datagrams: %.0f bytes more, %.0f allowed\n", growth.datagrams,
                growth.bytes, allowed);
    if (growth.bytes > allowed)
        return 1;
    std::printf("%d inputs and %d changes of them: list, registry and cache hold together\n",
                int{corpus.size()}, changes);
    return 0;
}

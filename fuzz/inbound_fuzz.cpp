// libFuzzer harness of the whole way in, from datagram to window. See fuzz.sh.
#include "fuzz/inbound_mutation.h"
#include "fuzz/inbound_play.h"
#include "fuzz/inbound_process.h"

#include <algorithm>

using namespace simulator;

extern "C" size_t LLVMFuzzerMutate(uint8_t *data, size_t size, size_t max_size);

namespace {

QByteArray last_input; // lends its steps to the next one that is changed

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    // They stay until the process ends, which happens without a way out of here.
    static const auto *const application = make_inbound_process().release();
    // Painting, and writing and reading the cache, take a third of the time.
    static auto *const play = new InboundPlay(
        {.played_per_shown = 64, .played_per_cache = 4, .played_per_window = 4'000});
    Q_UNUSED(application)
    last_input = QByteArray(reinterpret_cast<const char *>(data), static_cast<int>(size));
    play->play(data, size);
    return 0;
}

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t max_size,
                                          unsigned seed)
{
    if (seed % 3 == 0)
        return LLVMFuzzerMutate(data, size, max_size);
    RandomSource random(seed);
    const QByteArray input(reinterpret_cast<const char *>(data), static_cast<int>(size));
    const QByteArray changed = changed_input(input, last_input, random);
    const size_t length = std::min(max_size, static_cast<size_t>(changed.size()));
    std::copy_n(changed.begin(), length, data);
    return length;
}

// Lets libFuzzer call one fuzzer of the rules; FUZZER is its function.
#include <cstddef>
#include <cstdint>

void FUZZER(const uint8_t *data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FUZZER(data, size);
    return 0;
}

#!/bin/sh
# Fuzzes the firmware image parser under the sanitizers: fuzz_firmware.sh [seconds, default 300].
# Needs clang with libFuzzer (Debian: clang libclang-rt-14-dev). Findings are kept in build/fuzz.
set -eu
cd "$(dirname "$0")/.."
seconds=${1:-300}
folder=build/fuzz
mkdir -p "$folder/corpus" "$folder/findings"
clang++ -std=c++20 -O1 -g -Isrc \
    -fsanitize=fuzzer,address,undefined -fno-sanitize-recover=all \
    fuzz/firmware_fuzz.cpp src/firmware/firmware.cpp src/link/crc32.cpp \
    src/support/fatal_assert.cpp -o "$folder/firmware_fuzz"
# New inputs go to the first folder; the committed corpus is only read.
exec "$folder/firmware_fuzz" -max_total_time="$seconds" -max_len=4096 -print_final_stats=1 \
    -artifact_prefix="$folder/findings/" "$folder/corpus" fuzz/corpus/firmware

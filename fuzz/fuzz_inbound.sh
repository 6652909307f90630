#!/bin/sh
# Fuzzes the whole way in, from datagram to window, under the sanitizers:
# fuzz_inbound.sh [seconds, default 300].
# Needs clang with libFuzzer (Debian: clang libclang-rt-14-dev). The first build takes some minutes.
# Findings are kept in build/fuzz/inbound-findings. To see one again:
# build/fuzz-inbound/fuzz/inbound_fuzz FILE
set -eu
cd "$(dirname "$0")/.."
seconds=${1:-300}
build=build/fuzz-inbound
[ -f "$build/build.ninja" ] || cmake -S . -B "$build" -G Ninja -DCMAKE_CXX_COMPILER=clang++ \
    -DCMAKE_BUILD_TYPE= -DVELMARK_FUZZ=ON -DVELMARK_WERROR=OFF \
    -DCMAKE_CXX_FLAGS="-O1 -gline-tables-only -fno-omit-frame-pointer -fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all" \
    >"$build.log" || { cat "$build.log"; exit 1; }
cmake --build "$build" --parallel "${JOBS:-$(nproc)}" --target inbound_fuzz
mkdir -p build/fuzz/inbound-corpus build/fuzz/inbound-findings
# What the toolkit and the font library keep until the end would count as leaks.
export ASAN_OPTIONS=detect_leaks=0
# New inputs go to the first folder; the committed corpus is only read.
exec "$build/fuzz/inbound_fuzz" -max_total_time="$seconds" -max_len=20000 -len_control=0 \
    -timeout=20 -rss_limit_mb=2500 -print_final_stats=1 -dict=fuzz/inbound.dict \
    -artifact_prefix=build/fuzz/inbound-findings/ build/fuzz/inbound-corpus fuzz/corpus/inbound

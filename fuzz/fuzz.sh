#!/usr/bin/env bash
# Fuzzes one parser, or the whole way in, under the sanitizers:
#
#   fuzz.sh NAME [SECONDS, default 300] [options of the engine]
#   fuzz.sh NAME merge
#
# NAME is a row of the table in fuzz/CMakeLists.txt, or "inbound". The second form takes what was found
# into the committed corpus, as few inputs as reach the same. Needs clang with libFuzzer (Debian: clang
# libclang-rt-14-dev). Findings and new inputs are kept in build/fuzz/NAME. To see a finding again:
# build/fuzz/fuzz/NAME_fuzz FILE
#
# CHECKS=none builds without the sanitizers, in build/fuzz-quick: more executions, which only notice
# claims that do not hold and crashes. What they find is played under the sanitizers by the next run
# with them. Each run is noted in build/fuzz/runs.csv; scripts/measure_reliability.sh adds them up.
set -euo pipefail
cd "$(dirname "$0")/.."
name=${1:?a row of the table in fuzz/CMakeLists.txt, or inbound}
seconds=${2:-300}
shift $(($# < 2 ? $# : 2))
checks=${CHECKS:-sanitizers}
own=build/fuzz/$name
case $checks in
sanitizers)
    build=build/fuzz
    instruments=fuzzer-no-link,address,undefined,float-cast-overflow
    ;;
none)
    build=build/fuzz-quick
    instruments=fuzzer-no-link
    ;;
*) echo "fuzz.sh: CHECKS is sanitizers or none" >&2 && exit 2 ;;
esac
# Comparisons are not traced: that took a third of the time, and most inputs are values already.
mkdir -p "$own/new" "$own/findings" "$own/merged"
flags="-O2 -gline-tables-only -fno-omit-frame-pointer -fsanitize=$instruments -fno-sanitize-recover=all"
flags+=" -fno-sanitize-coverage=trace-cmp -fsanitize-coverage-ignorelist=$PWD/fuzz/coverage-ignorelist.txt"
# One after another: two fuzzers that are started at once share what they are built from.
exec 9>"$build.lock"
flock 9
grep -qxF "CMAKE_CXX_FLAGS:STRING=$flags" "$build/CMakeCache.txt" 2>/dev/null ||
    cmake -S . -B "$build" -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE= -DVELMARK_FUZZ=ON \
        -DVELMARK_WERROR=OFF -DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld -DCMAKE_CXX_FLAGS="$flags" \
        >"$build.log" || { cat "$build.log" && exit 1; }
cmake --build "$build" --parallel "${JOBS:-$(nproc)}" --target "${name}_fuzz"
exec 9>&-

# A short memory for what was freed (the last 64 KB: an input frees five to ten), and none for
# where from, makes twice as many executions; no look at what a function leaves on its stack and no
# pattern in new memory make a quarter more. With
# ASAN_OPTIONS=malloc_context_size=30 a finding that is played again by itself is told in full.
export ASAN_OPTIONS="${ASAN_OPTIONS:-quarantine_size_mb=0:thread_local_quarantine_size_kb=64:malloc_context_size=0:detect_leaks=0:detect_stack_use_after_return=0:max_malloc_fill_size=0}"
read -ra options <"$build/fuzz/${name}_fuzz.options" || true
run() { "$build/fuzz/${name}_fuzz" "${options[@]}" "$@"; }

packed=fuzz/corpus/$name.base64
corpus=fuzz/corpus/$name
if [[ ! -d $corpus ]]; then
    corpus=$own/corpus
    rm -rf "$corpus"
    mkdir -p "$corpus"
    [[ ! -f $packed ]] || python3 fuzz/corpus.py unpack "$packed" "$corpus"
fi

if [[ $seconds == merge ]]; then
    rm -f "$own/merged"/*
    run "$@" -merge=1 "$own/merged" "$corpus" "$own/new"
    exec python3 fuzz/corpus.py pack "$packed" "$own/merged"
fi
# New inputs go to the first folder; the corpus is only read.
TIMEFORMAT='processor seconds: %U %S'
outcome=0
{
    time run -max_total_time="$seconds" -timeout=20 -rss_limit_mb=2500 -detect_leaks=0 -entropic=0 -print_final_stats=1 \
        -artifact_prefix="$own/findings/" "$@" "$own/new" "$corpus"
} 2>&1 | tee "$own/last.log" || outcome=$?
executed=$(sed -n 's/^stat::number_of_executed_units: *//p' "$own/last.log" | tail -n 1)
spent=$(awk '/^processor seconds:/ { print $3 + $4 }' "$own/last.log" | tail -n 1)
echo "$(date +%F),$(git rev-parse --short HEAD),$name,$checks,${executed:-0},$spent" >>build/fuzz/runs.csv
exit "$outcome"

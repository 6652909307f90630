#!/usr/bin/env bash
# Soak in short, of both builds at once: each waits for its fleet most of the time. Hours of it:
# docs/reliability.md.
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit

mkdir -p build/check
timeout 120 build/release/soak/soak 8 1 40 >build/check/soak.log 2>&1 &
# What the toolkit keeps until the end is no leak of ours.
LSAN_OPTIONS=suppressions=tests/support/leaks.supp:print_suppressions=0 \
    timeout 120 build/asan/soak/soak 8 2 20
sanitized=$?
wait $!
optimised=$?
cat build/check/soak.log
((sanitized == 0 && optimised == 0))

#!/usr/bin/env bash
# run_benchmarks.sh [--short] [NAMES...]: every benchmark that is built, or those named, and fails
# when one misses its limits.
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit

options=()
[[ ${1:-} == --short ]] && options=(--short) && shift
(($#)) || set -- $(cd bench && printf '%s\n' *_bench.cpp | sed 's/\.cpp//')
export QT_QPA_PLATFORM=offscreen QT_LOGGING_RULES="*.debug=false" XDG_CONFIG_HOME=$PWD/build/bench-settings

failed=()
for name; do
    printf '\n%s\n' "$name"
    timeout 1800 "build/release/bench/$name" "${options[@]}" || failed+=("$name")
done
((${#failed[@]} == 0)) && exit 0
printf '\nLimits were missed. One alone: scripts/run_benchmarks.sh %s %s\n' "${options[*]}" "${failed[*]}"
exit 1

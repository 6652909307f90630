#!/usr/bin/env bash
# measure_performance.sh [SECONDS [DEVICES...]]: the table of docs/performance.md, measured on this
# machine: one row per fleet size (100, 300, 1000 and 3000), each figure over SECONDS (12). Takes
# about six minutes on two quiet cores; whatever else runs shows in the figures.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

seconds=${1:-12}
fleets=("${@:2}")
((${#fleets[@]})) || fleets=(100 300 1000 3000)

scripts/setup.sh build network
scripts/build.sh release load_bench loudspeaker-simulator >&2

grep -m 1 'model name' /proc/cpuinfo | sed 's/.*: //'
echo "$(nproc) cores, kernel $(uname -r), load $(cut -d ' ' -f 1-3 /proc/loadavg), $(date --iso-8601=minutes)"
echo
heading=
for devices in "${fleets[@]}"; do
    QT_QPA_PLATFORM=offscreen XDG_CONFIG_HOME=$PWD/build/bench-settings \
        build/release/bench/load_bench "$devices" "$seconds" $heading
    heading=--no-heading
done

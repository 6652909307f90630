#!/usr/bin/env bash
# The Wireshark dissector says of each datagram what the manager would say: those of the framing's
# own test vectors, hostile and damaged ones, and those of a simulated fleet. That recording stays, as
# build/dissector/fleet.pcap.
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit

export PYTHONDONTWRITEBYTECODE=1
simulator=$PWD/build/release/simulator/loudspeaker-simulator
[[ -x $simulator ]] || scripts/build.sh release loudspeaker-simulator || exit
mkdir -p build/dissector
folder=$(mktemp -d "$PWD/build/dissector/XXXXXX")
trap 'rm -rf "$folder"' EXIT

outcome=0
fail() {
    echo "$*"
    outcome=1
}

# A home of its own: dissectors that the user has installed stay out of this.
dissect() {
    HOME=$folder tshark -X lua_script:wireshark/velmark/velmark.lua "$@" 2>"$folder/tshark.log" && return
    tail -n 5 "$folder/tshark.log"
    return 1
}

# says CAPTURE EXPECTED FILTER FIELD...: one line a datagram, as in EXPECTED.
says() {
    local capture=$1 expected=$2 filter=$3 fields=()
    for field in "${@:4}"; do fields+=(-e "$field"); done
    dissect -r "$capture" -Y "$filter" -T fields -E separator=/t -E 'aggregator=;' \
        -e frame.number "${fields[@]}" >"$folder/said" || fail "tshark failed on ${capture##*/}"
    [[ -s $expected ]] || fail "${expected##*/} expects nothing"
    diff -U 0 "$expected" "$folder/said" >"$folder/difference" && return
    head -n 12 "$folder/difference"
    fail "${capture##*/} reads otherwise (+) than it should (-)"
}

# Whatever arrives, the dissector itself must not fail.
survives() {
    dissect -r "$1" -V >"$folder/tree" || fail "tshark failed on ${1##*/}"
    grep -q 'VELMARK loudspeakers' "$folder/tree" || fail "${1##*/} was not dissected"
    grep -ihE 'lua error|dissector bug|malformed packet' "$folder/tree" "$folder/tshark.log" \
        >"$folder/failures" || return
    head -n 5 "$folder/failures"
    fail "The dissector failed on ${1##*/}"
}

wireshark/test/hostile_datagrams.py "$folder" || exit
for file in hostile.pcap hostile.expected; do
    cmp "$folder/$file" "wireshark/test/$file" || fail "Make $file again: wireshark/test/hostile_datagrams.py wireshark/test"
done
says wireshark/test/hostile.pcap wireshark/test/hostile.expected velmark \
    velmark.direction velmark.kind velmark.dropped velmark.checksum.status velmark.answers \
    velmark.log.text _ws.col.Info _ws.expert.message
survives wireshark/test/hostile.pcap
editcap -s 100 wireshark/test/hostile.pcap "$folder/cut.pcap" && survives "$folder/cut.pcap"
grep -q 'Cut short by the capture' "$folder/tree" || fail "Nothing is said of cut packets"

wireshark/test/framing_vectors.py tests/vectors/framing.json "$folder" || exit
says "$folder/framing.pcap" "$folder/taken.expected" 'velmark && !velmark.dropped' \
    velmark.attachment velmark.device_id
says "$folder/framing.pcap" "$folder/dropped.expected" velmark.dropped velmark.dropped
says "$folder/framing.pcap" "$folder/wrong.expected" 'velmark.checksum.status == 0' velmark.checksum

wireshark/test/mutated_datagrams.py "$folder" || exit
survives "$folder/mutated.pcap"

source scripts/private_network.sh
private_network "$folder" "$PWD/wireshark/test/record_fleet.py" "$simulator" || fail "The fleet was not recorded"
says "$folder/fleet.pcap" "$folder/fleet.expected" velmark \
    velmark.direction velmark.kind velmark.dropped velmark.checksum.status velmark.command \
    velmark.device_id velmark.log.pos velmark.log.length velmark.log.gap velmark.metering.channels
survives "$folder/fleet.pcap"
cp "$folder/fleet.pcap" build/dissector/
((outcome)) || echo "$(wc -l <"$folder/fleet.expected") datagrams of a fleet, $(wc -l <wireshark/test/hostile.expected) hostile, 3000 damaged: all read as they should."
exit $outcome

#!/usr/bin/env bash
# measure_performance.sh [SECONDS [DEVICES...]]: runs every benchmark in full and writes the tables of
# docs/performance.md with the day and the machine. The fleets have 100, 300, 1000, 3000 and 8000
# devices, each figure of theirs is over SECONDS (8). Whatever else runs shows in the figures. Fails when a limit
# is missed.
# measure_performance.sh --short tries every program for some seconds and leaves the document alone.
# FOLDER=build/debug in the environment runs what is built there. PROGRAMS="log_bench tftp_bench" runs
# these again, as when something else took the cores: the others keep the rows of the last run, and
# the document says of which day and commit they are.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

options=()
[[ ${1:-} == --short ]] && options=(--short) && set -- 2 100
seconds=${1:-8}
fleets=("${@:2}")
((${#fleets[@]})) || fleets=(100 300 1000 3000 8000)
build=${FOLDER:-build/release}
document=docs/performance.md
folder=build/performance
export QT_QPA_PLATFORM=offscreen QT_LOGGING_RULES="*.debug=false" XDG_CONFIG_HOME=$PWD/build/bench-settings

if [[ -z ${FOLDER:-} ]]; then
    scripts/setup.sh build network check
    scripts/build.sh release bench/all loudspeaker-simulator >&2
fi
mkdir -p "$folder"
outcome=0

tell_machine() {
    echo "Measured on $(date +%F) at $(commit): $(nproc) cores of$(grep -m 1 'model name' /proc/cpuinfo | sed 's/.*://'), kernel $(uname -r),"
    echo "load average $(load) at the start."
    echo
}
commit() {
    git rev-parse --short HEAD | tr -d '\n'
    git diff --quiet HEAD -- src simulator bench || printf ' with changes'
}
load() { cut -d ' ' -f 1-3 /proc/loadavg; }
note_start() { echo "$(date +%F) at $(commit), load average $(load)" >"$folder/$1.start"; }

# Of what a benchmark prints: the lines "  WHAT | FIGURE | LIMIT | VERDICT" as rows, below what stands
# above them.
rows_of() {
    awk -F ' \\| ' -v program="$1" '
        /^  .* \| .* \| .* \| / {
            sub(/^ +/, "", $1)
            printf "| `%s` | %s | %s | %s%s |\n", program, heading $1, $2, $3,
                ($4 == "MISSED" ? ", **missed**" : $4 ~ /^missed/ ? ", missed within noise" : "")
            next
        }
        /^[^ |]/ { heading = $0 ~ /limits missed/ ? "" : $0 ": " }'
}

measure_fleets() {
    tell_machine
    note_start load_bench
    local devices heading=''
    for devices in "${fleets[@]}"; do
        "$build/bench/load_bench" "$devices" "$seconds" $heading >"$folder/load_bench" || outcome=1
        grep '^|' "$folder/load_bench"
        grep -v '^|' "$folder/load_bench" | sed "1i $devices devices" | rows_of load_bench >>"$folder/rows"
        heading=--no-heading
    done
}

is_wanted() { [[ -z ${PROGRAMS:-} || " $PROGRAMS " == *" $1 "* ]]; }

# The fleet's benchmark alone takes minutes for each figure unless it is told.
length_of() { [[ $1 != fleet_bench || ${#options[@]} -gt 0 ]] || echo "1000 20"; }

measure_others() {
    local program name
    for program in "$build"/bench/*_bench; do
        name=${program##*/}
        [[ $name != load_bench ]] || continue
        if is_wanted "$name"; then
            echo "$name" >&2
            note_start "$name"
            timeout 900 "$program" "${options[@]}" $(length_of "$name") >"$folder/$name" || outcome=1
        fi
        rows_of "$name" <"$folder/$name" >>"$folder/rows"
    done
    tell_machine
    tell_earlier
    echo "| Program | What | Figure | Limit |"
    echo "|---|---|---|---|"
    cat "$folder/rows"
}

# Of programs that keep the rows of an earlier run.
tell_earlier() {
    local program name heading='Of an earlier run:'
    for program in "$build"/bench/*_bench; do
        name=${program##*/}
        ! is_wanted "$name" || continue
        [[ -z $heading ]] || printf '%s\n\n' "$heading"
        heading=''
        echo "- \`$name\`: $(cat "$folder/$name.start" 2>/dev/null || echo "day unknown")"
    done
    [[ -n $heading ]] || echo
}

# write_table NAME: puts the file between the marks of that name in the document.
write_table() {
    awk -v name="$1" -v file="$folder/$1.md" '
        $0 == "<!-- measured: " name " -->" {
            print; print ""
            while ((getline line < file) > 0) print line
            print ""; skips = 1
        }
        $0 == "<!-- end -->" { skips = 0 }
        !skips && $0 != "<!-- measured: " name " -->"' "$document" >"$folder/document"
    cat "$folder/document" >"$document"
}

if is_wanted load_bench; then
    : >"$folder/rows"
    measure_fleets >"$folder/fleets.md"
else
    sed -i '/^| `load_bench` /!d' "$folder/rows"
fi
measure_others >"$folder/others.md"
if ((${#options[@]})); then
    cat "$folder/fleets.md" "$folder/others.md"
else
    write_table fleets
    write_table others
fi
exit $outcome

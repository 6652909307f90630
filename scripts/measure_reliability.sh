#!/usr/bin/env bash
# measure_reliability.sh [--short] [ITEM...]: the long runs, one after another, or those named; each
# prints what it found and becomes a row of the table in docs/reliability.md as soon as it has ended,
# with its command, the day and the commit. Rows of other items stay. Fails when a run does. --short
# tries every item for some seconds and leaves the document alone. FOLDER=build/debug runs what is
# built there.
#   steady   1,000 devices for five minutes: nobody flickers, the memory stays
#   typing   an operator types for a minute while 300 devices report
#   kills    200 kills while the program may be writing its cache
#   logs     logs for ten minutes, one message in twenty lost: what is shown and noted adds up
#   failing  a device that fails among 100 that are updated at once
#   sleep    the computer sleeps for a minute
#   late     the network comes 30 seconds after the program
#   soak     an hour of every fault and an operator at random
#   rates    20 seconds of each fuzzer, with the sanitizers and without; then as fuzz
#   fuzz     what the fuzzers have executed, and how fast: the runs that fuzz/fuzz.sh has noted in
#            build/fuzz/runs.csv go into fuzz/executions.csv, which is added up in a table of its own
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit

short=0
[[ ${1:-} == --short ]] && short=1 && shift
(($#)) || set -- steady typing kills logs failing sleep late soak rates
build=${FOLDER:-build/release}
document=docs/reliability.md
folder=build/reliability
((short)) && folder=build/reliability/short
mkdir -p "$folder"
# The test library by itself ends whatever takes five minutes.
export QTEST_FUNCTION_TIMEOUT=7200000
export QT_QPA_PLATFORM=offscreen XDG_CONFIG_HOME=$PWD/build/reliability/settings
failed=()
measured=()

# length SHORT LONG
length() { ((short)) && echo "$1" || echo "$2"; }

# What a test tells by itself, without the names in front of it.
told() { sed -n 's/^QINFO *: [^ ]*() //p' "$1" | paste -sd ';' | sed 's/;/; /g'; }

# row ITEM WHAT COMMAND FIGURES
row() {
    local escaped=${4//|/\\|}
    printf '| %s | %s | `%s` | %s, %s |\n' "$2" "$escaped" "$3" "$(date +%F)" "$(git rev-parse --short HEAD)" \
        >"$folder/$1.row"
    cat "$folder/$1.row"
}

# test_item ITEM WHAT VARIABLE=VALUE PROGRAM [FUNCTION]
test_item() {
    local outcome=passed log=$folder/$1.log started=$SECONDS
    timeout 3600 env "$3" "$build/tests/$4" ${5:+"$5"} >"$log" 2>&1 || outcome="**FAILED**"
    [[ $outcome == passed ]] || { failed+=("$1"); grep -A 3 '^FAIL!' "$log"; }
    row "$1" "$2" "$3 $4 ${5:-}" "$outcome in $((SECONDS - started)) s: $(told "$log")"
}

steady() { test_item steady "A fleet that stays as it is" "STEADY_SECONDS=$(length 20 300)" fleet_steadiness_test; }
typing() {
    test_item typing "Typing among 300 devices that report" "TYPING_SECONDS=$(length 4 60)" \
        fleet_editing_test typing_is_not_disturbed_by_a_busy_fleet
}
kills() { test_item kills "Kills while the cache may be written" "KILLS=$(length 5 200)" cache_kill_test; }
logs() {
    test_item logs "Logs with one message in twenty lost" "VELMARK_LOG_SECONDS=$(length 8 600)" \
        fleet_logs_test bytes_shown_and_bytes_noted_as_lost_are_the_bytes_sent
}
failing() {
    test_item failing "A device that fails among many updates" "UPDATED_DEVICES=$(length 20 100)" \
        fleet_upload_test one_that_fails_among_all_stops_no_other
}
sleep_item() {
    test_item sleep "The computer sleeps" "RECOVERY_STOP_SECONDS=$(length 3 60)" \
        fleet_recovery_test a_program_that_slept_shows_all_online_again
}
late() {
    test_item late "The network comes late" "RECOVERY_LATE_SECONDS=$(length 1 30)" \
        fleet_recovery_test a_network_that_comes_late_is_found
}

soak() {
    local outcome=passed log=$folder/soak.log seconds
    seconds=$(length 8 3600)
    "$build/soak/soak" "$seconds" 20 "$(length 40 300)" >"$log" 2>&1 || outcome="**FAILED**"
    [[ $outcome == passed ]] || { failed+=(soak); grep -m 5 '^FAILED' "$log"; }
    soak_row "$seconds" "$outcome"
}
# What the soak prints, "name: figures" a line, as one text: without what happened by name, the state
# while it ran, and what the toolkit says.
soak_row() {
    local lines
    lines=$(grep -v '^\(FAILED\|act$\|warning\|  \|QStandardPaths\|after [0-9]* s\|dialogs:\|events at\|requests to\|at work:\)' \
        "$folder/soak.log" | sed 's/ (.*)$//' | paste -sd ';' | sed 's/;/; /g')
    row soak "Every fault, and an operator at random" "soak $1 20 $(length 40 300)" "$2: $lines"
}

# Fuzzers by name, in the order of their table.
fuzzers() {
    sed -n '/^set(RULE_FUZZERS/,/)/s/^ *\([a-z0-9]*\) [0-9]*)*$/\1/p' fuzz/CMakeLists.txt
    echo inbound
}

rates() {
    local name checks log
    for name in $(fuzzers); do
        for checks in none sanitizers; do
            log=$folder/rate-$name-$checks.log
            CHECKS=$checks fuzz/fuzz.sh "$name" "$(length 2 20)" >"$log" 2>&1 || {
                failed+=("$name")
                tail -n 20 "$log"
            }
        done
    done
    fuzz
}

# Day, commit, fuzzer, what it is built with, executions, seconds of processor time (nothing where
# they were not taken).
fuzz() {
    local runs=build/fuzz/runs.csv all=fuzz/executions.csv
    if ((short)); then
        cp "$all" "$folder/executions.csv"
        all=$folder/executions.csv
        [[ ! -f $runs ]] || cat "$runs" >>"$all"
    elif [[ -f $runs ]]; then
        cat "$runs" >>"$all" && rm "$runs"
    fi
    fuzz_table "$all" >"$folder/fuzzers.md"
    cat "$folder/fuzzers.md"
    ((short)) || replace_section fuzzers "$folder/fuzzers.md"
}

# Executions of all runs, and their number in a second of processor time in the newest run that took
# a second of it at least.
fuzz_table() {
    echo "| Fuzzer | Executions with the sanitizers | without | In a second of processor time with them | without | Newest run |"
    echo "|---|---|---|---|---|---|"
    awk -F, -v names="$(fuzzers | paste -sd ' ')" '
        function figure(number, digits, groups) {
            digits = sprintf("%d", number)
            for (groups = ""; length(digits) > 3; digits = substr(digits, 1, length(digits) - 3))
                groups = "," substr(digits, length(digits) - 2) groups
            return digits groups
        }
        function rate(key) { return key in rates ? figure(rates[key]) " (" days[key] ")" : "" }
        NR > 1 {
            key = $3 "," $4
            sum[key] += $5
            if ($6 >= 1) { rates[key] = $5 / $6; days[key] = $1 }
            newest[$3] = $1 ", " $2
        }
        END {
            count = split(names, order, " ")
            for (i = 1; i <= count; ++i) {
                name = order[i]
                printf "| %s | %s | %s | %s | %s | %s |\n", name, figure(sum[name ",sanitizers"]),
                    figure(sum[name ",none"]), rate(name ",sanitizers"), rate(name ",none"), newest[name]
            }
        }' "$1"
}

# replace_section NAME FILE: what stands in the document from its mark to the next end.
replace_section() {
    awk -v mark="<!-- measured: $1 -->" -v file="$2" '
        $0 == mark {
            print; print ""
            while ((getline line < file) > 0) print line
            print ""; skips = 1
            next
        }
        $0 == "<!-- end -->" { skips = 0 }
        !skips' "$document" >"$folder/document"
    cat "$folder/document" >"$document"
}

# Rows of items that were not measured now are those of the document: another checkout may have
# measured them later than this one.
keep_rows() {
    local item mark line
    while read -r item mark; do
        [[ " ${measured[*]} " != *" $item "* ]] || continue
        rm -f "$folder/$item.row"
        line=$(sed -n '/^<!-- measured: long runs -->/,/^<!-- end -->/p' "$document" | grep -F -m 1 -- "$mark") || continue
        printf '%s\n' "$line" >"$folder/$item.row"
    done <<'END'
steady fleet_steadiness_test
typing typing_is_not_disturbed
kills cache_kill_test
logs fleet_logs_test
failing one_that_fails_among_all
sleep a_program_that_slept
late a_network_that_comes_late
soak | `soak
END
}

write_table() {
    keep_rows
    {
        echo "| What | Found | Command | Day, commit |"
        echo "|---|---|---|---|"
        for item in steady typing kills logs failing sleep late soak; do
            [[ ! -f $folder/$item.row ]] || cat "$folder/$item.row"
        done
    } >"$folder/table.md"
    replace_section "long runs" "$folder/table.md"
}

if [[ -z ${FOLDER:-} && $* != fuzz && $* != rates ]]; then
    scripts/setup.sh build network check
    scripts/build.sh release fleet_steadiness_test fleet_editing_test cache_kill_test fleet_logs_test \
        fleet_upload_test fleet_recovery_test soak loudspeaker-simulator velmark-network-manager >&2 || exit
fi
for item; do
    measured+=("$item")
    case $item in
    sleep) sleep_item ;;
    steady | typing | kills | logs | failing | late | soak | rates | fuzz) "$item" ;;
    *) echo "measure_reliability: unknown item $item" >&2 && exit 2 ;;
    esac
    ((short)) || write_table
done
((${#failed[@]} == 0)) || { echo "failed: ${failed[*]}" && exit 1; }

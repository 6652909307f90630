#!/usr/bin/env bash
# manager_and_fleet.sh WAY UID GID FOLDER MODE SETTINGS MANAGER SIMULATOR SIMULATOR_OPTIONS...
# Runs inside the private network (see private_network.sh) as its first process: a simulated fleet
# on one end of a cable, the manager on the other. MODE is "window", which lasts until the window
# closes, or "screenshot", which ends with FOLDER/screenshot.png. The manager keeps its settings
# under the folder SETTINGS; what passes goes to FOLDER.
set -uo pipefail

way=$1 user_id=$2 group_id=$3 folder=$4 mode=$5 settings=$6 manager=$7 simulator=$8
simulator_options=("${@:9}")
deadline_seconds=30

as_user() {
    case $way in
    same) exec "$@" ;;
    remap) exec unshare --user --map-user="$user_id" --map-group="$group_id" -- "$@" ;;
    setpriv) exec setpriv --reuid "$user_id" --regid "$group_id" --init-groups -- "$@" ;;
    esac
}

give_up() {
    echo "$*" >&2
    exit 1
}

# Every process in here dies with this one. A virtual screen is asked first, so that it takes its
# lock and socket files along.
manager_pid='' screen_pid='' made_socket_folder=''
close_down() {
    trap '' TERM
    [[ -n $manager_pid ]] && kill "$manager_pid" && wait "$manager_pid"
    [[ -n $screen_pid ]] && kill "$screen_pid" && wait "$screen_pid"
    [[ -n $made_socket_folder ]] && rmdir /tmp/.X11-unix
} 2>/dev/null
trap close_down EXIT
trap 'exit 143' TERM
# The other end of the lifeline is gone: nobody else may be left to clear the folder.
(
    read -r <"$folder/lifeline"
    rm -rf "$folder"
    kill -TERM $$
) &

# wait_until SECONDS CONDITION...: true as soon as the condition holds.
wait_until() {
    local end=$((SECONDS + $1))
    until "${@:2}"; do
        ((SECONDS < end)) || return 1
        sleep 0.05
    done
}

# The operator may switch faults by typing.
[[ $mode == window && -t 0 ]] || exec </dev/null

lay_cable() {
    ip link set lo up
    # Firmware uploads are served from port 69, which in here is nobody's privilege.
    (echo 69 >/proc/sys/net/ipv4/ip_unprivileged_port_start) 2>/dev/null
    # The far end is made where the fleet lives, and pushes its peer to us.
    # shellcheck disable=SC2016 # expands in the inner shell
    unshare --net -- bash -c '
        ip link set lo up
        ip link add fleet type veth peer name speakers netns "$1"
        ip link set fleet up
        exec "${@:2}"' fleet $$ "$simulator" --interface fleet "${simulator_options[@]}" \
        <&0 >"$folder/simulator.log" 2>"$folder/simulator-errors.log" &
    simulator_pid=$!
    wait_until 5 ip link show dev speakers &>/dev/null \
        || give_up "The private network did not come up: $(<"$folder/simulator-errors.log")"
    ip address add 10.71.0.1/16 broadcast + dev speakers
    ip link set speakers up
}

simulator_answered() {
    grep -q '"ready"' "$folder/simulator.log" || ! kill -0 "$simulator_pid" 2>/dev/null
}

await_fleet() {
    wait_until 30 simulator_answered
    kill -0 "$simulator_pid" 2>/dev/null \
        || give_up "The simulator did not start: $(tail -n 3 "$folder/simulator-errors.log")"
}

start_screen() {
    [[ -d /tmp/.X11-unix ]] || made_socket_folder=yes
    # Wide and high enough for the window to show every column and 24 rows.
    as_user Xvfb -displayfd 3 -screen 0 2500x1250x24 -nolisten tcp \
        3>"$folder/display" 2>"$folder/screen.log" &
    screen_pid=$!
    wait_until 20 test -s "$folder/display" || give_up "The virtual screen did not start: $(tail -n 3 "$folder/screen.log")"
    DISPLAY=:$(<"$folder/display")
    export DISPLAY QT_QPA_PLATFORM=xcb
}

start_manager() {
    # Without a session, Qt would leave a folder of its own in /tmp.
    XDG_RUNTIME_DIR=${XDG_RUNTIME_DIR:-$folder} XDG_CONFIG_HOME=$settings as_user "$manager" >"$folder/manager.log" 2>&1 &
    manager_pid=$!
}

# The settings folder was empty at the start, so that whatever stands in the manager's cache of
# devices has come in as a live report.
cache="$settings/VELMARK audio works GmbH/devicecache.json"
devices_found() {
    grep -hcE '^ {12}"ip":' "$cache" /dev/null 2>/dev/null | head -n 1
}

everything_settled() {
    [[ $(devices_found) == "$expected" ]] || ! kill -0 "$manager_pid" 2>/dev/null
}

take_screenshot() {
    local picture=$folder/screenshot.png started=$EPOCHREALTIME elapsed colours
    expected=$(grep -o '"devices": *[0-9]*' "$folder/simulator.log" | grep -o '[0-9]*$' | head -n 1)
    start_manager
    wait_until "$deadline_seconds" everything_settled
    elapsed=$(awk "BEGIN { printf \"%.1f\", $EPOCHREALTIME - $started }")
    kill -0 "$manager_pid" 2>/dev/null || give_up "The manager ended by itself: $(tail -n 3 "$folder/manager.log")"
    sleep 1 # one more round of reports, and time to paint the last rows
    (as_user import -window root -trim +repage "$picture") || give_up "The screenshot failed."
    colours=$(identify -format '%k' "$picture")
    ((colours > 16)) || give_up "The window shows nothing: the picture has $colours colours."
    echo "Saw: $(devices_found) of $expected loudspeakers online, $elapsed s after the manager was started. The picture has $colours colours."
    [[ $(devices_found) == "$expected" ]] || give_up "The fleet did not come online as a whole within $deadline_seconds s."
}

run_window() {
    start_manager
    echo "The fleet is on the network \"speakers\". Close the window, or press Ctrl+C here, to end it all."
    [[ -t 0 ]] && echo "Faults can be typed here, one JSON object a line (see docs/simulator.md)."
    tail -n +2 -f "$folder/simulator.log" & # what the fleet answers
    wait "$manager_pid"
}

lay_cable
await_fleet
case $mode in
window) run_window ;;
screenshot) start_screen && take_screenshot ;;
esac

# To be sourced. Runs a command in a network and a process namespace of its own.
# shellcheck shell=bash

# private_network FOLDER COMMAND ARGUMENTS...
# Returns what COMMAND returns. When COMMAND ends, the kernel ends everything that COMMAND has
# started and takes the network down. When the calling script ends, in whatever way, COMMAND reads
# the end of the pipe FOLDER/lifeline and has to end too: a signal from here would not get past
# sudo. No root is needed where the kernel allows it; sudo is used otherwise.
#
# COMMAND is called as: COMMAND WAY UID GID FOLDER ARGUMENTS..., where WAY says how a process in
# there is turned back into the ordinary user UID:GID: "same" (nothing to do), "remap" or "setpriv".
private_network() {
    local launcher way user_id group_id lifeline
    user_id=$(id -u)
    group_id=$(id -g)
    find_launcher || return 1
    mkfifo "$1/lifeline"
    exec {lifeline}<>"$1/lifeline"
    trap 'let_go 130' INT
    trap 'let_go 143' TERM
    trap 'let_go 129' HUP
    "${launcher[@]}" "$2" "$way" "$user_id" "$group_id" "$1" "${@:3}" <&0 {lifeline}>&- &
    private_network_pid=$!
    wait "$private_network_pid"
}

makes_network() {
    "$@" ip link add left type veth peer name right 2>/dev/null
}

# Sets launcher and way.
find_launcher() {
    local isolate=(unshare --net --pid --fork --kill-child) ask=(sudo)
    launcher=("${isolate[@]}") way=same
    ((user_id == 0)) && makes_network "${launcher[@]}" && return

    launcher=("${isolate[@]}" --user --map-root-user)
    ((user_id == 0)) || way=remap
    makes_network "${launcher[@]}" && return

    if ((user_id != 0)) && command -v sudo >/dev/null; then
        echo "This kernel makes no private network for an ordinary user; using sudo."
        [[ -t 0 ]] || ask+=(-n)
        keep_environment
        launcher=("${ask[@]}" env "${kept[@]}" "${isolate[@]}") way=setpriv
        makes_network "${launcher[@]}" && return
    fi
    echo "This machine does not let us make a private network: namespaces are forbidden here." >&2
    echo "A container needs: --cap-add SYS_ADMIN --cap-add NET_ADMIN --security-opt seccomp=unconfined" >&2
    return 1
}

# What a window needs to find its screen, its user and its language behind sudo: sets kept.
keep_environment() {
    local name wanted='^(DISPLAY|XAUTHORITY|WAYLAND_DISPLAY|DBUS_SESSION_BUS_ADDRESS|HOME|USER|LOGNAME|LANG|LANGUAGE|(LC|XDG|QT)_.*)$'
    kept=()
    while IFS= read -r name; do
        [[ $name =~ $wanted ]] && kept+=("$name=${!name}")
    done < <(compgen -e)
}

# Closes the lifeline, waits for what hangs on it, and exits.
let_go() {
    trap '' INT TERM HUP
    exec {lifeline}>&-
    for _ in {1..50}; do
        kill -0 "$private_network_pid" 2>/dev/null || break
        sleep 0.1
    done
    kill -KILL "$private_network_pid" 2>/dev/null || true
    exit "$1"
}

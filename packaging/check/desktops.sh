#!/usr/bin/env bash
# desktops.sh CLEAN_ROOT DOCUMENT
# Shows what changes for a desktop when the program has a capability, which puts it into the system's
# secure mode: prints a table of the same program as an ordinary file and as it is installed, and
# fails when DOCUMENT says otherwise. Runs as root and first process in mount, network and process
# namespaces of its own; CLEAN_ROOT holds the package and the desktops' parts.
set -euo pipefail

clean_root=$1 document=$2
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
source "$here/desk.sh"
plain=/usr/local/bin/velmark-network-manager

start_services() {
    at_target sh -c '
        mkdir -p .config/fcitx5
        printf "%s\n" "include \"%L\"" "<Multi_key> <v> <v> : \"composed\"" >.XCompose
        gsettings set org.freedesktop.ibus.engine.hangul initial-input-mode hangul
        printf "%s\n" "[Groups/0]" Name=Default "Default Layout=us" DefaultIM=hangul \
            "[Groups/0/Items/0]" Name=keyboard-us "[Groups/0/Items/1]" Name=hangul \
            "[GroupOrder]" 0=Default >.config/fcitx5/profile
        printf "%s\n" "[Behavior]" ActiveByDefault=True >.config/fcitx5/config' &>"$desk/tmp/services.log"
    become_user "$target" /usr/libexec/xdg-desktop-portal-gtk &>>"$desk/tmp/services.log" &
}

start_ibus() {
    at_target ibus-daemon --daemonize --xim &>>"$desk/tmp/services.log"
    wait_until 20 at_target ibus engine hangul &>>"$desk/tmp/services.log" || fail "no ibus: $(<"$desk/tmp/services.log")"
}
start_fcitx() {
    at_target ibus exit &>>"$desk/tmp/services.log"
    at_target fcitx5 -d &>>"$desk/tmp/services.log"
    wait_until 20 at_target fcitx5-remote &>>"$desk/tmp/services.log" || fail "no fcitx"
}

# start PROGRAM THEME INPUT_METHOD
start() {
    rm -f "$target"/home/technician/core*
    become_user "$target" env ${elsewhere:-} QT_QPA_PLATFORMTHEME="$2" QT_IM_MODULE="$3" XDG_CURRENT_DESKTOP=GNOME \
        QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1 QT_DEBUG_PLUGINS=1 \
        bash -c 'ulimit -c unlimited; exec "$1"' bash "$1" &>"$desk/tmp/manager.log" &
    manager_pid=$!
    window await "VELMARK Network Manager"
}
stop() {
    kill -"${1:-KILL}" "$manager_pid"
    wait "$manager_pid" 2>/dev/null || true
}

window() {
    at_desk /usr/bin/python3 /tmp/window.py "$@" 2>>"$desk/tmp/window.log" || echo "?"
}
has_loaded() {
    grep -q "$1" "$desk/proc/$manager_pid/maps" && echo yes || echo no
}
reaches_bus() {
    grep -q 'message bus' "$desk/tmp/manager.log" && echo no || echo yes
}
has_left_core() {
    stop SEGV
    compgen -G "$target/home/technician/core*" >/dev/null && echo yes || echo no
}
types_hangul() {
    [[ $(window search g k s space) == "한 " ]] && echo yes || echo no
}

# What is seen of one PROGRAM goes into the list answers, in the order of `questions`.
look_at() {
    start "$1" gtk3 ibus
    at_target ibus engine hangul &>>"$desk/tmp/services.log"
    answers=("$(has_loaded platformthemes/libqgtk3)" "$(types_hangul)"
        "$(window dialog)" "$(has_loaded libdconfsettings)" "$(has_loaded libgvfsdbus)"
        "$(reaches_bus)" "$(has_left_core)")
    elsewhere=XDG_RUNTIME_DIR=/tmp start "$1" gtk3 ''
    answers+=("$(window dialog)" "$(reaches_bus)")
    stop
    at_target setxkbmap us intl
    start "$1" gtk3 compose
    typed=$(window search Multi_key v v dead_acute e)
    answers+=("$([[ $typed == composed* ]] && echo yes || echo no)"
        "$([[ $typed == *é ]] && echo yes || echo no)")
    stop
    start "$1" xdgdesktopportal ''
    answers+=("$(window dialog)")
    stop
}
look_at_kde() {
    start "$1" kde fcitx
    answers+=("$(has_loaded platformthemes/KDEPlasmaPlatformTheme)" "$(types_hangul)"
        "$(window dialog)")
    stop
}
questions=("GTK theme is loaded" "ibus types Hangul" "GTK file dialog opens"
    "GTK file dialog loads the user's preferences (dconf)"
    "GTK file dialog loads network places (GVfs)" "GTK file dialog reaches the session bus"
    "a crash leaves a core file" "GTK file dialog opens, session bus not in XDG_RUNTIME_DIR"
    "GTK file dialog reaches that bus" "Compose keys of ~/.XCompose"
    "dead keys of the keyboard layout" "portal's file dialog opens" "KDE theme is loaded"
    "fcitx types Hangul" "KDE file dialog opens")

make_desk
find_target
ip link set lo up
start_desktop "$target"
install "$target$program" "$target$plain"
start_services
start_ibus
look_at $plain && ordinary=("${answers[@]}")
look_at $program && capable=("${answers[@]}")
start_fcitx
answers=() && look_at_kde $plain && ordinary+=("${answers[@]}")
answers=() && look_at_kde $program && capable+=("${answers[@]}")
differs=false
for i in "${!questions[@]}"; do
    row="| ${questions[i]} | ${ordinary[i]} | ${capable[i]} |"
    echo "$row"
    grep -qxF -- "$row" "$document" || { differs=true && echo "^ not so in ${document##*/}"; }
done
[[ $differs == false ]]

# To be sourced by a script that runs as root and first process in mount, network and process
# namespaces of its own, with `set -euo pipefail`, and that has set:
#   clean_root   the folder that the package is installed in; empty: a copy of this machine's root
#   here         the folder of this file
# Leaves nothing behind: every change is in memory, or in clean_root.
# shellcheck shell=bash
program=/usr/bin/velmark-network-manager
user_id=7054

fail() {
    echo "FAILED: $*" >&2
    exit 1
}

say() {
    printf '   %s\n' "$*"
}

# wait_until SECONDS CONDITION...
wait_until() {
    local end=$((SECONDS + $1))
    until "${@:2}"; do
        ((SECONDS < end)) || return 1
        sleep 0.05
    done
}

# A desk for the screen and the tools: this machine's system folders with all changes in memory.
# One by one, because each may be a file system of its own.
make_desk() {
    mount --make-rprivate /
    memory=$(mktemp -d)
    trap 'umount --lazy "$memory" && rmdir "$memory"' EXIT
    mount -t tmpfs tmpfs "$memory"
    desk=$memory/desk
    mkdir -p "$desk"/{home,root,proc,dev,tmp,run}
    local folder
    for folder in /bin /sbin /lib* /etc /usr /var; do
        if [[ -L $folder ]]; then
            cp --no-dereference "$folder" "$desk/"
        else
            cover "$folder"
        fi
    done
    mount_kernel_folders "$desk"
    mount -t tmpfs -o mode=1777 tmpfs "$desk/tmp"
    mount -t tmpfs -o mode=755 tmpfs "$desk/run"
}

cover() {
    mkdir -p "$desk$1" "$memory/changes$1" "$memory/work$1"
    mount -t overlay overlay "$desk$1" \
        -o "lowerdir=$1,upperdir=$memory/changes$1,workdir=$memory/work$1" \
        || fail "this machine lets us make no overlay of $1"
}

mount_kernel_folders() {
    mount -t proc proc "$1/proc"
    mount --rbind /dev "$1/dev"
}

# The place where the package is installed: the desk itself, or a root that shares only /tmp and
# /run with it.
find_target() {
    target=$desk
    [[ -n $clean_root ]] || return 0
    target=$clean_root
    mount_kernel_folders "$target"
    mount --rbind "$desk/tmp" "$target/tmp"
    mount --rbind "$desk/run" "$target/run"
}

in_target() {
    chroot "$target" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin DEBIAN_FRONTEND=noninteractive "$@"
}

# become_user ROOT COMMAND...: an ordinary user in ROOT, with a screen and a session bus.
become_user() {
    exec chroot "$1" setpriv --reuid $user_id --regid $user_id --clear-groups -- \
        env -i --chdir=/home/technician "${environment[@]}" "${@:2}"
}
at_desk() {
    (become_user "$desk" "$@")
}
at_target() {
    (become_user "$target" "$@")
}

# start_desktop ROOT: the session bus starts its services from there, which is the desk or the target.
start_desktop() {
    local root bus=unix:path=/run/user/$user_id/bus
    for root in "$desk" "$target"; do
        chroot "$root" id technician &>/dev/null \
            || chroot "$root" useradd --uid $user_id --create-home technician
    done
    install -o $user_id -g $user_id -m 700 -d "$desk/run/user/$user_id"
    mkdir -p -m 1777 "$desk/tmp/.X11-unix"
    cp "$here/window.py" "$desk/tmp/"
    environment=(HOME=/home/technician USER=technician PATH=/usr/bin:/bin LANG=C.UTF-8 DISPLAY=:9
        XDG_RUNTIME_DIR=/run/user/$user_id DBUS_SESSION_BUS_ADDRESS=$bus)
    become_user "$desk" Xvfb :9 -screen 0 1800x1400x24 -nolisten tcp &>"$desk/tmp/screen.log" &
    wait_until 20 test -S "$desk/tmp/.X11-unix/X9" || fail "the screen: $(<"$desk/tmp/screen.log")"
    (become_user "$1" dbus-daemon --session --fork --nopidfile --address="$bus" 2>"$desk/tmp/bus.log")
}

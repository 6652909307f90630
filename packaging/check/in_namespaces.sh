#!/usr/bin/env bash
# in_namespaces.sh PACKAGE IMAGE FLEET [CLEAN_ROOT]
# Runs as root and first process in mount, network and process namespaces of its own. Installs the
# package into a copy of this machine's root that lies in memory, or uses CLEAN_ROOT, where it is
# installed already. Then starts the program as an ordinary user and updates a simulated
# loudspeaker through the window. Leaves nothing behind: every change is in memory or in CLEAN_ROOT.
set -euo pipefail

package=$1 image=$2 fleet=$3 clean_root=${4:-}
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
program=/usr/bin/velmark-network-manager
user_id=7054
bus=unix:path=/run/user/$user_id/bus

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

# A desk for the screen and the tools: this machine's root with all changes in memory.
make_desk() {
    mount --make-rprivate /
    memory=$(mktemp -d)
    trap 'umount --lazy "$memory" && rmdir "$memory"' EXIT
    mount -t tmpfs tmpfs "$memory"
    mkdir "$memory"/{changes,work,desk}
    desk=$memory/desk
    local layers=lowerdir=/,upperdir=$memory/changes,workdir=$memory/work
    mount -t overlay overlay -o "$layers" "$desk" 2>/dev/null \
        || mount -t overlay overlay -o "$layers,userxattr" "$desk" \
        || fail "this machine lets us make no overlay"
    mount_kernel_folders "$desk"
    mount -t tmpfs -o mode=1777 tmpfs "$desk/tmp"
    mount -t tmpfs -o mode=755 tmpfs "$desk/run"
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

has_the_right() {
    [[ $(in_target getcap "$program") == "$program cap_net_bind_service=ep" ]]
}

install_package() {
    [[ -n $clean_root ]] && return
    cp "$package" "$target/tmp/new.deb"
    in_target dpkg --purge velmark-network-manager &>/dev/null || true
    in_target dpkg --install /tmp/new.deb >"$desk/tmp/dpkg.log" 2>&1 \
        || fail "dpkg: $(<"$desk/tmp/dpkg.log")"
}

check_right() {
    has_the_right || fail "the installed program has no right to port 69"
    cp "$package" "$target/tmp/new.deb"
    in_target dpkg --install /tmp/new.deb &>/dev/null || fail "the package can't be installed again"
    has_the_right || fail "an update took the right away"
    say "cap_net_bind_service is there after the installation, and after an update"
}

# The administrator's setting takes the capability's place, and gives it back.
check_setting() {
    local example=/usr/share/doc/velmark-network-manager/examples/60-velmark-port-69.conf
    in_target cp "$example" /etc/sysctl.d/
    in_target dpkg-reconfigure velmark-network-manager
    [[ -z $(in_target getcap "$program") ]] || fail "the capability stays beside the setting"
    in_target rm /etc/sysctl.d/60-velmark-port-69.conf
    in_target dpkg-reconfigure velmark-network-manager
    has_the_right || fail "the capability does not come back"
    say "with the administrator's setting the capability goes, without it it comes back"
}

# A file system in memory of the simplest kind keeps no capabilities.
check_plain_file_system() {
    mkdir "$desk/run/plain"
    mount -t ramfs ramfs "$desk/run/plain" 2>/dev/null || {
        say "NOT CHECKED: a file system without capabilities can't be mounted here"
        return
    }
    cp "$target$program" "$desk/run/plain/program"
    mount --bind "$desk/run/plain/program" "$target$program"
    in_target dpkg-reconfigure velmark-network-manager 2>"$desk/tmp/told" \
        || fail "the package can't be configured on a file system without capabilities"
    umount "$target$program"
    grep -q 'stay at 0%' "$desk/tmp/told" || fail "nothing is told on a file system without capabilities"
    say "on a file system without capabilities the package installs and says what to do"
}

# The manager's own network, behind a firewall that lets in what the profiles name and nothing else.
lay_cable() {
    ip link set lo up
    [[ $(</proc/sys/net/ipv4/ip_unprivileged_port_start) == 1024 ]] || fail "port 69 is open to all here"
    cp "$fleet" "$desk/tmp/fleet.json"
    mkfifo "$desk/tmp/requests"
    exec 5<>"$desk/tmp/requests"
    # shellcheck disable=SC2016 # expands in the inner shell
    unshare --net -- bash -c '
        ip link set lo up
        ip link add fleet type veth peer name speakers netns "$1"
        ip link set fleet up
        exec chroot "$2" loudspeaker-simulator --interface fleet --fleet /tmp/fleet.json \
            --flash-time 200 --reboot-time 300' fleet $$ "$target" \
        <&5 >"$desk/tmp/simulator.log" 2>"$desk/tmp/simulator-errors.log" &
    wait_until 10 grep -qs '"ready":true,"tftp":true' "$desk/tmp/simulator.log" \
        || fail "the simulator did not start: $(<"$desk/tmp/simulator-errors.log")"
    ip address add 10.71.0.1/16 broadcast + dev speakers
    ip link set speakers up
    if nft -f - 2>/dev/null <<<'
        table ip guard {
            chain input {
                type filter hook input priority 0; policy drop;
                iif lo accept
                ct state established,related accept
                udp dport { 7054, 7055 } accept
            }
        }'; then
        say "behind a firewall that lets in UDP 7054 and 7055 and answers"
    else
        say "NOT CHECKED: no firewall can be made here"
    fi
}

at_desk() {
    chroot "$desk" setpriv --reuid $user_id --regid $user_id --clear-groups -- env -i "${environment[@]}" "$@"
}

start_desktop() {
    local root
    for root in "$desk" "$target"; do
        chroot "$root" id technician &>/dev/null \
            || chroot "$root" useradd --uid $user_id --create-home technician
    done
    install -o $user_id -g $user_id -m 700 -d "$desk/run/user/$user_id"
    mkdir -p -m 1777 "$desk/tmp/.X11-unix"
    install -m 644 "$image" "$target/home/technician/firmware.bin"
    cp "$here/window.py" "$desk/tmp/"
    environment=(HOME=/home/technician USER=technician PATH=/usr/bin:/bin LANG=C.UTF-8 DISPLAY=:9
        XDG_RUNTIME_DIR=/run/user/$user_id DBUS_SESSION_BUS_ADDRESS=$bus)
    at_desk Xvfb :9 -screen 0 1800x1400x24 -nolisten tcp &>"$desk/tmp/screen.log" &
    wait_until 20 test -S "$desk/tmp/.X11-unix/X9" || fail "the screen: $(<"$desk/tmp/screen.log")"
    at_desk dbus-daemon --session --fork --nopidfile --address="$bus" 2>"$desk/tmp/bus.log"
}

start_manager() {
    # As the desktop entry starts it.
    local command
    command=$(sed -n 's/^Exec=//p' "$target/usr/share/applications/velmark-network-manager.desktop")
    chroot "$target" setpriv --reuid $user_id --regid $user_id --clear-groups -- \
        env -i "${environment[@]}" QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1 "$command" \
        &>"$desk/tmp/manager.log" &
    manager_pid=$!
}

at_window() {
    at_desk /usr/bin/python3 /tmp/window.py "$@" 2>"$desk/tmp/window.log" || {
        keep_evidence
        fail "$(<"$desk/tmp/window.log") (screen and log: build/package/failed.png, failed.log)"
    }
}

keep_evidence() {
    at_desk import -window root /tmp/failed.png 2>/dev/null && cp "$desk/tmp/failed.png" "${package%/*}/"
    cat "$desk/tmp/manager.log" "$desk/tmp/simulator.log" >"${package%/*}/failed.log"
}

# Simulated loudspeakers answer to whatever port asks, so that the port itself is looked at.
holds_port_69() {
    awk -v user=$user_id '$2 ~ /:0045$/ && $8 == user { held = 1 } END { exit !held }' "$desk/proc/net/udp"
}
is_updated() {
    grep -q '"event":"upload".*"ok":true' "$desk/tmp/simulator.log"
}

update_a_loudspeaker() {
    start_manager
    at_window await "Front fill left"
    [[ $(awk '/^Uid:/ { print $2 }' "$desk/proc/$manager_pid/status") == "$user_id" ]] \
        || fail "the program does not run as an ordinary user"
    echo '{"device": 0, "fault": "tftp", "ack_delay": 1}' >&5 # long enough to be seen
    at_window update "Front fill left" /home/technician/firmware.bin
    wait_until 10 holds_port_69 || fail "the program did not get port 69"
    wait_until 30 is_updated || {
        keep_evidence
        fail "no upload worked: $(grep upload "$desk/tmp/simulator.log" | tail -n 1)"
    }
    at_window await v1.5.5.8d
    say "updated a loudspeaker through the window, from port 69: $(grep '"event":"upload"' "$desk/tmp/simulator.log")"
    kill -0 "$manager_pid" || fail "the manager has ended: $(tail -n 3 "$desk/tmp/manager.log")"
}

check_removal() {
    kill "$manager_pid" && wait "$manager_pid" || true
    in_target dpkg --purge velmark-network-manager >/dev/null
    local left
    left=$(cd "$target" && find etc usr -name '*velmark*' -not -path '*/swcatalog/*' 2>/dev/null)
    [[ -z $left ]] || fail "the removed package leaves: $left"
    say "removed, it leaves nothing behind"
}

make_desk
find_target
install_package
check_right
check_setting
check_plain_file_system
lay_cable
start_desktop
update_a_loudspeaker
check_removal

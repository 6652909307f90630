#!/usr/bin/env bash
# update.sh PACKAGE IMAGE FLEET [CLEAN_ROOT]
# Runs as root and first process in mount, network and process namespaces of its own. Installs the
# package into a copy of this machine's root that lies in memory, or uses CLEAN_ROOT, where it is
# installed already. Then starts the program as an ordinary user, updates a simulated loudspeaker
# through the window, and removes the package.
set -euo pipefail

package=$1 image=$2 fleet=$3 clean_root=${4:-}
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
source "$here/desk.sh"

has_the_right() {
    [[ $(in_target getcap "$program") == "$program cap_net_bind_service=ep" ]]
}

install_package() {
    [[ -n $clean_root ]] && return
    cp "$package" "$target/tmp/new.deb"
    rm -f "$target/var/lib/man-db/auto-update" # indexing all manual pages takes longer than the rest
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
    in_target install -D -t /etc/sysctl.d "$example"
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

start_manager() {
    # As the desktop entry starts it.
    local command
    command=$(sed -n 's/^Exec=//p' "$target/usr/share/applications/velmark-network-manager.desktop")
    become_user "$target" env QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1 "$command" &>"$desk/tmp/manager.log" &
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

# The toolkit offers its windows to screen readers once, at its start, and not if their registry is
# just being started by somebody else: so nobody asks before the window is there. On a busy machine
# it goes wrong all the same now and then; 75 tells the caller to begin anew.
start_visible_manager() {
    start_manager
    at_desk timeout 30 xdotool search --sync --onlyvisible --name '^VELMARK Network Manager$' \
        >/dev/null || fail "no window came: $(tail -n 3 "$desk/tmp/manager.log")"
    at_desk /usr/bin/python3 /tmp/window.py await "Front fill left" 2>"$desk/tmp/window.log" && return
    keep_evidence
    say "screen readers see no loudspeaker in the window: $(head -n 3 "$desk/tmp/window.log")"
    exit 75
}

update_a_loudspeaker() {
    start_visible_manager
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
    in_target dpkg --purge velmark-network-manager &>"$desk/tmp/dpkg.log" \
        || fail "dpkg: $(<"$desk/tmp/dpkg.log")"
    local left
    left=$(cd "$target" && find etc usr -name '*velmark*' 2>/dev/null)
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
start_desktop "$desk"
install -m 644 "$image" "$target/home/technician/firmware.bin"
update_a_loudspeaker
check_removal

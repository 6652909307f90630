#!/usr/bin/env bash
# check_capability.sh [PROGRAM]: starts a copy of the manager that was given the right to low ports,
# as another user, and sees that it looks for no plug-in where that user says; and that a copy
# without the right does, or the look would prove nothing.
# Needs root or sudo, setcap and setpriv. The copies stand in a file system of their own.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

program=$(realpath "${1:-build/release/src/gui/velmark-network-manager}")
launcher=(unshare --mount --net --pid --fork --kill-child)
((EUID == 0)) || launcher=(sudo "${launcher[@]}")

# shellcheck disable=SC2016 # for the shell inside
"${launcher[@]}" bash -euo pipefail -c '
    program=$1
    place=$(mktemp -d)
    trap "umount --lazy \"$place\"; rmdir \"$place\"" EXIT
    mount -t tmpfs -o mode=755 tmpfs "$place"
    mkdir -p "$place"/theirs/{styles,platforms,platformthemes} "$place"/home
    chown nobody "$place"/home
    cp "$program" "$place"/without
    cp "$program" "$place"/with
    chmod 755 "$place"/with "$place"/without
    setcap cap_net_bind_service=ep "$place"/with

    # look COPY: where it looks for plug-ins.
    look() {
        timeout --signal=KILL 3 setpriv --reuid nobody --regid nogroup --clear-groups env -i \
            HOME="$place"/home XDG_CONFIG_HOME="$place"/home PATH=/usr/bin:/bin QT_DEBUG_PLUGINS=1 \
            QT_PLUGIN_PATH="$place"/theirs QT_QPA_PLATFORM_PLUGIN_PATH="$place"/theirs/platforms \
            QT_QPA_PLATFORM=offscreen "$place/$1" -style fusion >"$place/$1.log" 2>&1 || true
        grep -q "checking directory path" "$place/$1.log" || { cat "$place/$1.log" >&2; return 2; }
        grep -c "checking directory path \"$place/theirs" "$place/$1.log" || true
    }
    without=$(look without)
    with=$(look with)
    echo "   plug-in folders of the user looked into: $without without the right, $with with it"
    ((without > 0 && with == 0))
' check_capability "$program"

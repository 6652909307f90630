#!/usr/bin/env bash
# check_package.sh [--clean]
# Makes the Debian package, has it judged by lintian and the validators of its desktop files,
# installs it, and updates a simulated loudspeaker through the window of the installed program.
# It is installed into a copy of this machine's root in memory; with --clean into a fresh Debian 12
# that holds nothing but the package and what it depends on. Needs root, sudo, or user namespaces
# with more than one user (newuidmap).
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

is_clean=false
case ${1:-} in
'') ;;
--clean) is_clean=true ;;
*) sed -n '2,7s/^# //p' "${BASH_SOURCE[0]}" >&2 && exit 2 ;;
esac

purposes=(network screen package-check)
[[ $is_clean == true ]] && purposes+=(clean-root)
scripts/setup.sh "${purposes[@]}"
./package >/dev/null
package=$(ls "$PWD"/build/package/*.deb)
work=$(mktemp -d "$PWD/build/package/check.XXXXXX")
trap 'rm -rf "$work"' EXIT

say() {
    printf '   %s\n' "$*"
}

judge_package() {
    lintian --allow-root --fail-on error,warning "$package"
    dpkg-deb --extract "$package" "$work/content"
    desktop-file-validate "$work"/content/usr/share/applications/*.desktop
    appstreamcli validate --no-net "$work"/content/usr/share/metainfo/*.xml >"$work/appstream.log" \
        || { cat "$work/appstream.log" >&2 && return 1; }
    say "${package##*/}: $(($(stat -c %s "$package") / 1024)) KiB, lintian and the validators are content"
}

# Sets launcher to what makes us root in namespaces of our own.
find_launcher() {
    local isolate=(unshare --mount --pid --fork --kill-child)
    local candidate
    for candidate in "${isolate[*]}" "${isolate[*]} --user --map-root-user --map-auto" \
        "sudo -n ${isolate[*]}"; do
        read -ra launcher <<<"$candidate"
        "${launcher[@]}" --net true 2>/dev/null && return
    done
    echo "This machine lets us make no namespaces with a second user." >&2
    return 1
}

# The newest system that the package is for, from where this machine's own packages come.
make_clean_root() {
    local mirror
    mirror=$(apt-get indextargets --format '$(SITE)' 'Created-By: Packages' | grep -v security | head -n 1)
    [[ -n $mirror ]] || { echo "This machine names no source of Debian packages." >&2 && return 1; }
    "${launcher[@]}" packaging/check/make_clean_root.sh "$mirror" "$work/root" "$package" \
        >"$work/root.log" 2>&1 || { tail -n 20 "$work/root.log" >&2 && return 1; }
    say "installed by apt into a fresh Debian: $(tail -n 1 "$work/root.log")"
    trap '"${launcher[@]}" rm -rf --one-file-system "$work"' EXIT
}

judge_package
find_launcher
clean_root=()
if [[ $is_clean == true ]]; then
    make_clean_root
    clean_root=("$work/root")
fi
"${launcher[@]}" --net packaging/check/in_namespaces.sh "$package" \
    "$PWD/build/release/firmware/stand-in.bin" "$PWD/packaging/check/fleet.json" "${clean_root[@]}"

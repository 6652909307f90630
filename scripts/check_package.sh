#!/usr/bin/env bash
# check_package.sh [--clean | --desktops]
# Makes the Debian package, has it judged by lintian and the validators of its desktop files, sees
# that with the right to low ports the program takes no plug-ins from who starts it,
# installs it, and updates a simulated loudspeaker through the window of the installed program.
# It is installed into a copy of this machine's root in memory; with --clean into a fresh Debian 12
# that holds nothing but the package and what it depends on.
# With --desktops it is installed beside parts of the desktops of Debian 12, and the table in
# docs/install.md of what the program's capability changes for them is made again and compared.
# Needs root or sudo: the right to port 69 is given by root, and taken by another user.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

form=${1:-short}
purposes=(network screen package-check)
case $form in
short) ;;
--clean | --desktops) purposes+=(clean-root) ;;
*) sed -n '2,11s/^# //p' "${BASH_SOURCE[0]}" >&2 && exit 2 ;;
esac

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
    launcher=(unshare --mount --pid --fork --kill-child)
    ((EUID == 0)) || launcher=(sudo "${launcher[@]}")
    ((EUID == 0)) || [[ -t 0 ]] || launcher=(sudo -n "${launcher[@]:1}")
    "${launcher[@]}" --net true && return
    echo "This machine lets us make no namespaces. A container needs: --cap-add SYS_ADMIN --cap-add NET_ADMIN --security-opt seccomp=unconfined" >&2
    return 1
}

# make_clean_root [PACKAGES...]: a fresh Debian 12, from where this machine's own packages come.
make_clean_root() {
    local mirror
    # shellcheck disable=SC2016 # apt's own placeholder
    mirror=$(apt-get indextargets --format '$(SITE)' 'Created-By: Packages' | grep -v security | head -n 1)
    [[ -n $mirror ]] || { echo "This machine names no source of Debian packages." >&2 && return 1; }
    trap '"${launcher[@]}" rm -rf --one-file-system "$work"' EXIT
    "${launcher[@]}" packaging/check/make_clean_root.sh "$mirror" "$work/root" "$package" "$@" \
        >"$work/root.log" 2>&1 || { tail -n 20 "$work/root.log" >&2 && return 1; }
    say "installed by apt into a fresh Debian: $(tail -n 1 "$work/root.log")"
}

# Two desktops' themes and file dialogs, the portal, and two input methods.
desktop_parts=(at-spi2-core dbus dbus-x11 dconf-gsettings-backend fcitx5 fcitx5-frontend-qt5
    fcitx5-hangul fcitx5-modules gsettings-desktop-schemas gvfs ibus ibus-hangul libglib2.0-bin
    plasma-integration qt5-gtk-platformtheme qt5-xdgdesktopportal-platformtheme
    x11-xkb-utils xdg-desktop-portal-gtk)

judge_package
scripts/check_capability.sh "$work"/content/usr/bin/velmark-network-manager
find_launcher
update=("${launcher[@]}" --net packaging/check/update.sh "$package"
    "$PWD/build/release/firmware/stand-in.bin" "$PWD/packaging/check/fleet.json")
case $form in
short)
    outcome=0
    "${update[@]}" || outcome=$?
    ((outcome != 75)) || "${update[@]}"
    ((outcome == 0 || outcome == 75))
    ;;
--clean)
    make_clean_root
    "${update[@]}" "$work/root"
    ;;
--desktops)
    make_clean_root "${desktop_parts[@]}"
    "${launcher[@]}" --net packaging/check/desktops.sh "$work/root" "$PWD/docs/install.md"
    ;;
esac

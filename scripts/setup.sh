#!/usr/bin/env bash
# Installs what is missing for the purposes named as arguments; packages_for knows them.
# Asks nothing; says nothing when everything is there already.
set -euo pipefail

packages_for() {
    case $1 in
    build) echo g++ cmake ninja-build ccache qtbase5-dev zlib1g-dev python3-markdown ;;
    network) echo iproute2 util-linux fonts-dejavu-core fonts-symbola ;;
    screen) echo xvfb imagemagick ;;
    wayland) echo qtwayland5 ;;
    check) echo xvfb clang libclang-rt-dev llvm lld clang-format clang-tidy nftables python3 tftp-hpa ;;
    package) echo dpkg-dev file ;;
    package-check) echo appstream at-spi2-core dbus-daemon desktop-file-utils gir1.2-atspi-2.0 \
        libcap2-bin lintian nftables python3-gi xdotool ;;
    clean-root) echo debootstrap ;;
    pictures) echo openbox ;;
    dissector) echo tshark python3 ;;
    *) echo "setup: unknown purpose $1" >&2 && exit 2 ;;
    esac
}

wanted=()
for purpose in "$@"; do
    read -ra packages <<<"$(packages_for "$purpose")"
    wanted+=("${packages[@]}")
done

if ! command -v apt-get >/dev/null || ! command -v dpkg-query >/dev/null; then
    echo "This is not a Debian system. Please see to it that these are installed: ${wanted[*]}"
    exit 0
fi

is_installed() {
    [[ $(dpkg-query --show --showformat='${db:Status-Status}' "$1" 2>/dev/null) == installed ]]
}
missing=()
for package in "${wanted[@]}"; do
    is_installed "$package" || missing+=("$package")
done
((${#missing[@]} == 0)) && exit 0

as_root=()
if ((EUID != 0)); then
    if ! command -v sudo >/dev/null; then
        echo "Missing packages: ${missing[*]}" >&2
        echo "They need root to install, and there is no sudo. As root: apt-get install ${missing[*]}" >&2
        exit 1
    fi
    as_root=(sudo)
    [[ -t 0 ]] || as_root+=(-n)
fi

log=$(mktemp)
trap 'rm -f "$log"' EXIT
quietly_as_root() {
    if ! "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive "$@" </dev/null >"$log" 2>&1; then
        tail -n 30 "$log" >&2
        echo "Failed: $*" >&2
        exit 1
    fi
}
[[ ${as_root[*]} == sudo ]] && sudo true # a password is asked for here, where it can be read

echo "Installing ${missing[*]}"
quietly_as_root apt-get -o DPkg::Lock::Timeout=300 -q update
quietly_as_root apt-get -o DPkg::Lock::Timeout=300 -q -y --no-install-recommends install "${missing[@]}"

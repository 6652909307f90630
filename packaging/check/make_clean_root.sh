#!/usr/bin/env bash
# make_clean_root.sh MIRROR ROOT PACKAGE [FURTHER_PACKAGES...]
# Makes the smallest Debian 12 in the folder ROOT and lets its apt install PACKAGE and the further
# packages with what they depend on, and nothing that they only recommend. Runs as root in a mount
# namespace of its own. The last line printed tells how much was installed.
set -euo pipefail

mirror=$1 root=$2 package=$3

debootstrap --variant=minbase bookworm "$root" "$mirror"
mount --make-rprivate /
mount -t proc proc "$root/proc"
# Packages may be newer where this machine gets its own from; a proxy may be needed to get there.
[[ ! -e /etc/resolv.conf ]] || cp --dereference /etc/resolv.conf "$root/etc/"
apt-config dump --format '%f "%v";%n' Acquire::http::Proxy Acquire::https::Proxy >"$root/etc/apt/apt.conf.d/proxy"
cp "$package" "$root/tmp/"
in_root() {
    chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin DEBIAN_FRONTEND=noninteractive "$@"
}
in_root apt-get -q update
before=$(in_root dpkg-query --show | wc -l)
in_root apt-get -q -y --no-install-recommends install "/tmp/${package##*/}" "${@:4}"
echo "$(($(in_root dpkg-query --show | wc -l) - before)) packages were added to $before"

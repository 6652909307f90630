#!/usr/bin/env bash
# Renders the desktop icons beside this script from the program's own picture, and the smallest from
# small.svg, which leaves out what would blur there. Needs rsvg-convert (package librsvg2-bin).
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"

command -v rsvg-convert >/dev/null || {
    echo "render.sh: rsvg-convert is missing (package librsvg2-bin)" >&2
    exit 1
}

render() {
    rsvg-convert --width "$2" --height "$2" --output "$2.png" "$1"
}
for size in 16 22 24; do
    render small.svg $size
done
for size in 32 48 64 128 256 512; do
    render ../../art/icons/velmark-network-manager.svg $size
done

#!/bin/sh
# Draws the SVG sources anew and renders each to the PNG of the same name that the program carries.
# Needs python3 and rsvg-convert (package librsvg2-bin); the pictures use no fonts.
#   render_icons.sh            all of it
#   render_icons.sh --png      only the PNGs, from the SVG files as they stand
set -eu
cd "$(dirname "$0")"

command -v rsvg-convert >/dev/null || {
    echo "render_icons.sh: rsvg-convert is missing (package librsvg2-bin)" >&2
    exit 1
}

[ "${1:-}" = --png ] || python3 draw_icons.py

carried=../src/resources/icons
count=0
for source in icons/*.svg; do
    name=${source#icons/}
    rsvg-convert --format png --output "$carried/${name%.svg}.png" "$source"
    count=$((count + 1))
done
# The splash screen's, for screens of twice the pixels.
rsvg-convert --format png --width 1280 --output "$carried/VELMARK@2x.png" icons/VELMARK.svg
echo "$count pictures rendered"

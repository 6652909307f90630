#!/usr/bin/env bash
# make_screenshots.sh [NAME...]: makes the pictures of docs/ again, all of them or those named: the
# real window with the simulated loudspeakers of docs/guide/*.json, in a private network, on a
# virtual screen. --list tells the names.
# make_screenshots.sh --tour: screens of four sizes, light and dark, with all that a release has to
# be looked at for, into build/pictures/SIZE-light and SIZE-dark.
# PRESET names the build; release unless stated.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/setup.sh build network screen pictures
preset=${PRESET:-release}
scripts/build.sh "$preset" guide_pictures loudspeaker-simulator
maker=$PWD/build/$preset/art/pictures/guide_pictures
[[ ${1:-} == --list ]] && exec "$maker" --list
# A virtual screen is ended before its folder goes, so that it takes its lock and socket along.
folder=$(mktemp -d)
close_screen() {
    [[ -z ${manager_pid:-} ]] || kill "$manager_pid" || true
    [[ -z ${screen_pid:-} ]] || { kill "$screen_pid" && wait "$screen_pid"; } || true
    manager_pid='' screen_pid=''
} 2>/dev/null
close_down() {
    close_screen
    rm -rf "$folder"
}
trap close_down EXIT

# open_screen SIZE: a virtual screen with a window manager.
mkfifo "$folder/display"
open_screen() {
    local number
    Xvfb -displayfd 3 -screen 0 "$1x24" -nolisten tcp 3<>"$folder/display" 2>"$folder/screen.log" &
    screen_pid=$!
    read -r -t 20 number <>"$folder/display" || {
        tail -n 3 "$folder/screen.log" >&2
        exit 1
    }
    export DISPLAY=:$number
    openbox --sm-disable &>"$folder/manager.log" &
    manager_pid=$!
}
export QT_QPA_PLATFORM=xcb XDG_RUNTIME_DIR=$folder XDG_CONFIG_HOME=$folder QT_LOGGING_RULES='*.debug=false'
unset QT_SCALE_FACTOR QT_QPA_PLATFORMTHEME QT_STYLE_OVERRIDE XDG_CURRENT_DESKTOP

if [[ ${1:-} == --tour ]]; then
    for form in 1366x768:1 1600x1000:1 2560x1440:1 3840x2160:2; do
        size=${form%:*}
        open_screen "$size"
        for theme in light dark; do
            mkdir -p "build/pictures/$size-$theme"
            QT_SCALE_FACTOR=${form#*:} timeout 200 "$maker" "build/pictures/$size-$theme" --tour $theme \
                2>"$folder/errors.log" || { tail -n 5 "$folder/errors.log" >&2 && exit 1; }
            echo "build/pictures/$size-$theme: $(find "build/pictures/$size-$theme" -name '*.png' | wc -l) pictures"
        done
        close_screen
    done
    exit 0
fi
if (($#)); then names=("$@"); else mapfile -t names < <("$maker" --list); fi
open_screen 2560x1600 # enough for twice the pixels

# 200 colours are enough for windows, and a third of the size.
for name in "${names[@]}"; do
    if ! timeout 90 "$maker" "$folder" "$name" 2>"$folder/errors.log"; then
        tail -n 5 "$folder/errors.log" >&2
        echo "No picture \"$name\"." >&2
        exit 1
    fi
    convert "$folder/$name.png" -strip +dither -colors 200 -define png:compression-level=9 \
        "PNG8:docs/pictures/$name.png"
    echo "docs/pictures/$name.png $(identify -format '%wx%h' "docs/pictures/$name.png") $(stat -c %s "docs/pictures/$name.png") bytes"
done

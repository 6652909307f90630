#!/usr/bin/env bash
# make_screenshots.sh [NAME...]: makes the pictures of docs/ again, all of them or those named: the
# real window with the simulated loudspeakers of docs/guide/*.json, in a private network, on a
# virtual screen. --list tells the names.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/setup.sh build network screen pictures
scripts/build.sh release guide_pictures
maker=build/release/tests/guide_pictures
[[ ${1:-} == --list ]] && exec "$maker" --list
if (($#)); then names=("$@"); else mapfile -t names < <("$maker" --list); fi

# A virtual screen is ended before its folder goes, so that it takes its lock and socket along.
folder=$(mktemp -d)
close_down() {
    [[ -z ${manager_pid:-} ]] || kill "$manager_pid" || true
    [[ -z ${screen_pid:-} ]] || { kill "$screen_pid" && wait "$screen_pid"; } || true
    rm -rf "$folder"
} 2>/dev/null
trap close_down EXIT

# High enough for twice the pixels.
mkfifo "$folder/display"
Xvfb -displayfd 3 -screen 0 2560x1600x24 -nolisten tcp 3<>"$folder/display" 2>"$folder/screen.log" &
screen_pid=$!
read -r -t 20 number <>"$folder/display" || {
    tail -n 3 "$folder/screen.log" >&2
    exit 1
}
export DISPLAY=:$number QT_QPA_PLATFORM=xcb XDG_RUNTIME_DIR=$folder XDG_CONFIG_HOME=$folder
unset QT_SCALE_FACTOR QT_QPA_PLATFORMTHEME QT_STYLE_OVERRIDE XDG_CURRENT_DESKTOP
openbox --sm-disable &>"$folder/manager.log" &
manager_pid=$!

# 200 colours are enough for windows, and a third of the size.
for name in "${names[@]}"; do
    if ! QT_LOGGING_RULES='*.debug=false' timeout 90 "$maker" "$folder" "$name" 2>"$folder/errors.log"; then
        tail -n 5 "$folder/errors.log" >&2
        echo "No picture \"$name\"." >&2
        exit 1
    fi
    convert "$folder/$name.png" -strip +dither -colors 200 -define png:compression-level=9 \
        "PNG8:docs/pictures/$name.png"
    echo "docs/pictures/$name.png $(identify -format '%wx%h' "docs/pictures/$name.png") $(stat -c %s "docs/pictures/$name.png") bytes"
done

#!/usr/bin/env bash
# Which way the code may look: only the window's own files see Gui, no rule sees a widget, and the
# window keeps within its bounds.
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit

complain() {
    [[ -z $2 ]] || printf '%s\n%s\n' "$1" "$2"
}

window_files='^src/[a-z]+/gui_[^/]*\.cpp$|^src/gui/(gui|main)\.cpp$|^tests/support/window_handle(_commands)?\.cpp$'
seeing_gui=$(find src simulator tests bench fuzz soak art -name '*.cpp' -o -name '*.h' \
    | grep -vE "$window_files" \
    | xargs grep -HnE '^[[:space:]]*#[[:space:]]*include[[:space:]]+["<](gui/)?gui\.h[">]')
complain 'gui/gui.h is for the files of the window alone:' "$seeing_gui"

# The files that each folder's CMakeLists.txt gives to the library "rules".
rules_files() {
    local list
    for list in src/*/CMakeLists.txt; do
        sed 's/#.*//' "$list" | tr '\n' ' ' | grep -oE 'target_sources\(rules [^)]*\)' \
            | grep -oE '[a-z0-9_]+\.(cpp|h)' | sed "s#^#$(dirname "$list")/#"
    done
}
# <QWidget> alone is not found by the compiler here; with the module's name it would be.
seeing_widgets=$(rules_files | xargs grep -HnE \
    '^[[:space:]]*#[[:space:]]*include[[:space:]]+<Qt(Gui|Widgets)\b')
complain 'A rule sees no window, so these belong elsewhere:' "$seeing_widgets"

# The window stays a house of small rooms: who needs more moves something out.
figures=$(scripts/window_figures.py) || true
complain 'The window has outgrown its bounds:' "$figures"

[[ -z $seeing_gui$seeing_widgets$figures ]]

#!/usr/bin/env bash
# mutate.sh N [FOLDER]: breaks N random places of src/, or of FOLDER, one at a time: an operator, a
# constant, a condition, a statement left out, two arguments swapped; never log texts. Builds what
# depends on the place, runs the tests that can notice it, nearest first, and lists the survivors
# with file and line. Works on a copy in build/mutate/, so the tree may be edited meanwhile.
# SEED=7 in the environment chooses other places (1); JOBS=4 runs so many tests at once (2).
# A test is red only when it is red twice, since other work on the machine may disturb one.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
[[ ${1:-} =~ ^[0-9]+$ ]] || { sed -n '2,8s/^# //p' "${BASH_SOURCE[0]}" >&2 && exit 2; }

scripts/setup.sh build network check
copy=$PWD/build/mutate/copy
mkdir -p "$copy"
# What git knows and what is new, as it is now; times are kept, or all would be built again.
git ls-files --cached --others --exclude-standard -z >"$copy/../files.new"
if [[ -f $copy/../files ]]; then
    (cd "$copy" && comm -z -23 <(sort -z ../files) <(sort -z ../files.new) | xargs -0 -r rm -f)
fi
mv "$copy/../files.new" "$copy/../files"
tar --create --null --ignore-failed-read --files-from="$copy/../files" 2>/dev/null | tar --extract --directory="$copy"
cd "$copy"
[[ -f build/dev/build.ninja ]] || cmake --preset dev >/dev/null
exec python3 scripts/mutate.py "$@"

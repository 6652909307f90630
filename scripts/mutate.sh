#!/usr/bin/env bash
# mutate.sh N [FOLDER]  breaks N random places of src/, or of FOLDER, one at a time: an operator, a
#                       constant, a condition, a statement left out, two arguments swapped; never
#                       log texts. Runs the tests that execute the line, quickest first, until one
#                       is red, and lists the survivors with file and line.
# mutate.sh again       tries the survivors so far once more, with the tests as they are now
# Works on a copy in build/mutate/, so the tree may be edited meanwhile; results are appended to
# build/mutate/results.jsonl as they come: stop it at will, and the same command goes on.
# SEED=7 chooses other places (1); JOBS=4 tries so many at once (2); BUDGET=60 stops at tests that
# take so many seconds together (all); TESTS="rules services" asks the tests of these folders alone.
# What each test executes is measured once, and again when the test changes.
# A test is red only when it is red twice and green without the change.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
[[ ${1:-} =~ ^([0-9]+|again)$ ]] || { sed -n '2,13s/^# //p' "${BASH_SOURCE[0]}" >&2 && exit 2; }

scripts/setup.sh build network check
output=$PWD/build/mutate
mkdir -p "$output/copy"
exec 9>"$output/lock"
flock --nonblock 9 || { echo "another mutate.sh is at work in build/mutate" >&2 && exit 2; }
# What git knows and what is new, as it is now; times are kept, or all would be built again.
git ls-files --cached --others --exclude-standard -z | sort -z >"$output/files.new"
if [[ -f $output/files ]]; then
    (cd "$output/copy" && comm -z -23 ../files ../files.new | xargs -0 -r rm -f)
fi
mv "$output/files.new" "$output/files"
tar --create --null --ignore-failed-read --files-from="$output/files" 2>/dev/null \
    | tar --extract --directory="$output/copy"
if [[ ! -f $output/copy/build/dev/build.ninja ]]; then
    cmake -S "$output/copy" --preset dev -DVELMARK_LIBRARIES=SHARED -DVELMARK_TESTS_TOGETHER=ON \
        -DVELMARK_COVERAGE=ON -DCMAKE_CXX_FLAGS_DEBUG="-O0 -g0" >/dev/null
fi
# A test that does not build is left out, as one that is red.
nice -n 10 ninja -C "$output/copy/build/dev" -k 0 tests/all simulator/all velmark-network-manager \
    >"$output/build.log" || echo "not all built: see $output/build.log" >&2
cd "$output"
# A broken program that root runs once put a file in the place of /dev/null: what is mounted cannot be
# replaced.
try=(nice -n 10 python3 "$OLDPWD/scripts/mutate.py" "$@")
((EUID == 0)) || exec "${try[@]}"
exec unshare --mount sh -ec 'for name in null zero full; do mount --bind "/dev/$name" "/dev/$name"; done
    exec "$@"' sh "${try[@]}"

#!/usr/bin/env bash
# build.sh PRESET [TARGETS...]: configures the preset once and builds the targets, or everything.
# With VELMARK_WERROR=ON in the environment warnings are errors, as in continuous integration.
# What the compiler says goes to build/PRESET/build.log and is shown when the build fails.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

preset=$1
folder=build/$preset
log=$folder/build.log
targets=("${@:2}")
mkdir -p "$folder"
: >"$log"

fail() {
    tail -n 80 "$log" >&2
    echo "Building the preset $preset failed; all of it: $log" >&2
    exit 1
}

[[ -f $folder/build.ninja ]] || echo "The first build of the preset $preset takes some minutes."
if [[ ! -f $folder/build.ninja || CMakePresets.json -nt $folder/CMakeCache.txt ]]; then
    cmake --preset "$preset" >>"$log" 2>&1 || fail
    # A folder whose compiler changes forgets all other variables the first time.
    cmake --preset "$preset" >>"$log" 2>&1 || fail
    touch "$folder/CMakeCache.txt"
fi
werror=${VELMARK_WERROR:-OFF}
[[ $preset != asan ]] || werror=OFF # the other compiler is asked for its opinion, not obeyed
grep -qx "VELMARK_WERROR:BOOL=$werror" "$folder/CMakeCache.txt" \
    || cmake -DVELMARK_WERROR="$werror" "$folder" >>"$log" 2>&1 || fail
echo "Building ${targets[*]:-everything} (preset $preset)"
cmake --build "$folder" --parallel "$(nproc)" --target "${targets[@]:-all}" >>"$log" 2>&1 || fail

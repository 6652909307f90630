#!/usr/bin/env bash
# check_tidy.sh PRESET: clang-tidy over every source of the programs, with the compiler's options of
# a preset that has been built. A clean source is not read again until it, a header that it
# includes, or .clang-tidy changes.
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit

database=build/tidy
clean=$database/clean
mkdir -p "$clean"
# The precompiled headers are in the other compiler's format; without them a source also has to
# include what it uses.
sed -E 's# -Winvalid-pch##g; s# -include (\\"[^"]*\\"|[^ ]+)##g; s# -Werror##g' \
    "build/$1/compile_commands.json" >"$database/compile_commands.json"

# For every source: its name and a digest of itself and of all of ours that it includes.
digests() {
    local files
    mapfile -t files < <(find src simulator \( -name '*.cpp' -o -name '*.h' \) | sort)
    {
        sha256sum .clang-tidy "${files[@]}"
        echo "includes"
        grep -E '^[[:space:]]*#[[:space:]]*include[[:space:]]*"' "${files[@]}"
    } | awk '
        $1 == "includes" { reading_includes = 1; next }
        !reading_includes { digest[$2] = $1; next }
        {
            file = $0; sub(/:.*/, "", file)
            name = $0; sub(/^[^"]*"/, "", name); sub(/".*/, "", name)
            included = ("src/" name) in digest ? "src/" name : name
            if (included in digest) includes[file] = includes[file] " " included
        }
        function collect(file, seen,    names, count, i) {
            if (file in seen) return ""
            seen[file] = 1
            text = text digest[file]
            count = split(includes[file], names, " ")
            for (i = 1; i <= count; ++i) collect(names[i], seen)
        }
        END {
            for (file in digest) if (file ~ /\.cpp$/) {
                split("", seen); text = digest[".clang-tidy"]
                collect(file, seen)
                print file, text
            }
        }' | sort | while read -r file text; do
        echo "$file $(sha256sum <<<"$text" | cut -c 1-40)"
    done
}

examine() {
    local file=$1 digest=$2 said
    if said=$(clang-tidy -p "$database" --quiet "$file" 2>&1); then
        touch "$clean/$digest"
    else
        grep -vE '^[0-9]+ warnings?( and [0-9]+ errors?)? generated|^Suppressed|^Use -header' <<<"$said"
        return 1
    fi
}
export -f examine
export database clean

todo=$(digests | while read -r file digest; do
    grep -qF "/$file\"" "$database/compile_commands.json" || continue
    [[ -e $clean/$digest ]] || echo "$file $digest"
done)
[[ -z $todo ]] && echo "Nothing has changed since it was last clean." && exit 0
echo "Reading $(wc -l <<<"$todo") sources."
# shellcheck disable=SC2016 # expands in the inner shell
xargs -L 1 -P "$(nproc)" bash -c 'examine "$0" "$1"' <<<"$todo"

#!/usr/bin/env bash
# What the documents name exists: tests, links with their headings, pictures, programs and options.
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit

mapfile -t documents < <(find README.md CONTRIBUTING.md docs wireshark packaging -name '*.md' 2>/dev/null | sort)
complaints=''
complain() {
    complaints+="$1: $2"$'\n'
}

# ---- tests ---------------------------------------------------------------------------------------

# Lines "program function" of every test, a program alone once more.
known_tests() {
    local file program
    for file in tests/*/*_test.cpp tests/*/*_test_*.cpp; do
        program=$(basename "$file" .cpp | sed 's/_test_.*/_test/')
        echo "$program"
        # Declared in the class, or defined right there.
        sed -nE "s/^ {4}void ([a-z_0-9]+)\(\).*/$program \1/p" "$file"
    done
}

# "document program [function]" for `x_test`, `x_test::name`, and for a `name` behind either in the
# same line, which belongs to the program named last.
named_tests() {
    awk '
        {
            line = $0; program = ""
            while (match(line, /`[^`]*`/)) {
                token = substr(line, RSTART + 1, RLENGTH - 2)
                line = substr(line, RSTART + RLENGTH)
                if (token ~ /^[a-z0-9_]+_test$/) { program = token; print FILENAME, program }
                else if (token ~ /^[a-z0-9_]+_test::[a-z0-9_]+$/) {
                    split(token, parts, "::")
                    program = parts[1]
                    print FILENAME, program, parts[2]
                }
                else if (program != "" && token ~ /^[a-z0-9]+(_[a-z0-9]+)+$/)
                    print FILENAME, program, token
                else if (token !~ /^[a-z0-9_]*$/) program = ""
            }
        }' "${documents[@]}"
}

while read -r document test; do
    complain "$document" "there is no test $test"
done < <(awk 'NR == FNR { known[$0]; next }
    { name = $2 ($3 == "" ? "" : " " $3); if (!(name in known)) print $1, $2 ($3 == "" ? "" : "::" $3) }' \
    <(known_tests) <(named_tests))

# ---- places of what is kept ----------------------------------------------------------------------

# The column before the last names files of src/ without their ends. Each of them marks what is kept
# with "KEPT:", and no other file does.
kept_places() {
    awk -F ' [|] ' '/^[|] / && NF >= 3 {
            column = $(NF - 1)
            while (match(column, /`[^`]+`/)) {
                print FILENAME "\t" substr(column, RSTART + 1, RLENGTH - 2)
                column = substr(column, RSTART + RLENGTH)
            }
        }' docs/kept-oddities.md docs/kept-oddities/*.md
}
kept_files=$(grep -rlE '(//|\*) .*KEPT:|^ *// KEPT:' src | sed -E 's#^src/##; s/\.(cpp|h)$//' | sort -u)
while IFS=$'\t' read -r document place; do
    if ! compgen -G "src/$place*" > /dev/null; then
        complain "$document" "there is no src/$place"
    elif ! grep -qxF "$place" <<<"$kept_files"; then
        complain "$document" "no comment in src/$place begins with KEPT:"
    fi
done < <(kept_places)
while IFS= read -r place; do
    kept_places | cut -f2 | grep -qxF "$place" \
        || complain "src/$place" "docs/kept-oddities.md tells nothing of what is KEPT: there"
done <<<"$kept_files"

# ---- names of the source -------------------------------------------------------------------------

# What the developers' pages say of the source: its files, its classes and their members.
while IFS=$'\t' read -r document name; do
    case $name in
    src/* | simulator/* | tests/*)
        compgen -G "$name" > /dev/null || complain "$document" "there is no $name"
        ;;
    *)
        class=${name%%::*} member=${name##*::}
        declaring=$(grep -rlE "^(class|struct|enum class) $class\b" src simulator tests/support)
        [[ -n $declaring ]] && grep -qE "\b$member\b" $declaring \
            || complain "$document" "there is no $name"
        ;;
    esac
done < <(grep -HoE '`((src|simulator|tests)/[A-Za-z0-9_/.]+|[A-Z][A-Za-z]+::[a-z_]+)(\(\))?`' \
    docs/developer/*.md docs/performance.md | tr -d '`' | sed 's/:/\t/; s/()$//')

# ---- variables of the environment ----------------------------------------------------------------

# Those that a program of ours or a script asks for, and those that the tables of testing.md tell of.
# What a desktop or a shell sets is none of ours.
testing=docs/developer/testing.md
asked() {
    {
        grep -rhoE '(qEnvironmentVariable\w*|q?getenv|seconds_from)\("[A-Z_]+"' src simulator tests bench soak fuzz art \
            | sed 's/.*"\(.*\)"/\1/'
        grep -hoE 'environ(\.get\(|\[)"[A-Z_]+"' scripts/*.py | sed 's/.*"\(.*\)"/\1/'
        grep -hoE '\$\{[A-Z_]+:?[-+=]' check run package .ci/run scripts/*.sh fuzz/*.sh | grep -oE '[A-Z_]+'
    } | grep -vE '^(QT|XDG)_|^(WAYLAND_)?DISPLAY$|^PATH$' | sort -u
}
told() { sed -nE 's/^\| `([A-Z_]+)=.*/\1/p' "$testing" | sort -u; }
for variable in $(comm -23 <(asked) <(told)); do
    complain "$testing" "the table of variables lacks $variable"
done
for variable in $(comm -13 <(asked) <(told)); do
    complain "$testing" "nothing asks for $variable"
done

# ---- links and pictures --------------------------------------------------------------------------

# The anchors of a document's headings, as web pages of repositories make them.
anchors_of() {
    sed -nE 's/^#+ +(.*)$/\1/p' "$1" | tr '[:upper:]' '[:lower:]' \
        | sed -E 's/[^a-z0-9 _-]//g; s/ /-/g'
}

for document in "${documents[@]}"; do
    while IFS= read -r link; do
        [[ $link =~ ^[a-z]+: ]] && continue
        target=$document
        [[ $link == '#'* ]] || target=$(dirname "$document")/${link%%#*}
        if [[ ! -e $target ]]; then
            complain "$document" "the link $link leads nowhere"
        elif [[ $link == *'#'* ]] && ! anchors_of "$target" | grep -qxF "${link#*#}"; then
            complain "$document" "$link: there is no such heading"
        fi
    done < <(grep -oE '\]\([^)]+\)' "$document" | sed 's/^](//; s/)$//')
done
for picture in docs/pictures/*.png; do
    name=${picture##*/}
    grep -qF "pictures/$name" "${documents[@]}" || complain "$picture" "no document shows it"
    grep -qF "{.name = \"${name%.png}\"," art/pictures/guide_pictures.cpp \
        || complain "$picture" "scripts/make_screenshots.sh does not make it"
done

# ---- commands ------------------------------------------------------------------------------------

# What stands between backticks in a line, and lines that are indented as code, with the document.
commands() {
    awk '
        /^    / || /^      / { print FILENAME "\t" $0; next }
        { line = $0
          while (match(line, /`[^`]+`/)) {
              print FILENAME "\t" substr(line, RSTART + 1, RLENGTH - 2)
              line = substr(line, RSTART + RLENGTH)
          } }' "${documents[@]}"
}

# The source of a program in a build folder; nothing for those that are no program of ours.
source_of() {
    case $1 in
    *_test) find tests -name "${1##*/}.cpp" ;;
    *_bench) find bench -name "${1##*/}.cpp" ;;
    *velmark-network-manager) echo src/gui/main.cpp ;;
    *loudspeaker-simulator) echo simulator/options.cpp ;;
    *guide_pictures) echo art/pictures/guide_pictures.cpp ;;
    esac
}

check_options() {
    local document=$1 program=$2 source=$3 option
    shift 3
    for option; do
        [[ $option =~ ^--[a-z]([a-z-]*[a-z])?$ ]] || continue
        [[ $option == --help ]] || grep -qE -- "$option\b|\"${option#--}\"" "$source" \
            || complain "$document" "$program knows no $option"
    done
}

while IFS=$'\t' read -r document text; do
    read -ra words <<<"$text"
    program=''
    for i in "${!words[@]}"; do
        word=${words[i]%[,;:)]}
        source=''
        case $word in
        ./run | ./check | scripts/*.sh | fuzz/*.sh | soak/*.sh | wireshark/*.sh | packaging/*.sh)
            source=${word#./}
            [[ -x $source ]] || complain "$document" "there is no script $word"
            ;;
        build/*_test | build/*_bench | build/*/velmark-network-manager | build/*/loudspeaker-simulator)
            [[ $word == *[*…]* ]] && continue
            source=$(source_of "$word")
            [[ -n $source ]] || complain "$document" "there is no program $word"
            ;;
        loudspeaker-simulator) source=simulator/options.cpp ;;
        --preset)
            grep -q "\"name\": \"${words[i + 1]:-}\"" CMakePresets.json \
                || complain "$document" "there is no preset ${words[i + 1]:-}"
            ;;
        --tests-regex | -R)
            wanted=${words[i + 1]:-}
            [[ $text != *ctest* ]] || printf '%s\n' tests/*/*_test.cpp | grep -qE "${wanted//[\'\"]/}" \
                || complain "$document" "there is no test $wanted"
            ;;
        esac
        [[ -e $source ]] && check_options "$document" "$word" "$source" "${words[@]:i+1}"
    done
done < <(commands)

[[ -z $complaints ]] && exit 0
printf '%s' "$complaints" | sort -u
exit 1

#!/usr/bin/env bash
# A comment gives the reason itself: nothing in here points to a document outside the repository.
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit

# The brackets keep these words from finding themselves.
pointers='\bParts? [1-9]\.[0-9]\b|\bspecificatio[n]\b|\bthe spe[c]\b|\.\./share[d]/'
found=$(find . \( -name .git -o -name build \) -prune -o -type f -print0 \
    | xargs -0 grep -HnIE "$pointers" | cut -c 1-160)
[[ -z $found ]] && exit 0
printf 'These lines point to a document outside the repository:\n%s\n' "$found"
exit 1

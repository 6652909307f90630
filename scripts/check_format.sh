#!/usr/bin/env bash
# Every source is as clang-format leaves it.
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit

find src simulator tests bench fuzz soak art \( -name '*.cpp' -o -name '*.h' \) -print0 \
    | xargs -0 -r -n 20 -P "$(nproc)" clang-format --dry-run -Werror

#!/usr/bin/env bash
# Checks that the C++ sources follow .clang-format (clang-format 14); with --fix, formats them.
set -euo pipefail
cd "$(dirname "$0")/.."
dirs=()
for d in src tests examples bench tools fuzz; do [ -d "$d" ] && dirs+=("$d"); done
mapfile -t files < <(find "${dirs[@]}" -type f \( -name '*.cpp' -o -name '*.h' -o -name '*.hpp' \) | sort)
if [ "${1:-}" = "--fix" ]; then
    clang-format -i --style=file "${files[@]}"
else
    clang-format --dry-run -Werror --style=file "${files[@]}"
    echo "format: ok"
fi

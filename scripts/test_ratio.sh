#!/usr/bin/env bash
# Prints the size of the tests against the size of the code they test and fails when the tests
# outgrow the bar. Counts C++ files (.cpp .h .hpp), lines that are neither blank nor // comments.
set -euo pipefail
cd "$(dirname "$0")/.."

limit=${KVXML_TEST_RATIO_LIMIT:-36}   # percent

count() {  # folders...
    local dirs=()
    for d in "$@"; do [ -d "$d" ] && dirs+=("$d"); done
    [ ${#dirs[@]} -eq 0 ] && { echo 0; return; }
    find "${dirs[@]}" -type f \( -name '*.cpp' -o -name '*.h' -o -name '*.hpp' \) -print0 |
        xargs -0 -r cat | grep -v -e '^[[:space:]]*$' -e '^[[:space:]]*//' | wc -l
}

tests=$(count tests)
code=$(count src examples bench tools fuzz)
percent=$(( code > 0 ? (tests * 100 + code / 2) / code : 0 ))
echo "test lines: $tests  code lines: $code  ratio: ${percent}% (limit ${limit}%)"
if [ $(( tests * 100 )) -gt $(( code * limit )) ]; then
    echo "tests are above ${limit}% of the code: merge cases into tables, drop repeats" >&2
    exit 1
fi

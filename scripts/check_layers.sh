#!/usr/bin/env bash
# Fails when a folder of src/kvxml includes a header of a folder above it, or when code outside
# platform/ includes an operating system header. Layers, lowest first:
layers=(platform base values output xml json fastinfoset binding collections)
# Allowed upward includes: "<including file pattern> <included header pattern>", each with its reason.
exceptions=(
    # The options of one call are passed by const reference through every layer.
    "*                          binding/CSerializationContext.h"
    # The driver reads and writes collections and wildcards, which are objects themselves; only
    # sources of the engine see them, never its headers.
    "binding/*.cpp              collections/*"
    # The document recognises a Fast Infoset stream in its input and hands it to that reader.
    "xml/CXmlDocument.cpp       fastinfoset/*"
)
set -euo pipefail
cd "$(dirname "$0")/../src/kvxml"

rank() {  # folder -> index in layers, or nothing
    local i
    for i in "${!layers[@]}"; do [ "${layers[$i]}" = "$1" ] && { echo "$i"; return; }; done
}

allowed() {  # file header
    local e from to
    for e in "${exceptions[@]}"; do
        read -r from to <<<"$e"
        # shellcheck disable=SC2053
        [[ $1 == $from && $2 == $to ]] && return 0
    done
    return 1
}

status=0
while IFS= read -r file; do
    folder=${file%%/*}
    own=$(rank "$folder")
    if [ -z "$own" ]; then
        echo "$file: folder '$folder' has no place in the layer list of scripts/check_layers.sh" >&2
        status=1; continue
    fi
    while IFS= read -r header; do
        target=$(rank "${header%%/*}")
        [ -z "$target" ] && { echo "$file: includes $header from an unknown folder" >&2; status=1; continue; }
        if [ "$target" -gt "$own" ] && ! allowed "$file" "$header"; then
            echo "$file: includes $header, which is above $folder" >&2
            status=1
        fi
    done < <(sed -n 's,^[[:space:]]*#[[:space:]]*include[[:space:]]*[<"]kvxml/\([a-z]*/[^">]*\)[">].*,\1,p' "$file")
    if [ "$folder" != platform ] &&
       grep -qE '^[[:space:]]*#[[:space:]]*include[[:space:]]*<(unistd|fcntl|pthread|dirent|aio|sys/[a-z_]+)\.h>' "$file"; then
        echo "$file: includes an operating system header; only platform/ may" >&2
        status=1
    fi
done < <(find . -mindepth 2 -type f \( -name '*.h' -o -name '*.hpp' -o -name '*.cpp' \) | sed 's,^\./,,' | sort)

[ $status -eq 0 ] && echo "layers: ok"
exit $status

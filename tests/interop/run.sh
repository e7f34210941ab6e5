#!/usr/bin/env bash
# Fast Infoset interoperability check against Debian's libfastinfoset-java (a test peer only).
#   tests/interop/run.sh            documents from the examples and the generated 20 MB purchase
#                                   orders, decoded by the Java codec and compared with our XML
#   tests/interop/run.sh samples    regenerate tests/data/fi/: documents the Java codec writes from
#                                   our example XML, for the reader's tests
# Needs the packages that `scripts/setup.sh interop` installs. Not part of the default tests.
set -euo pipefail
cd "$(dirname "$0")/../.."

out=${KVXML_INTEROP_DIR:-build-interop/documents}
generator=${KVXML_GEN_PO:-/work/shared/bench/gen_po.py}
classpath=/usr/share/java/FastInfoset.jar
jobs=$(nproc 2>/dev/null || echo 2)

cmake -S . -B build-interop -G Ninja -DCMAKE_BUILD_TYPE=Release -DKVXML_BUILD_TESTS=OFF \
      -DKVXML_BUILD_EXAMPLES=OFF >/dev/null
cmake --build build-interop -j "$jobs" --target kvxml16
mkdir -p "$out" build-interop/java
${CXX:-g++} -std=c++20 -O2 -Isrc tests/interop/producer/FiDocuments.cpp -o build-interop/FiDocuments \
    -Lbuild-interop -lkvxml16 -Wl,-rpath,"$PWD/build-interop"
javac -d build-interop/java -cp "$classpath" tests/interop/FiInterop.java
java_run() { java -Xmx2g -cp "build-interop/java:$classpath" FiInterop "$@"; }

if [ "${1:-}" = samples ]; then
    # Small documents in the Java codec's own choices of form, from our example XML.
    build-interop/FiDocuments "$out"
    mkdir -p tests/data/fi
    for name in order checkout batch; do
        java_run encode "$out/$name.xml" "tests/data/fi/$name.finf"
        cp "$out/$name.xml" "tests/data/fi/$name.xml"
    done
    ls -l tests/data/fi
    exit 0
fi

if [ -f "$generator" ]; then
    python3 "$generator" --bytes 20000000 --seed 1 -o "$out/po20mb-source.xml"
    build-interop/FiDocuments "$out" "$out/po20mb-source.xml"
else
    echo "note: $generator not found, the 20 MB purchase orders are left out" >&2
    build-interop/FiDocuments "$out"
fi
java_run compare "$out/manifest.tsv"

#!/bin/sh
# Peak resident memory of a chunked, filtered load (every element dropped) of a large generated
# purchase-order document. Makes the document with gen_po.py when it is missing; it stays in /tmp.
#   bench/peak_rss.sh [build-dir] [bytes]
set -e
BUILD=${1:-build-bench}
BYTES=${2:-200000000}
DOC=${KVXML_BENCH_BIG_PO:-/tmp/kvxml_po_${BYTES}.xml}
GEN=${KVXML_GEN_PO:-$(cd "$(dirname "$0")/.." && pwd)/../shared/bench/gen_po.py}
[ -f "$DOC" ] || python3 "$GEN" --bytes "$BYTES" --seed 1 -o "$DOC"
KVXML_BENCH_DOC="$DOC" python3 - "$BUILD/bench/bench_files" <<'PY'
import os, resource, subprocess, sys
subprocess.run([sys.argv[1], "--benchmark_filter=BM_ChunkedLoadKeepNothing", "--benchmark_min_time=0.01"],
               check=True, stdout=subprocess.DEVNULL)
size = os.path.getsize(os.environ["KVXML_BENCH_DOC"])
peak = resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss / 1024
print(f"document {size / 1e6:.0f} MB, peak RSS of the chunked filtered load {peak:.1f} MiB")
PY

#!/bin/sh
# The read and write benchmarks beside their floors, all on one document, interleaved for several
# rounds (every program once per round, so that the machine's noise hits all alike), and a markdown
# table of the ratios with their medians over the rounds and the absolute MB/s.
#   bench/compare.sh [BUILD_DIR] [ROUNDS]
# KVXML_BENCH_DOC names the document; without it the 20 MB one (gen_po.py --bytes 20000000
# --seed 1) is made in /tmp when missing. KVXML_BENCH_MIN_TIME: seconds per benchmark (default 1).
# Needs a build with -DKVXML_BUILD_BENCH=ON (Release for figures).
set -e
BUILD=${1:-build-rel}
ROUNDS=${2:-3}
HERE=$(cd "$(dirname "$0")" && pwd)
GEN=${KVXML_GEN_PO:-$HERE/../../shared/bench/gen_po.py}
DOC=${KVXML_BENCH_DOC:-/tmp/kvxml_po_20mb.xml}
if [ ! -f "$DOC" ]; then
    python3 "$GEN" --bytes 20000000 --seed 1 -o "$DOC.part" >&2
    mv "$DOC.part" "$DOC"
fi
KVXML_BENCH_DOC=$DOC exec python3 - "$BUILD" "$ROUNDS" "$(git -C "$HERE" rev-parse --short HEAD 2>/dev/null || echo '?')" <<'PY'
import json, os, statistics, subprocess, sys, time

build, rounds, commit = sys.argv[1], int(sys.argv[2]), sys.argv[3]
doc = os.environ["KVXML_BENCH_DOC"]
min_time = os.environ.get("KVXML_BENCH_MIN_TIME", "1")

# Program key: (path in the build, benchmark filter).
programs = {
    "read": ("bench/bench_read_frame", "^BM_(ExpatFloor|LoadTree)/1$"),
    "binding": ("bench/bench_binding", "^BM_(ExpatFloor|FromXml|ToXml)$"),
    "write": ("bench/bench_write_frame", "^BM_(ToXml|AppendFloor)$"),
    "po": ("examples/kvxml_po_bench", "^BM_(Read|Write)<"),
    "json": ("bench/bench_json", "^BM_(FromXml|FromJson)$"),
    "fi": ("bench/bench_fastinfoset_read", "^BM_(FromXml|FromFastInfosetStream)$"),
    "values": ("bench/bench_values", "^BM_(r8ToString|r8ToStringReference|r4ToString|r4ToStringReference|AppendByte)$"),
}
UNIT = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1.0}
results = {}  # (program, benchmark) -> list of {"cpu": seconds, "mbps": MB/s or None}, one per round
rss = []      # peak resident MiB of a process that does only FromXml, one per round
failures = set()


def run(key):
    path, filt = programs[key]
    exe = os.path.join(build, path)
    if not os.path.exists(exe):
        failures.add(f"{path} not built")
        return
    proc = subprocess.run([exe, f"--benchmark_filter={filt}", f"--benchmark_min_time={min_time}",
                           "--benchmark_format=json"], capture_output=True, text=True)
    try:
        report = json.loads(proc.stdout)
    except ValueError:
        failures.add(f"{path} failed ({proc.returncode}): {proc.stderr.strip()[-200:]}")
        return
    for b in report.get("benchmarks", []):
        if b.get("error_occurred") or b.get("run_type") == "aggregate":
            continue
        mbps = b.get("MB/s")
        if mbps is None and "bytes_per_second" in b:
            mbps = b["bytes_per_second"] / 1e6
        results.setdefault((key, b["name"]), []).append(
            {"cpu": b["cpu_time"] * UNIT[b["time_unit"]], "mbps": mbps})


def peak_rss():
    # A program of its own when there is one, else one FromXml in the binding benchmark.
    own = os.path.join(build, "bench/fromxml_rss")
    if os.path.exists(own):
        command = [own]
    else:
        command = [os.path.join(build, "bench/bench_binding"), "--benchmark_filter=^BM_FromXmlOnce"]
    if not os.path.exists(command[0]):
        return
    child = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    _, status, usage = os.wait4(child.pid, 0)
    child.returncode = os.waitstatus_to_exitcode(status)
    if child.returncode == 0:
        rss.append(usage.ru_maxrss / 1024)
    else:
        failures.add(f"{command[0]} failed ({child.returncode})")


load_before = os.getloadavg()[0]
started = time.strftime("%Y-%m-%d %H:%M UTC", time.gmtime())
for r in range(rounds):
    for key in programs:
        run(key)
    peak_rss()
    print(f"round {r + 1} of {rounds} done", file=sys.stderr)
load_after = os.getloadavg()[0]


def series(key, name):
    return results.get((key, name), [])


def med(values):
    return statistics.median(values) if values else None


def ratios(a, b):
    # Per round, numerator and denominator from the same run of one program.
    return [x["cpu"] / y["cpu"] for x, y in zip(a, b)]


def fmt(v, digits=2):
    return "n/a" if v is None else f"{v:.{digits}f}"


def mbps(s):
    return fmt(med([x["mbps"] for x in s if x["mbps"] is not None]) if s else None, 1)


def goal_met(value, goal, at_most):
    if value is None or goal is None:
        return ""
    return "yes" if (value <= goal if at_most else value >= goal) else "no"


rows = []


def ratio_row(title, key, num, den, goal=None, at_most=True):
    a, b = series(key, num), series(key, den)
    rs = ratios(a, b)
    m = med(rs)
    goal_text = "" if goal is None else ("≤ " if at_most else "≥ ") + f"{goal:g}"
    rows.append((title, fmt(m), " ".join(fmt(x) for x in rs) or "n/a", goal_text, goal_met(m, goal, at_most),
                 f"{mbps(a)} / {mbps(b)} MB/s"))


def speedup_row(title, key, new, reference, goal):
    a, b = series(key, new), series(key, reference)
    rs = ratios(b, a)
    m = med(rs)
    ns = lambda s: fmt(med([x["cpu"] for x in s]) * 1e9 if s else None, 1)
    rows.append((title, fmt(m), " ".join(fmt(x) for x in rs) or "n/a", f"≥ {goal:g}", goal_met(m, goal, False),
                 f"{ns(b)} / {ns(a)} ns per iteration"))


ratio_row("tree load / Expat floor", "read", "BM_LoadTree/1", "BM_ExpatFloor/1", 1.5)
ratio_row("FromXml / Expat floor", "binding", "BM_FromXml", "BM_ExpatFloor", 1.9)
ratio_row("ToXml / append floor", "write", "BM_ToXml", "BM_AppendFloor")
ratio_row("generated / hand-written, read", "po", "BM_Read<GeneratedPo::COrders>", "BM_Read<HandWrittenPo::COrders>", 1.05)
ratio_row("generated / hand-written, write", "po", "BM_Write<GeneratedPo::COrders>", "BM_Write<HandWrittenPo::COrders>", 1.05)
ratio_row("FromJson / FromXml", "json", "BM_FromJson", "BM_FromXml")
ratio_row("FromFastInfoset / FromXml", "fi", "BM_FromFastInfosetStream", "BM_FromXml")
m = med(rss)
rows.append(("peak RSS of FromXml only (MiB)", fmt(m, 1), " ".join(fmt(x, 1) for x in rss) or "n/a", "≤ 100",
             goal_met(m, 100, True), ""))
speedup_row("r8ToString speed-up (reference / new)", "values", "BM_r8ToString", "BM_r8ToStringReference", 5)
speedup_row("r4ToString speed-up (reference / new)", "values", "BM_r4ToString", "BM_r4ToStringReference", 5)
append = series("values", "BM_AppendByte")
m = med([x["mbps"] for x in append if x["mbps"] is not None])
rows.append(("AppendByte (MB/s)", fmt(m, 0), " ".join(fmt(x["mbps"], 0) for x in append if x["mbps"] is not None)
             or "n/a", "≥ 1000", goal_met(m, 1000, False), ""))

size = os.path.getsize(doc)
print(f"Document `{os.path.basename(doc)}`, {size:,} bytes; build `{build}`, commit {commit}; {rounds} rounds "
      f"started {started}; {os.cpu_count()} cores, load average {load_before:.1f} before, {load_after:.1f} after. "
      "Ratios of processor time, each measured within one run of one program; MB/s of the document's "
      "UTF-8 bytes.")
print()
print("| Measure | Median | Rounds | Goal | Met | Absolute (num / den) |")
print("|---|---|---|---|---|---|")
for row in rows:
    print("| " + " | ".join(row) + " |")
print()
print("| Program | Benchmark | CPU ms (median) | MB/s (median) |")
print("|---|---|---|---|")
for (key, name), s in results.items():
    cpu = med([x["cpu"] for x in s]) * 1e3
    print(f"| {os.path.basename(programs[key][0])} | `{name}` | {cpu:.3g} | {mbps(s)} |")
for f in sorted(failures):
    print(f"\nNot measured: {f}")
PY

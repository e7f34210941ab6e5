#!/usr/bin/env bash
# Sets up a Debian 12 machine for kvxml16, builds it, and runs what is asked:
#   scripts/setup.sh demo    install what is missing, build, run the demo
#   scripts/setup.sh test    install what is missing, build and run every test, plain and under
#                            AddressSanitizer + UndefinedBehaviorSanitizer
#   scripts/setup.sh tsan    the tests under ThreadSanitizer
#   scripts/setup.sh bench   build the benchmarks (Release) and run them
#   scripts/setup.sh build   install what is missing and build only
#   scripts/setup.sh fuzz [SECONDS]  install clang, build the libFuzzer harnesses in build-fuzz and
#                            run each on a copy of its seed corpus for SECONDS (default 60)
#   scripts/setup.sh interop Fast Infoset output decoded by Debian's Java codec and compared
#                            with our XML (installs a Java runtime and libfastinfoset-java)
set -euo pipefail
cd "$(dirname "$0")/.."

mode=${1:-build}
jobs=$(nproc 2>/dev/null || echo 2)

packages=(build-essential cmake ninja-build pkg-config libexpat1-dev libpcre2-dev zlib1g-dev
          libgtest-dev libgmock-dev libbenchmark-dev libgmp-dev python3 clang-format
          libxml2-utils ismrmrd-schema xmltooling-schemas)

install_missing() {
    local missing=()
    for p in "${packages[@]}"; do
        dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    local sudo=""
    [ "$(id -u)" -ne 0 ] && sudo=sudo
    echo "Installing: ${missing[*]}"
    $sudo apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
}

configure_and_build() {  # dir, extra cmake args...
    local dir=$1; shift
    cmake -S . -B "$dir" -G Ninja "$@" >/dev/null
    cmake --build "$dir" -j "$jobs"
}

run_tests() {  # dir
    ctest --test-dir "$1" --output-on-failure -j "$jobs"
}

[ "$mode" = interop ] && packages+=(default-jre-headless default-jdk-headless libfastinfoset-java python3)
[ "$mode" = fuzz ] && packages+=(clang-14 libclang-rt-14-dev)
install_missing

case "$mode" in
    build)
        configure_and_build build -DCMAKE_BUILD_TYPE=RelWithDebInfo
        ;;
    demo)
        configure_and_build build -DCMAKE_BUILD_TYPE=RelWithDebInfo
        ./build/examples/kvxml_purchase_order
        echo
        echo "From schema to classes:"
        echo "  build/tools/kvxmlc/kvxmlc examples/purchase_order/PurchaseOrder.xsd examples/purchase_order/Checkout.xsd --out build/demo-classes"
        ./build/tools/kvxmlc/kvxmlc examples/purchase_order/PurchaseOrder.xsd examples/purchase_order/Checkout.xsd \
            --out build/demo-classes
        ls build/demo-classes
        grep -h '^class C.* : public' build/demo-classes/PurchaseOrder.h build/demo-classes/Checkout.h
        # The same order through the kvxml program: XML to JSON to Fast Infoset and back to XML.
        kvxml=./build/tools/kvxml/kvxml
        ./build/examples/kvxml_purchase_order | sed -n '1,/<\/purchaseOrder>/p' > build/purchase_order.xml
        "$kvxml" convert build/purchase_order.xml build/purchase_order.json
        "$kvxml" convert build/purchase_order.json build/purchase_order.fi
        "$kvxml" convert build/purchase_order.fi -
        "$kvxml" check build/purchase_order.xml build/purchase_order.json build/purchase_order.fi
        ;;
    test)
        # Cheap checks first: the tests stay lean and no folder includes one above it.
        ./scripts/test_ratio.sh
        ./scripts/check_layers.sh
        ./scripts/check_format.sh
        # The benchmarks are compiled too, so that they cannot rot unnoticed.
        configure_and_build build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKVXML_BUILD_BENCH=ON
        run_tests build
        configure_and_build build-asan -DCMAKE_BUILD_TYPE=Debug -DKVXML_SANITIZE=ON -DCMAKE_CXX_FLAGS=-O1
        ASAN_OPTIONS=halt_on_error=1:detect_leaks=1:strict_string_checks=1 \
        UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1 \
            run_tests build-asan
        ;;
    tsan)
        configure_and_build build-tsan -DCMAKE_BUILD_TYPE=Debug -DKVXML_TSAN=ON -DCMAKE_CXX_FLAGS=-O1
        TSAN_OPTIONS=halt_on_error=1 run_tests build-tsan
        ;;
    bench)
        configure_and_build build-bench -DCMAKE_BUILD_TYPE=Release -DKVXML_BUILD_BENCH=ON -DKVXML_BUILD_TESTS=OFF
        for b in build-bench/bench/*; do
            [ -x "$b" ] && [ -f "$b" ] && "$b"
        done
        ;;
    interop)
        tests/interop/run.sh
        ;;
    fuzz)
        seconds=${2:-60}
        configure_and_build build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_FLAGS_RELWITHDEBINFO="-O1 -g" \
            -DCMAKE_CXX_COMPILER=clang++-14 -DKVXML_FUZZ=ON \
            -DKVXML_BUILD_TESTS=OFF -DKVXML_BUILD_EXAMPLES=OFF -DKVXML_BUILD_TOOLS=OFF
        # The committed seeds stay as they are: each run grows its own copy.
        for dir in fuzz/corpus/*/; do
            harness=$(basename "$dir")
            work=build-fuzz/corpus/$harness
            mkdir -p "$work" build-fuzz/findings
            cp -n "$dir"* "$work"/ || true  # seeds already copied stay
            echo "== $harness, $seconds s"
            status=0
            "./build-fuzz/fuzz/$harness" -max_total_time="$seconds" -timeout=30 -rss_limit_mb=2560 \
                -print_final_stats=1 -artifact_prefix="build-fuzz/findings/$harness-" "$work" \
                > "build-fuzz/$harness.log" 2>&1 || status=$?
            grep -E '^(stat::number_of_executed_units|SUMMARY|Test unit written)' "build-fuzz/$harness.log" || true
            [ "$status" -eq 0 ] || { echo "$harness found a fault: build-fuzz/$harness.log" >&2; exit 1; }
        done
        ;;
    *)
        echo "usage: $0 demo|test|tsan|bench|build|interop|fuzz [SECONDS]" >&2
        exit 2
        ;;
esac

#!/usr/bin/env bash
# Measures the libraries against others on this machine, built for any x86-64 and, where this one is of that kind, for
# x86-64-v3, and writes the figures.
#   ./bench.sh            everything: docs/performance.md with its two plots, and build/bench/report.md; about 12 minutes
#   ./bench.sh --quick    a coarser run of the same, only to build/bench/report.md; about three minutes
# A part alone: build/bench/conversion_bench --benchmark_filter=GBK/dense (and detection_bench), bench/instructions.py
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
source tools/packages.sh

mode=${1:---full}
case $mode in
    --full) options=(--benchmark_repetitions=5 --benchmark_min_time=0.04) filter=. ;;
    --quick) options=(--benchmark_repetitions=3 --benchmark_min_time=0.02) filter='warm|fixed|detection.*/(16|1024|8192|65536|1048576)/' ;;
    *) sed -n '2,/^set/{/^#/s/^# \?//p}' "$0"; exit 2 ;;
esac

need_packages "${BUILD_PACKAGES[@]}" libbenchmark-dev libicu-dev libuchardet-dev pkg-config python3 python3-matplotlib
need_packages "${ARM_PACKAGES[@]}" "${ARM64_PACKAGES[@]}"
need_packages libenca-dev || echo "Going on without enca."
builds=(release)
if /lib64/ld-linux-x86-64.so.2 --help 2>/dev/null | grep -q 'x86-64-v3 (supported'; then
    builds+=(x86-64-v3)
fi
for build in "${builds[@]}"; do
    [ -f "build/$build/build.ninja" ] || cmake --preset "$build" -DZUCHARSET_TESTS=OFF >/dev/null
    cmake --build --preset "$build" --target zutext_lib -- --quiet
done
cmake -G Ninja -S bench -B build/bench -DZUCHARSET_BUILD="$PWD/build/release" >/dev/null
cmake --build build/bench -- --quiet

# measure BUILD PART FILTER FILE: in random order, so that a slow minute of the machine does not fall on one competitor.
measure() {
    echo "== Measuring $2 ($1)"
    LD_LIBRARY_PATH="$PWD/build/$1" "build/bench/$2_bench" "${options[@]}" --benchmark_filter="$3" \
        --benchmark_enable_random_interleaving=true --benchmark_report_aggregates_only=true \
        --benchmark_out_format=json --benchmark_out="build/bench/$4.json" >/dev/null
}
rm -f build/bench/*-v3.json
for part in conversion detection; do
    measure release $part "$filter" $part
done
# Beside the faster build only what its figures are held against.
if [ ${#builds[@]} -gt 1 ]; then
    measure x86-64-v3 conversion 'warm/(zucharset|iconv)' conversion-v3
    measure x86-64-v3 detection 'detection.*/(16|1024|8192|65536|1048576)/zu|fixed' detection-v3
fi
echo "== Counting instructions"
bench/instructions.py --check || echo "Going on: the table of instructions is the one that is written down."
/usr/bin/python3 bench/report.py "$mode" # Debian's Python, for which its matplotlib is made
echo "Figures: build/bench/report.md"

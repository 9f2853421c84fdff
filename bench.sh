#!/usr/bin/env bash
# Measures the library against others on this machine and writes the figures.
#   ./bench.sh            everything: docs/performance.md with its two plots, and build/bench/report.md; about eight minutes
#   ./bench.sh --quick    a coarser run of the same, only to build/bench/report.md; about two minutes
# A part alone: build/bench/conversion_bench --benchmark_filter=GBK/dense (and detection_bench), bench/instructions.sh
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
source tools/packages.sh

mode=${1:---full}
case $mode in
    --full) options=(--benchmark_repetitions=5 --benchmark_min_time=0.04) filter=. ;;
    --quick) options=(--benchmark_repetitions=3 --benchmark_min_time=0.02) filter='warm|fixed|detection.*/(16|8192|65536|1048576)/' ;;
    *) sed -n '2,/^set/{/^#/s/^# \?//p}' "$0"; exit 2 ;;
esac

need_packages "${BUILD_PACKAGES[@]}" libbenchmark-dev libicu-dev libuchardet-dev pkg-config python3 python3-matplotlib
need_packages libenca-dev || echo "Going on without enca."
[ -f build/release/build.ninja ] || cmake --preset release -DZUCHARSET_TESTS=OFF >/dev/null
cmake --build --preset release --target zucharset_lib -- --quiet
cmake -G Ninja -S bench -B build/bench -DZUCHARSET_BUILD="$PWD/build/release" >/dev/null
cmake --build build/bench -- --quiet

# In random order, so that a slow minute of the machine does not fall on one competitor.
for part in conversion detection; do
    echo "== Measuring $part"
    "build/bench/${part}_bench" "${options[@]}" --benchmark_filter="$filter" \
        --benchmark_enable_random_interleaving=true --benchmark_report_aggregates_only=true \
        --benchmark_out_format=json --benchmark_out="build/bench/$part.json" >/dev/null
done
echo "== Counting instructions"
bench/instructions.sh
/usr/bin/python3 bench/report.py "$mode" # Debian's Python, for which its matplotlib is made
echo "Figures: build/bench/report.md"

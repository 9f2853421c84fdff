#!/usr/bin/env bash
# Runs the fuzz targets, each for a number of seconds (60), under the address and undefined-behaviour sanitizers.
#   ./fuzz.sh [SECONDS]
# What it learns stays in build/fuzz, or in the folder that FUZZ_BUILD in the environment names.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
source tools/packages.sh

usage() { sed -n '2,/^set/{/^#/s/^# \?//p}' "$0"; }
seconds=${1:-60}
case $seconds in
    -h | --help) usage; exit ;;
esac
if [ $# -gt 1 ] || [[ ! $seconds =~ ^[1-9][0-9]*$ ]]; then
    echo "error: SECONDS is a whole number from 1 on" >&2
    usage >&2
    exit 2
fi
build=${FUZZ_BUILD:-build/fuzz}
need_packages "${BUILD_PACKAGES[@]}" "${CLANG_PACKAGES[@]}" googletest python3

cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
    -DZUCHARSET_SANITIZE=address,undefined,fuzzer-no-link -DZUCHARSET_CLI=OFF -DZUCHARSET_TESTS=ON \
    -DZUCHARSET_WERROR=ON >/dev/null
targets=(identify convert operations text)
cmake --build "$build" --target "${targets[@]/%/_fuzzer}" -- --quiet

status=0
for target in "${targets[@]}"; do
    # What the fuzzer learns stays in the build folder, what it finds in fuzz/found.
    mkdir -p "$build/corpus/$target" "fuzz/found/$target"
    log=$build/$target.log
    result=clean
    # Texts are long from the start, since much begins behind the first kilobyte; a sequence of operations need not be.
    length=2048
    [ "$target" != operations ] || length=512
    "$build/fuzz/${target}_fuzzer" -max_total_time="$seconds" -max_len="$length" -len_control=0 -timeout=10 \
        -print_final_stats=1 \
        -artifact_prefix="fuzz/found/$target/" "$build/corpus/$target" "fuzz/corpus/$target" >"$log" 2>&1 || result=FAULT
    executions=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    echo "$target: ${executions:-?} executions, $result"
    if [ "$result" != clean ]; then
        status=1
        tail -n 40 "$log"
    fi
done
if [ $status -ne 0 ]; then
    cat <<'END'
The inputs that failed are in fuzz/found/TARGET. To shorten one, run
    build/fuzz/fuzz/TARGET_fuzzer -minimize_crash=1 -max_total_time=60 fuzz/found/TARGET/FILE
and keep it for good, under a name that says what it shows, with
    cp FILE fuzz/corpus/TARGET/NAME
END
fi
exit $status

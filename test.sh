#!/usr/bin/env bash
# Builds and runs every test.
#   ./test.sh            all suites
#   ./test.sh SUITE...   only these
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
source tools/packages.sh

# One row a suite: what it is, the command that builds and runs it, and the Debian packages that this needs.
suites=()
declare -A about command packages
suite() {
    suites+=("$1")
    about[$1]=$2 command[$1]=$3 packages[$1]=${*:4}
}
preset() { # NAME: of CMakePresets.json
    cmake --preset "$1" -DZUCHARSET_TESTS=ON >/dev/null
    cmake --build --preset "$1" -- --quiet
    ctest --preset "$1" --parallel "$(nproc)"
}
x86_64_v3() {
    if /lib64/ld-linux-x86-64.so.2 --help | grep 'x86-64-v3 (supported' >/dev/null; then
        preset x86-64-v3
    else
        echo "Left out: this processor is no x86-64-v3."
    fi
}
players() {
    cmake --preset release -DZUCHARSET_CLI=ON >/dev/null
    cmake --build --preset release --target zucharset_cli -- --quiet
    python3 -B tests/players/test_players.py build/release
}
both=("${BUILD_PACKAGES[@]}" "${TEST_PACKAGES[@]}")
suite release     "as released"                                           "preset release"     "${both[@]}"
suite x86-64-v3   "as released, for processors with AVX2"                 x86_64_v3            "${both[@]}"
suite clang       "as released, built by clang"                           "preset clang"       "${both[@]}" "${CLANG_PACKAGES[@]}"
suite debug       "under the address and undefined-behaviour sanitizers"  "preset debug"       "${both[@]}"
suite debug-plain "the same, of the code for processors without vectors"  "preset debug-plain" "${both[@]}"
suite tsan        "under the thread sanitizer, where threads meet"        "preset tsan"        "${both[@]}"
suite arm         "32-bit ARM, emulated"                                  "preset arm"         "${both[@]}" "${ARM_PACKAGES[@]}"
suite arm-neon    "32-bit ARM with NEON, emulated"                        "preset arm-neon"    "${both[@]}" "${ARM_PACKAGES[@]}"
suite arm64       "64-bit ARM, emulated"                                  "preset arm64"       "${both[@]}" "${ARM64_PACKAGES[@]}"
suite players     "the recipes of docs/players.md, with real players"       players              "${BUILD_PACKAGES[@]}" "${PLAYER_PACKAGES[@]}"
suite instructions "no more instructions per byte than bench/instructions.csv says" "bench/instructions.py --check" \
    "${both[@]}" "${ARM_PACKAGES[@]}" "${ARM64_PACKAGES[@]}"
suite python      "the Python package, its wheels and the cluster example"    python/test.sh        "${BUILD_PACKAGES[@]}" "${PYTHON_PACKAGES[@]}"
suite web         "the JavaScript package and the page, in a browser"     "./web.sh test"      "${WEB_PACKAGES[@]}" "${WEB_TEST_PACKAGES[@]}"

usage() {
    sed -n '2,/^set/{/^#/s/^# \?//p}' "$0"
    echo "Suites:"
    for name in "${suites[@]}"; do
        printf '  %-12s %s\n' "$name" "${about[$name]}"
    done
}
chosen=("$@")
for name in "${chosen[@]}"; do
    case $name in
        -h | --help) usage; exit ;;
        *) [ -n "${command[$name]-}" ] || { echo "error: there is no suite '$name'" >&2; usage >&2; exit 2; } ;;
    esac
done
[ ${#chosen[@]} -gt 0 ] || chosen=("${suites[@]}")

# All at once: the archive is asked only once.
needed=()
for name in "${chosen[@]}"; do
    needed+=(${packages[$name]})
done
mapfile -t needed < <(printf '%s\n' "${needed[@]}" | sort -u)
need_packages "${needed[@]}"
for name in "${chosen[@]}"; do
    echo "== $name: ${about[$name]}"
    SECONDS=0
    ${command[$name]}
    echo "== $name took $((SECONDS / 60)) min $((SECONDS % 60)) s"
done
echo "All tests passed: ${chosen[*]}"

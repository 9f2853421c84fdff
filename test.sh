#!/usr/bin/env bash
# Builds and runs every test: on this machine as released and under the sanitizers (of threads: where threads meet), and
# on 32-bit ARM under emulation.
#   ./test.sh            everything
#   ./test.sh PRESET...  only these presets: release, debug, tsan, arm
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
source tools/packages.sh

presets=("$@")
[ ${#presets[@]} -gt 0 ] || presets=(release debug tsan arm)
need_packages "${BUILD_PACKAGES[@]}" "${TEST_PACKAGES[@]}"

for preset in "${presets[@]}"; do
    echo "== $preset: building"
    cmake --preset "$preset" -DZUCHARSET_TESTS=ON >/dev/null
    cmake --build --preset "$preset" -- --quiet
    echo "== $preset: testing"
    ctest --preset "$preset" --parallel "$(nproc)"
done
echo "All tests passed: ${presets[*]}"

#!/usr/bin/env bash
# Checks the formatting of all hand-written C and C++ and runs clang-tidy over it.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source tools/packages.sh

need_packages "${BUILD_PACKAGES[@]}" clang-format clang-tidy
git ls-files '*.c' '*.h' '*.cpp' | grep -v '/tables/' | xargs clang-format --dry-run --Werror
cmake --preset release >/dev/null
git ls-files 'common/*.cpp' 'manager/*.cpp' 'detector/*.cpp' 'identification/*.cpp' 'converters/*.cpp' 'platform/*.cpp' 'text/*.cpp' \
    'cli/*.cpp' |
    xargs -P "$(nproc)" -n 1 clang-tidy -p build/release --quiet
echo "Nothing to mend."

#!/usr/bin/env bash
# Tests the Python package: types and style, the wheels, the package as a wheel installs it, and the cluster example.
#   python/test.sh            all of it
#   python/test.sh package    without the cluster
#   python/test.sh cluster    the cluster alone; ZUCHARSET_CLUSTER_FILES in the environment: how many files (3,000)
# BUILD_ROOT in the environment names another folder than build.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source tools/packages.sh
part=${1:-all}
case $part in
    all | package | cluster) ;;
    *) sed -n '2,/^set/{/^#/s/^# \?//p}' "$0"; [ "$part" = --help ] && exit; exit 2 ;;
esac
need_packages "${BUILD_PACKAGES[@]}" "${PYTHON_PACKAGES[@]}"
export BUILD_ROOT
BUILD_ROOT=$(realpath -m "${BUILD_ROOT:-build}")
export ZUCHARSET_WHEELS=$BUILD_ROOT/wheels
# Debian's Python: its modules are what need_packages installs.
python=/usr/bin/python3

$python -m mypy --config-file python/pyproject.toml --cache-dir "$BUILD_ROOT/mypy" \
    python/zucharset python/tests python/compare.py
$python -m flake8 --config python/.flake8 python examples/cluster
python/build-wheels.sh >/dev/null
environment=$BUILD_ROOT/python
rm -rf "$environment"
$python -m venv --system-site-packages "$environment"
"$environment/bin/pip" install --quiet --no-index --no-deps "$ZUCHARSET_WHEELS"/zucharset-*_"$(uname -m)".whl
tests=()
[ "$part" = cluster ] || tests+=(python/tests)
[ "$part" = package ] || tests+=(examples/cluster)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
"$environment/bin/python" -B -m pytest -q -p no:cacheprovider --basetemp="$scratch/tests" "${tests[@]}"

#!/usr/bin/env bash
# Builds the wheels of the Python package into build/wheels.
#   python/build-wheels.sh           x86_64, with a build for x86-64-v3 beside the base one, and aarch64
#   python/build-wheels.sh ARCH...   only these
# BUILD_ROOT in the environment names another folder than build.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source tools/packages.sh

architectures=("$@")
[ ${#architectures[@]} -gt 0 ] || architectures=(x86_64 aarch64)
need_packages "${BUILD_PACKAGES[@]}" binutils python3-build python3-venv python3-setuptools python3-wheel
root=$(realpath -m "${BUILD_ROOT:-build}")/wheels

build_libraries() { # ARCH BUILD PRESET PREFIX: into $root/ARCH/libraries/BUILD
    local folder=$root/$1/$2 libraries=$root/$1/libraries/$2 library
    cmake --preset "$3" -B "$folder" -DZUCHARSET_CLI=OFF -DZUCHARSET_TESTS=OFF -DZUCHARSET_EXAMPLES=OFF \
        -DZUCHARSET_HWCAPS= -DCMAKE_BUILD_WITH_INSTALL_RPATH=ON "-DCMAKE_INSTALL_RPATH=\$ORIGIN" >/dev/null
    cmake --build "$folder" -- --quiet
    mkdir -p "$libraries"
    for library in libvemora_utils libzucharset libzutext; do
        "$4strip" --strip-unneeded -o "$libraries/$library.so" "$folder/$library.so"
    done
}

for architecture in "${architectures[@]}"; do
    rm -rf "$root/$architecture/libraries" "$root/$architecture/package"
    case $architecture in
        x86_64)
            need_packages g++
            build_libraries x86_64 base release ""
            build_libraries x86_64 x86-64-v3 x86-64-v3 ""
            ;;
        aarch64)
            need_packages g++-aarch64-linux-gnu
            build_libraries aarch64 base arm64 aarch64-linux-gnu-
            ;;
        *) echo "error: unknown architecture '$architecture'; there are x86_64 and aarch64" >&2; exit 2 ;;
    esac
    # A copy, so that setuptools leaves nothing behind in the sources.
    mkdir -p "$root/$architecture/package/python"
    cp CMakeLists.txt LICENSE NOTICE "$root/$architecture/package"
    cp -r python/{pyproject.toml,setup.py,README.md,zucharset} "$root/$architecture/package/python"
    if ! ZUCHARSET_LIBRARIES=$root/$architecture/libraries /usr/bin/python3 -m build --no-isolation --wheel \
        --outdir "$root" "$root/$architecture/package/python" >"$root/$architecture/log" 2>&1; then
        cat "$root/$architecture/log" >&2
        exit 1
    fi
done
ls -l "$root"/*.whl

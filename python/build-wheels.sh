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

build_libraries() { # ARCH BUILD PREFIX CMAKE-ARGUMENT...: into $root/ARCH/libraries/BUILD
    local folder=$root/$1/$2 libraries=$root/$1/libraries/$2 prefix=$3
    cmake -G Ninja -B "$folder" -DCMAKE_BUILD_TYPE=Release -DZUCHARSET_CLI=OFF -DZUCHARSET_TESTS=OFF \
        -DZUCHARSET_EXAMPLES=OFF \
        -DCMAKE_BUILD_WITH_INSTALL_RPATH=ON "-DCMAKE_INSTALL_RPATH=\$ORIGIN" "${@:4}" >/dev/null
    cmake --build "$folder" -- --quiet
    mkdir -p "$libraries"
    local library
    for library in libvemora_utils libzucharset libzutext; do
        "${prefix}strip" --strip-unneeded -o "$libraries/$library.so" "$folder/$library.so"
    done
}

for architecture in "${architectures[@]}"; do
    rm -rf "$root/$architecture/libraries" "$root/$architecture/package"
    case $architecture in
        x86_64)
            need_packages g++
            build_libraries x86_64 base ""
            build_libraries x86_64 x86-64-v3 "" -DCMAKE_C_FLAGS=-march=x86-64-v3 -DCMAKE_CXX_FLAGS=-march=x86-64-v3
            ;;
        aarch64)
            need_packages g++-aarch64-linux-gnu
            build_libraries aarch64 base aarch64-linux-gnu- -DCMAKE_SYSTEM_NAME=Linux \
                -DCMAKE_SYSTEM_PROCESSOR=aarch64 -DCMAKE_C_COMPILER=aarch64-linux-gnu-gcc \
                -DCMAKE_CXX_COMPILER=aarch64-linux-gnu-g++
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

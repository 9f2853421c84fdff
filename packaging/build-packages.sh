#!/usr/bin/env bash
# Builds the Debian packages into build/packages and has lintian look at them.
#   packaging/build-packages.sh           for all architectures
#   packaging/build-packages.sh ARCH...   only these: amd64, armhf, arm64
# BUILD_ROOT in the environment names another folder than build.
set -euo pipefail
top=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
source "$top/tools/packages.sh"
cd "$top"

architectures=("$@")
[ ${#architectures[@]} -gt 0 ] || architectures=(amd64 armhf arm64)
need_packages "${BUILD_PACKAGES[@]}" dpkg-dev lintian python3
build_root=$(realpath -m "${BUILD_ROOT:-build}")
packages=$build_root/packages
mkdir -p "$packages"
SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct 2>/dev/null || stat -c %Y CHANGELOG.md)}
export SOURCE_DATE_EPOCH

for architecture in "${architectures[@]}"; do
    case $architecture in
        amd64) triplet=x86_64-linux-gnu preset=release ;;
        armhf) triplet=arm-linux-gnueabihf preset=arm; need_packages "${ARM_PACKAGES[@]}" ;;
        arm64) triplet=aarch64-linux-gnu preset=arm64; need_packages "${ARM64_PACKAGES[@]}" ;;
        *) echo "error: unknown architecture '$architecture'; there are amd64, armhf and arm64" >&2; exit 2 ;;
    esac
    if [ "$architecture" = amd64 ] && [ "$(dpkg --print-architecture)" != amd64 ]; then
        echo "error: packages for amd64 are built on an amd64 machine" >&2
        exit 2
    fi
    folder=$build_root/package-$architecture
    echo "== $architecture"
    rm -f "$packages"/*_"$architecture".deb
    # Debian's folders are searched anyway, so the packages need no run path of their own.
    cmake --preset "$preset" -B "$folder" -DZUCHARSET_TESTS=OFF -DZUCHARSET_EXAMPLES=OFF -DCMAKE_SKIP_RPATH=ON \
        -DCMAKE_INSTALL_PREFIX=/usr -DCMAKE_INSTALL_LIBDIR="lib/$triplet" \
        -DZUCHARSET_ZSH_COMPLETIONS_DIR=share/zsh/vendor-completions >/dev/null
    cmake --build "$folder" -- --quiet
    if ! (cd "$folder" && cpack -G DEB -B "$packages" >cpack.log); then
        cat "$folder/cpack.log" >&2
        exit 1
    fi
    for package in "$packages"/*_"$architecture".deb; do
        dpkg-deb -x "$package" "$folder/unpacked"
    done
    python3 -B tests/packaging/run_paths.py --system "$folder/unpacked"
    rm -rf "$folder/unpacked"
done
rm -rf "$packages/_CPack_Packages"
# What lintian says and what holds all the same stands in packages.cmake, with its reason.
lintian --allow-root --fail-on error,warning --tag-display-limit 0 "$packages"/*.deb
ls -l "$packages"/*.deb

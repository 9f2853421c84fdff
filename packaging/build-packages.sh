#!/usr/bin/env bash
# Builds the Debian packages for amd64 and armhf into build/packages.
#   packaging/build-packages.sh           both
#   packaging/build-packages.sh ARCH...   only these: amd64, armhf
# BUILD_ROOT in the environment names another folder than build.
set -euo pipefail
top=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
source "$top/tools/packages.sh"
cd "$top"

architectures=("$@")
[ ${#architectures[@]} -gt 0 ] || architectures=(amd64 armhf)
need_packages "${BUILD_PACKAGES[@]}" dpkg-dev
build_root=$(realpath -m "${BUILD_ROOT:-build}")

for architecture in "${architectures[@]}"; do
    case $architecture in
        amd64) triplet=x86_64-linux-gnu preset=release ;;
        armhf) triplet=arm-linux-gnueabihf preset=arm; need_packages g++-arm-linux-gnueabihf ;;
        *) echo "error: unknown architecture '$architecture'; there are amd64 and armhf" >&2; exit 2 ;;
    esac
    if [ "$architecture" = amd64 ] && [ "$(dpkg --print-architecture)" != amd64 ]; then
        echo "error: packages for amd64 are built on an amd64 machine" >&2
        exit 2
    fi
    folder=$build_root/package-$architecture
    echo "== $architecture"
    # Debian's folders are searched anyway, so the packages need no search path of their own.
    cmake --preset "$preset" -B "$folder" -DZUCHARSET_TESTS=OFF -DZUCHARSET_EXAMPLES=OFF -DCMAKE_SKIP_INSTALL_RPATH=ON \
        -DCMAKE_INSTALL_PREFIX=/usr -DCMAKE_INSTALL_LIBDIR="lib/$triplet" >/dev/null
    cmake --build "$folder" -- --quiet
    if ! (cd "$folder" && cpack -G DEB -B "$build_root/packages" >cpack.log); then
        cat "$folder/cpack.log" >&2
        exit 1
    fi
done
rm -rf "$build_root/packages/_CPack_Packages"
ls -l "$build_root"/packages/*.deb

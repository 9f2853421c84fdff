# Sourced by the scripts in the root folder: need_packages NAME... installs the Debian packages that are missing.

need_packages() {
    local missing=() package
    for package in "$@"; do
        [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" = installed ] || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    echo "Installing: ${missing[*]}"
    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        if ! command -v sudo >/dev/null; then
            echo "error: these Debian packages are missing; as root, run: apt-get install ${missing[*]}" >&2
            return 1
        fi
        as_root=(sudo)
    fi
    # Several scripts may run at a time: each waits for the other's installation.
    local apt=("${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq -o DPkg::Lock::Timeout=300)
    if ! { "${apt[@]}" update && "${apt[@]}" install -y --no-install-recommends "${missing[@]}" >/dev/null; }; then
        echo "error: could not install ${missing[*]}; install them by hand and start again" >&2
        return 1
    fi
}

# The packages that a build needs, and those that its tests need besides.
BUILD_PACKAGES=(g++ cmake ninja-build libcli11-dev)
TEST_PACKAGES=(googletest python3 binutils libc-bin pkg-config doxygen abigail-tools)
# What builds for another architecture, and runs that here.
ARM_PACKAGES=(g++-arm-linux-gnueabihf qemu-user)
ARM64_PACKAGES=(g++-aarch64-linux-gnu qemu-user)
CLANG_PACKAGES=(clang libclang-rt-14-dev)
# What web.sh builds with, and tests with besides. A Node of one's own will do; where there is none, it takes Debian's.
WEB_PACKAGES=(cmake ninja-build clang lld wasi-libc libc++-14-dev-wasm32 libclang-rt-14-dev-wasm32 python3)
WEB_TEST_PACKAGES=(chromium fonts-droid-fallback)
command -v npm >/dev/null || WEB_PACKAGES+=(nodejs npm)
# Players, and a font for all of the samples' scripts.
PLAYER_PACKAGES=(python3 mpv ffmpeg gstreamer1.0-tools gstreamer1.0-plugins-base gstreamer1.0-plugins-good gstreamer1.0-x
    vlc-bin vlc-plugin-base fonts-dejavu-core fonts-wqy-microhei)
# What the Python package is built, checked and tested with; the other architecture's wheel among it.
PYTHON_PACKAGES=(binutils g++-aarch64-linux-gnu qemu-user mypy parallel python3-build python3-chardet
    python3-charset-normalizer python3-distributed python3-flake8 python3-pytest python3-setuptools python3-venv
    python3-wheel)

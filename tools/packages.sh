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
    if ! { "${as_root[@]}" apt-get update -qq && "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null; }; then
        echo "error: could not install ${missing[*]}; install them by hand and start again" >&2
        return 1
    fi
}

# The packages that a build needs, and those that the tests need besides.
BUILD_PACKAGES=(g++ cmake ninja-build libcli11-dev)
TEST_PACKAGES=(googletest python3 binutils libc-bin pkg-config doxygen abigail-tools g++-arm-linux-gnueabihf qemu-user)
# Players, and a font for all of the samples' scripts.
PLAYER_PACKAGES=(python3 mpv ffmpeg gstreamer1.0-tools gstreamer1.0-plugins-base gstreamer1.0-plugins-good gstreamer1.0-x
    vlc-bin vlc-plugin-base fonts-dejavu-core fonts-wqy-microhei)

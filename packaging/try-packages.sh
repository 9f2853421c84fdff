#!/usr/bin/env bash
# Installs the built packages into scratch Debian systems, uses them and removes them again; needs root.
#   packaging/try-packages.sh FOLDER   FOLDER as packaging/build-packages.sh left it, build/packages
# amd64 runs in a chroot. Programs for ARM are emulated against Debian's own libraries of that architecture.
set -euo pipefail
top=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
source "$top/tools/packages.sh"
packages=$(realpath "$1")
need_packages mmdebstrap qemu-user dpkg-dev libc-bin
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
sample=$top/samples/subtitles/gbk.srt
iconv -f GBK -t UTF-8 "$sample" >"$scratch/expected"
# The archive that this machine uses itself.
archive=$(apt-get indextargets --format '$(REPO_URI)' 'Codename: bookworm' 'Created-By: Packages' | sed -n 1p)
quietly() { # says what a command said only when it fails
    "$@" >"$scratch/log" 2>&1 && return
    cat "$scratch/log" >&2
    exit 1
}
scratch_debian() { mmdebstrap --quiet "$@" "deb $archive bookworm main"; }

expect_nothing_left() { # FOLDER: no file of ours is in it
    local left
    left=$(find "$1/usr" "$1/etc" \( -iname '*zucharset*' -o -iname '*vemora*' \) -print)
    [ -z "$left" ] || { echo "error: left behind: $left" >&2; exit 1; }
}

echo "== amd64: a chroot"
root=$scratch/amd64
scratch_debian --variant=minbase --include=libstdc++6 bookworm "$root"
mkdir "$root/try"
cp "$packages"/*_amd64.deb "$packages"/*_all.deb "$sample" "$root/try"
inside() { chroot "$root" "$@"; }

echo "without a utility library the library is unpacked but not configured"
inside sh -c 'dpkg -i /try/libzucharset1_*.deb' >"$scratch/log" 2>&1 || true
grep 'depends on libvemora-utils-standin | libvemora-utils' "$scratch/log"
[ "$(inside dpkg-query -W -f '${db:Status-Status}' libzucharset1)" = unpacked ]
inside dpkg --purge libzucharset1 >/dev/null
quietly inside apt-get update # mmdebstrap leaves no lists of packages
quietly inside sh -c 'apt-get install -y -qq --no-install-recommends /try/*.deb'
inside zucharset convert /try/gbk.srt | cmp - "$scratch/expected"
level=
! inside /lib64/ld-linux-x86-64.so.2 --help | grep 'x86-64-v3 (supported' >/dev/null || level=glibc-hwcaps/x86-64-v3/
inside /lib64/ld-linux-x86-64.so.2 --list /usr/bin/zucharset | grep "libzucharset.so => .*/x86_64-linux-gnu/${level}libz"
inside dpkg --verify zucharset libzucharset1 libzutext1 libzucharset-dev libvemora-utils-standin \
    libvemora-utils-standin-dev zucharset-mpv python3-zucharset

echo "mpv of the package loads the script of the package"
inside mpv --vo=null --ao=null --untimed --frames=2 --sub-file=/try/gbk.srt \
    av://lavfi:color=size=320x180:rate=5:duration=10 >"$scratch/log" 2>&1
grep 'gbk.srt: read as GBK' "$scratch/log"

echo "Debian's Python has the package, compiled, and its command"
inside sh -c 'ls /usr/lib/python3/dist-packages/zucharset/__pycache__' | grep '__init__\.cpython-3.*\.pyc'
inside python3 -m zucharset detect /try/gbk.srt | grep 'GBK'
inside python3 -c 'import sys, zucharset
sys.stdout.buffer.write(zucharset.decode(open("/try/gbk.srt", "rb").read()).encode())' | cmp - "$scratch/expected"

echo "a player's own utility library takes the place of the stand-in"
player=$scratch/player
mkdir -p "$player/DEBIAN" "$player/usr/lib/x86_64-linux-gnu"
cat >"$player/DEBIAN/control" <<'END'
Package: example-player-utils
Version: 1
Architecture: amd64
Maintainer: nobody <nobody@localhost>
Provides: libvemora-utils
Conflicts: libvemora-utils
Replaces: libvemora-utils
Description: a player's utility library
END
cp "$root/usr/lib/x86_64-linux-gnu/libvemora_utils.so" "$player/usr/lib/x86_64-linux-gnu/"
dpkg-deb --build --root-owner-group "$player" "$root/try/player.deb" >/dev/null
quietly inside apt-get install -y -qq /try/player.deb
inside dpkg -S libvemora_utils.so | grep '^example-player-utils:'
inside zucharset convert /try/gbk.srt | cmp - "$scratch/expected"
quietly inside apt-get purge -y -qq example-player-utils python3-zucharset zucharset-mpv zucharset libzucharset1 \
    libzutext1 libzucharset-dev
rm -rf "$root/try"
expect_nothing_left "$root"

for architecture in armhf arm64; do
    echo "== $architecture: unpacked, emulated"
    case $architecture in armhf) emulator=qemu-arm ;; arm64) emulator=qemu-aarch64 ;; esac
    root=$scratch/$architecture
    scratch_debian --variant=extract --architectures="$architecture" --include=libc6,libstdc++6,libgcc-s1 bookworm "$root"
    # The administration of the scratch system knows nothing of the libraries that were only unpacked.
    : >"$root/var/lib/dpkg/status"
    into() { quietly dpkg --root="$root" --force-architecture --force-depends --no-triggers "$@"; }
    into --install "$packages"/*_"$architecture".deb
    emulated() { "$emulator" -L "$root" "$root/usr/bin/zucharset" "$@"; }
    emulated detect "$sample"
    emulated convert "$sample" | cmp - "$scratch/expected"
    into --purge zucharset libzucharset-dev libzutext1 libzucharset1 libvemora-utils-standin-dev libvemora-utils-standin
    expect_nothing_left "$root"
done
echo "All packages install, run and leave nothing behind."

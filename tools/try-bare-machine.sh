#!/usr/bin/env bash
# Proves that the two commands of the README work on a bare Debian 12: in a scratch system with nothing but git, first as
# root, then, the packages being there, as an ordinary user with LANG=C. What is tried is the last commit. Needs root.
#   tools/try-bare-machine.sh            ./run.sh, and the whole of ./test.sh
#   tools/try-bare-machine.sh SUITE...   ./run.sh, and only these suites of ./test.sh
# TMPDIR in the environment names another place for the scratch system (about 5 GB) than /var/tmp.
set -euo pipefail
case ${1-} in -*) sed -n '2,/^set/{/^#/s/^# \?//p}' "$0"; [ "$1" = --help ] || exit 2; exit 0 ;; esac
top=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
if [ "$(id -u)" -ne 0 ]; then
    echo "error: only root can make a scratch system" >&2
    exit 1
fi

# Mounts and processes of the scratch system end with this script, however it ends.
if [ "${BARE_MACHINE_APART-}" != yes ]; then
    source "$top/tools/packages.sh"
    need_packages debootstrap git
    scratch=$(mktemp -d "${TMPDIR:-/var/tmp}/bare-machine-XXXXXX")
    trap 'rm -rf --one-file-system "$scratch"' EXIT
    trap 'kill -KILL "$apart"; wait "$apart"; exit 130' INT TERM HUP
    BARE_MACHINE_APART=yes SCRATCH=$scratch unshare --mount --pid --fork --kill-child "$0" "$@" &
    apart=$!
    wait "$apart"
    exit
fi
root=$SCRATCH/root

echo "== Making a bare Debian 12"
# From the archive that this machine uses itself, in the way it reaches it.
mapfile -t sources < <(apt-get indextargets --format 'deb $(REPO_URI) $(RELEASE) $(COMPONENT)' \
    'Created-By: Packages' 'Origin: Debian' | grep ' bookworm')
if [ ${#sources[@]} -eq 0 ]; then
    echo "error: apt on this machine knows no Debian 12; run apt-get update first" >&2
    exit 1
fi
read -r _ archive _ <<<"${sources[0]}"
if ! debootstrap --variant=minbase --include=git bookworm "$root" "$archive" >"$SCRATCH/log" 2>&1; then
    tail -n 20 "$SCRATCH/log" >&2
    exit 1
fi
printf '%s\n' "${sources[@]}" >"$root/etc/apt/sources.list"
apt-config dump | { grep -E '^Acquire::(https?|Check|Proxy|Retries)' || true; } >"$root/etc/apt/apt.conf.d/90machine"
cp -L /etc/resolv.conf /etc/hosts "$root/etc/"
mount -t proc proc "$root/proc"
mount -t tmpfs shm "$root/dev/shm"
mount -t devpts -o newinstance,ptmxmode=0666 devpts "$root/dev/pts"

# Of the environment only the way to the package registries.
environment=()
for variable in http_proxy https_proxy no_proxy; do
    [ -z "${!variable-}" ] || environment+=("$variable=${!variable}")
done
if [ -f "${SSL_CERT_FILE-}" ]; then
    install -D -m 644 "$SSL_CERT_FILE" "$root/etc/ssl/machine.crt"
    environment+=({SSL_CERT_FILE,NODE_EXTRA_CA_CERTS}=/etc/ssl/machine.crt)
fi
inside() { # USER LANG COMMAND...
    local user=$1 language=$2
    shift 2
    chroot "$root" /usr/sbin/runuser -u "$user" -- env -i "${environment[@]}" LANG="$language" USER="$user" \
        HOME="$(home_of "$user")" PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin \
        sh -c 'cd "$HOME/zucharset" && exec "$@"' sh "$@" </dev/null
}
home_of() { chroot "$root" getent passwd "$1" | cut -d: -f6; }

chroot "$root" useradd --create-home somebody
for user in root somebody; do
    home=$root$(home_of "$user")
    git clone --quiet --no-local "$top" "$home/zucharset"
    chown -R --reference="$home" "$home/zucharset"
done
echo "Trying $(git -C "$root/root/zucharset" log -1 --format='%h %s')"
[ -z "$(git -C "$top" status --porcelain)" ] || echo "What is not committed is not tried."

echo "== As a user who may not install packages: told what is missing"
if inside somebody C ./run.sh >"$SCRATCH/log" 2>&1 || ! grep 'as root, run: apt-get install .*cmake' "$SCRATCH/log"; then
    cat "$SCRATCH/log" >&2
    exit 1
fi
for who in "root C.UTF-8" "somebody C"; do
    read -r user language <<<"$who"
    for command in "./run.sh" "./test.sh $*"; do
        echo "== As $user with LANG=$language: $command"
        SECONDS=0
        inside "$user" "$language" $command
        echo "== That took $((SECONDS / 60)) min $((SECONDS % 60)) s"
    done
done
echo "Both commands work on a bare machine."

#!/usr/bin/env bash
# Builds the libraries and the command, then detects and converts the given files (with none: the samples).
#   ./run.sh [FILE...]
set -euo pipefail
cd_from=$PWD
top=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
source "$top/tools/packages.sh"

case ${1-} in -h | --help) sed -n '2,/^set/{/^#/s/^# \?//p}' "$0"; exit ;; esac
need_packages "${BUILD_PACKAGES[@]}"
cd "$top"
cmake --preset release -DZUCHARSET_CLI=ON >/dev/null
cmake --build --preset release --target zucharset_cli -- --quiet
cd "$cd_from"

files=("$@")
[ ${#files[@]} -gt 0 ] || files=("$top"/samples/subtitles/*.srt)
zucharset=$top/build/release/zucharset

# A file that fails is named by the command, and the others follow all the same.
status=0
keep_highest() { [ "$1" -le "$status" ] || status=$1; }
echo "== Detected"
"$zucharset" detect -- "${files[@]}" || keep_highest $?
for file in "${files[@]}"; do
    echo
    echo "== $file as UTF-8"
    if [ $# -gt 0 ]; then
        "$zucharset" convert -- "$file" || keep_highest $?
    else
        "$zucharset" convert --quiet "$file" | sed -n 1,8p # a few lines of each tell enough
    fi
done
exit $status

#!/usr/bin/env bash
# Builds the library and its command, then detects and converts the given files (with none: the samples).
set -euo pipefail
cd_from=$PWD
top=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
source "$top/tools/packages.sh"

need_packages "${BUILD_PACKAGES[@]}"
cd "$top"
cmake --preset release -DZUCHARSET_CLI=ON >/dev/null
cmake --build --preset release --target zucharset_cli -- --quiet
cd "$cd_from"

files=("$@")
[ ${#files[@]} -gt 0 ] || files=("$top"/samples/subtitles/*.srt)
zucharset=$top/build/release/zucharset

echo "== Detected"
"$zucharset" detect "${files[@]}"
status=0
for file in "${files[@]}"; do
    echo
    if [ $# -gt 0 ]; then
        echo "== $file as UTF-8"
        "$zucharset" convert "$file" || status=$?
    else
        # Detection cannot tell every code page from its neighbours, and a sample's name says what it is.
        encoding=$(basename "$file" .srt)
        echo "== $file from $encoding to UTF-8"
        "$zucharset" convert --from "$encoding" "$file" | sed -n 1,8p # a few lines of each tell enough
    fi
done
exit $status

#!/usr/bin/env bash
# Counts the instructions that a conversion and a detection take per byte of text, on x86-64 and 32-bit ARM, in the
# user-mode emulators, where the count does not depend on the machine. Needs build/bench; writes instructions.csv there.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source tools/packages.sh
need_packages "${BUILD_PACKAGES[@]}" g++-arm-linux-gnueabihf qemu-user

[ -f build/arm/build.ninja ] || cmake --preset arm -DZUCHARSET_TESTS=OFF >/dev/null
cmake --build --preset arm --target zucharset_lib -- --quiet
cmake -G Ninja -S bench -B build/bench/arm -DZUCHARSET_BUILD="$PWD/build/arm" \
    -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/arm-linux-gnueabihf.cmake" >/dev/null
cmake --build build/bench/arm -- --quiet

declare -A drivers=(
    [x86-64]="qemu-x86_64 -cpu max -plugin build/bench/instruction_count.so build/bench/instruction_driver"
    [arm]="qemu-arm -L /usr/arm-linux-gnueabihf -plugin build/bench/instruction_count.so build/bench/arm/instruction_driver"
)

# count MACHINE OPERATION CODETYPE FILE TIMES: prints the number of instructions of a run.
count() {
    ${drivers[$1]} "$2" "$3" "$4" "$5" 2>&1 | sed -n 's/^instructions //p'
}

bytes=65536
folder=build/bench/texts
mkdir -p $folder
build/bench/write_texts $folder $bytes >$folder/list
while IFS='|' read -r operation name mix code file; do
    for machine in x86-64 arm; do
        once=$(count $machine "$operation" "$code" "$file" 1)
        often=$(count $machine "$operation" "$code" "$file" 5)
        awk -v row="$machine,$operation,$name,$mix" -v once="$once" -v often="$often" -v bytes="$(stat -c %s "$file")" \
            'BEGIN { printf "%s,%.3f\n", row, (often - once) / 4 / bytes }'
    done
done <$folder/list >build/bench/instructions.csv.new
mv build/bench/instructions.csv.new build/bench/instructions.csv

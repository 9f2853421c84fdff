#!/usr/bin/env python3
"""Counts the instructions that conversion, detection and judging take per byte of text, for every target.

Judging of a small text is counted per call, for there its cost hardly depends on the length.

The user-mode emulators count them, so the figures depend on compiler and library, not on the machine or its load.
They stand in bench/instructions.csv, which is renewed after a change that is meant to move them:

    bench/instructions.py            counts, and writes the file
    bench/instructions.py --check    counts, and fails where a figure is higher than the file says

Either takes names of presets to count for these alone. Libraries and texts are built in build/ as needed.
"""
import csv
import os
import re
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

TOP = Path(__file__).resolve().parent.parent
TABLE = TOP / "bench/instructions.csv"
BENCH = TOP / "build/bench"
EMULATORS = {  # by preset; processors of one family share a driver
    "release": ("host", ["qemu-x86_64", "-cpu", "max"]),
    "x86-64-v3": ("host", ["qemu-x86_64", "-cpu", "max"]),
    "arm": ("arm-linux-gnueabihf", ["qemu-arm", "-L", "/usr/arm-linux-gnueabihf"]),
    "arm-neon": ("arm-linux-gnueabihf", ["qemu-arm", "-L", "/usr/arm-linux-gnueabihf"]),
    "arm64": ("aarch64-linux-gnu", ["qemu-aarch64", "-L", "/usr/aarch64-linux-gnu"]),
}
BYTES = 65536
SMALL_BYTES = 1024
PER_CALL = "judge small"  # the operation on such a text
REPETITIONS = 5
TOLERANCE = 1.03  # and a little more, for figures that are small
SLACK = 0.05

Row = tuple[str, str, str]  # operation, text, mix
Counts = dict[tuple[Row, str], float]


def run(*command: str | Path) -> str:
    return subprocess.run([str(word) for word in command], check=True, capture_output=True, text=True, cwd=TOP).stdout


def build(presets: list[str]) -> None:
    for preset in presets:
        if not (TOP / "build" / preset / "build.ninja").exists():
            run("cmake", "--preset", preset, "-DZUCHARSET_TESTS=OFF")
        run("cmake", "--build", "--preset", preset, "--target", "zutext_lib", "--", "--quiet")
        family = EMULATORS[preset][0]
        folder = BENCH if family == "host" else BENCH / family
        toolchain = [] if family == "host" else [f"-DCMAKE_TOOLCHAIN_FILE={TOP}/cmake/{family}.cmake"]
        run("cmake", "-G", "Ninja", "-S", "bench", "-B", folder, f"-DZUCHARSET_BUILD={TOP}/build/{preset}", *toolchain)
        run("cmake", "--build", folder, "--target", "instruction_driver", "--", "--quiet")
    # The texts and the counter come from this machine.
    run("cmake", "-G", "Ninja", "-S", "bench", "-B", BENCH, f"-DZUCHARSET_BUILD={TOP}/build/release")
    if not (TOP / "build/release/libzutext.so").exists():
        build(["release"])
    run("cmake", "--build", BENCH, "--target", "instruction_driver", "write_texts", "instruction_count", "--", "--quiet")


def texts() -> list[tuple[Row, str, str]]:
    folder = BENCH / "texts"
    folder.mkdir(exist_ok=True)
    listed = []
    for line in run(BENCH / "write_texts", folder, str(BYTES), str(SMALL_BYTES)).splitlines():
        operation, name, mix, code_type, path = line.split("|")
        listed.append(((operation, name, mix), code_type, path))
    return listed


def instructions(preset: str, operation: str, code_type: str, path: str, times: int) -> int:
    family, emulator = EMULATORS[preset]
    driver = BENCH / ("" if family == "host" else family) / "instruction_driver"
    done = subprocess.run([*emulator, "-plugin", str(BENCH / "instruction_count.so"),
                           "-E", f"LD_LIBRARY_PATH={TOP}/build/{preset}",
                           str(driver), operation.split()[0], code_type, path, str(times)],
                          check=True, capture_output=True, text=True, cwd=TOP)
    found = re.search(r"^instructions (\d+)$", done.stderr, re.MULTILINE)
    if found is None:
        sys.exit(f"error: {emulator[0]} counted nothing: {done.stderr}")
    return int(found[1])


def count(presets: list[str]) -> Counts:
    """Instructions per byte, or per call: what the repetitions beyond the first take, so that start-up does not count."""
    jobs = [(preset, text) for text in texts() for preset in presets]

    def per_unit(job: tuple[str, tuple[Row, str, str]]) -> float:
        preset, ((operation, _, _), code_type, path) = job
        once, often = (instructions(preset, operation, code_type, path, times) for times in (1, REPETITIONS))
        units = 1 if operation == PER_CALL else os.path.getsize(path)
        return (often - once) / (REPETITIONS - 1) / units

    with ThreadPoolExecutor(os.cpu_count()) as pool:
        figures = list(pool.map(per_unit, jobs))
    return {(text[0], preset): figure for (preset, text), figure in zip(jobs, figures)}


def read_table() -> Counts:
    counts = {}
    with open(TABLE, newline="") as file:
        for line in csv.DictReader(file):
            row = (line["operation"], line["text"], line["mix"])
            counts.update({(row, preset): float(line[preset]) for preset in EMULATORS if line.get(preset)})
    return counts


def write_table(counts: Counts) -> None:
    with open(TABLE, "w", newline="") as file:
        writer = csv.writer(file, lineterminator="\n")
        writer.writerow(["operation", "text", "mix", *EMULATORS])
        for row in dict.fromkeys(row for row, _ in counts):
            writer.writerow([*row, *(f"{counts[row, preset]:.{0 if row[0] == PER_CALL else 2}f}" if (row, preset) in counts else ""
                                     for preset in EMULATORS)])


def check(counts: Counts) -> None:
    written = read_table()
    missing = [place for place in counts if place not in written]
    lost = [(place, figure) for place, figure in counts.items()
            if place in written and figure > written[place] * TOLERANCE + SLACK]
    for (row, preset), figure in lost:
        print(f"{preset}: {' '.join(row)} takes {figure:.2f} instructions, "
              f"{TABLE.name} says {written[row, preset]:.2f}")
    if lost or missing:
        sys.exit(f"error: {len(lost)} of {len(counts)} figures are higher than written down, {len(missing)} are not "
                 f"written down; if that is meant, run bench/instructions.py")
    print(f"All {len(counts)} figures are at most what {TABLE.name} says.")


def main() -> None:
    words = sys.argv[1:]
    if {"-h", "--help"} & set(words):
        print(__doc__)
        return
    checks = "--check" in words
    presets = [word for word in words if word != "--check"] or list(EMULATORS)
    unknown = [preset for preset in presets if preset not in EMULATORS]
    if unknown:
        sys.exit(f"error: no such preset: {' '.join(unknown)}; there are {' '.join(EMULATORS)}")
    build(presets)
    counts = count(presets)
    if checks:
        check(counts)
    else:
        write_table({**(read_table() if TABLE.exists() else {}), **counts})


if __name__ == "__main__":
    main()

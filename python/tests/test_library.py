"""The layer below: the declarations against the header, the choice of the build, faults, threads, the wheels."""

from __future__ import annotations

import ctypes
import enum
import os
import platform
import re
import subprocess
import sys
import threading
import time
import zipfile
from collections.abc import Iterable
from pathlib import Path

import pytest
from conftest import ROOT, TEXTS

import zucharset
from zucharset import _judging, _library

HEADER = ROOT / "include" / "zutext.h"
STRUCTURES = {
    "encoding": _library.Encoding,
    "options": _library.Options,
    "reading": _library.Reading,
    "verdict": _library.Verdict,
    "place": _library.Place,
    "account": _library.Account,
    "output": _library.Output,
    "text": _library.Text,
}
ENUMERATIONS: dict[str, Iterable[enum.IntEnum]] = {
    "KIND": _judging.Kind,
    "BY": _judging.DecidedBy,
    "HINT": _judging.Hint,
    "LOSS": [loss for loss in _judging.Loss if loss is not _judging.Loss.MENDED_PAIR],
    "MENDED": [_judging.Loss.MENDED_PAIR],
}


def test_declarations_agree_with_the_header(tmp_path: Path) -> None:
    """Every size, offset and constant as the compiler has it, and as many of them."""
    lines = []
    for name, structure in STRUCTURES.items():
        lines.append(f'printf("%s %zu\\n", "{name}", sizeof(zutext_{name}));')
        for field in structure._fields_:
            member = field[0].rstrip("_")
            lines.append(
                f'printf("%s %zu %zu\\n", "{name}.{member}", offsetof(zutext_{name}, {member}), '
                f"sizeof(((zutext_{name} *)0)->{member}));"
            )
    constants = {name: value for name, value in vars(_library).items() if name.isupper() and isinstance(value, int)}
    expected = {}
    for name, value in constants.items():
        if not name.startswith("_"):
            expected["ZUTEXT_" + name] = value
    for prefix, members in ENUMERATIONS.items():
        for one in members:
            expected["ZUTEXT_" + one.name if prefix == "MENDED" else f"ZUTEXT_{prefix}_{one.name}"] = int(one)
    lines += [f'printf("{name} %d\\n", (int){name});' for name in expected]
    source = tmp_path / "layout.c"
    source.write_text(
        f'#include "{HEADER}"\n#include <stdio.h>\nint main(void) {{\n' + "\n".join(lines) + "\nreturn 0;\n}\n"
    )
    subprocess.run(["cc", str(source), "-o", str(tmp_path / "layout")], check=True)
    compiled = subprocess.run([str(tmp_path / "layout")], check=True, capture_output=True, text=True).stdout
    declared = []
    for name, structure in STRUCTURES.items():
        declared.append(f"{name} {ctypes.sizeof(structure)}")
        for field in structure._fields_:
            descriptor = getattr(structure, field[0])
            declared.append(f"{name}.{field[0].rstrip('_')} {descriptor.offset} {descriptor.size}")
    declared += [f"{name} {value}" for name, value in expected.items()]
    assert compiled.splitlines() == declared

    header = re.sub(r"/\*.*?\*/", "", HEADER.read_text(encoding="utf-8"), flags=re.DOTALL)
    for prefix, members in ENUMERATIONS.items():
        names = set(re.findall(rf"ZUTEXT_{prefix}_\w+(?=\s*=)", header)) - {"ZUTEXT_LOSS_KINDS"}
        assert len(names) == len(list(members)), prefix
    for name, structure in STRUCTURES.items():
        body = re.search(rf"typedef struct zutext_{name} \{{(.*?)\}} zutext_{name};", header, re.DOTALL)
        assert body is not None and body.group(1).count(";") == len(structure._fields_), name
    # Each function with as many arguments as the header gives it.
    for name, arguments in re.findall(r"ZUTEXT_API [\w *]*?\*?zutext_(\w+)\(([^)]*)\);", header):
        function = getattr(_library, {"open": "open_stream"}.get(name, name), None)
        if function is not None:
            assert len(function.argtypes) == (0 if arguments == "void" else arguments.count(",") + 1), name


def test_the_processor_chooses_the_build(monkeypatch: pytest.MonkeyPatch) -> None:
    everything = set(_library._X86_64_V3) | {"fpu", "avx512f"}
    for machine, flags, builds in [
        ("x86_64", everything, ["x86-64-v3", "base"]),
        ("x86_64", everything - {"avx2"}, ["base"]),
        ("x86_64", everything - {"movbe"}, ["base"]),
        ("x86_64", set(), ["base"]),
        ("aarch64", everything, ["base"]),
    ]:
        monkeypatch.setattr(platform, "machine", lambda machine=machine: machine)
        monkeypatch.setattr(_library, "_processor_flags", lambda flags=flags: flags)
        assert _library.builds_for_this_processor() == builds
    monkeypatch.undo()
    # The loader's own opinion of this processor.
    if os.uname().machine == "x86_64":
        loader = subprocess.run(
            ["/lib64/ld-linux-x86-64.so.2", "--help"], check=True, capture_output=True, text=True
        ).stdout
        supported = "x86-64-v3 (supported" in loader
        assert (_library.builds_for_this_processor()[0] == "x86-64-v3") == supported
        assert Path(_library.location).parent.name == ("x86-64-v3" if supported else "base")
        mapped = Path("/proc/self/maps").read_text()
        for name in ("libzutext.so", "libzucharset.so", "libvemora_utils.so"):
            assert str(Path(_library.location).with_name(name)) in mapped


# ---- Faults ----

FAULTS = r"""
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <stdlib.h>
#include <string.h>

/* The n-th allocation from now on that one of our libraries asks for fails; 0: none does. */
static long countdown;
static long left;
void fail_nth(long n) { countdown = n; }
long blocks_left(void) { return left; }

static int ours(void *caller) {
    Dl_info info;
    return dladdr(caller, &info) && info.dli_fname && strstr(info.dli_fname, "libzu");
}
static int fails(void *caller) {
    if (!ours(caller) || (countdown > 0 && --countdown == 0)) {
        int fail = ours(caller);
        errno = fail ? ENOMEM : errno;
        return fail;
    }
    left += 1;
    return 0;
}
extern void *__libc_malloc(size_t);
extern void *__libc_calloc(size_t, size_t);
extern void *__libc_realloc(void *, size_t);
extern void __libc_free(void *);
void *malloc(size_t n) { return fails(__builtin_return_address(0)) ? NULL : __libc_malloc(n); }
void *calloc(size_t n, size_t m) { return fails(__builtin_return_address(0)) ? NULL : __libc_calloc(n, m); }
void *realloc(void *p, size_t n) {
    if (fails(__builtin_return_address(0)))
        return NULL;
    left -= p && ours(__builtin_return_address(0));
    return __libc_realloc(p, n);
}
void free(void *p) {
    left -= p && ours(__builtin_return_address(0));
    __libc_free(p);
}
"""

FAULTY_PROGRAM = """
import ctypes, sys
import zucharset
faults = ctypes.CDLL(sys.argv[1])
faults.fail_nth.argtypes = [ctypes.c_long]
faults.blocks_left.restype = ctypes.c_long
russian = open(sys.argv[2], encoding="utf-8").read()
data = russian.encode("cp1251")

def stream():
    with zucharset.Converter() as converter:
        return (converter.feed(data) + converter.finish()).decode()

def pieces():
    with zucharset.Detector() as detector:
        detector.feed(data)
        return detector.result().encoding

def incremental():
    decoder = zucharset.IncrementalDecoder("backslashreplace")
    result = decoder.decode(data[:500]) + decoder.decode(data[500:], True)
    del decoder
    return result

for work, result in [
    (lambda: zucharset.detect(data).encoding, "Windows-1251"),
    (lambda: zucharset.decode(data), russian),
    (stream, russian), (pieces, "Windows-1251"), (incremental, russian)]:
    assert work() == result
    before = faults.blocks_left()
    failures = 0
    for nth in range(1, 1000):
        faults.fail_nth(nth)
        try:
            assert work() == result
            break
        except MemoryError:
            failures += 1
        finally:
            faults.fail_nth(0)
        assert faults.blocks_left() == before, (work, nth, faults.blocks_left() - before)
    print(failures)
"""


def test_every_allocation_fails_once(tmp_path: Path) -> None:
    (tmp_path / "faults.c").write_text(FAULTS)
    library = tmp_path / "faults.so"
    subprocess.run(["cc", "-O1", "-shared", "-fPIC", str(tmp_path / "faults.c"), "-o", str(library)], check=True)
    ran = subprocess.run(
        [sys.executable, "-c", FAULTY_PROGRAM, str(library), str(ROOT / "samples" / "text" / "russian.txt")],
        env={**os.environ, "LD_PRELOAD": str(library)},
        capture_output=True,
        text=True,
    )
    assert ran.returncode == 0, ran.stderr
    assert all(int(count) > 0 for count in ran.stdout.split()) and len(ran.stdout.split()) == 5


# ---- Threads ----


def test_others_run_meanwhile_and_cancel() -> None:
    """A thread counts while a call works, and ends it."""
    data = TEXTS[3].data * 100_000  # 200 MB
    ticks = 0
    with zucharset.Converter() as converter:

        def count_and_cancel() -> None:
            nonlocal ticks
            while ticks < 20:
                time.sleep(0.001)
                ticks += 1
            converter.cancel()

        thread = threading.Thread(target=count_and_cancel)
        thread.start()
        with pytest.raises(zucharset.CancelledError):
            converter.feed(data)
        thread.join()
        assert ticks == 20
        with pytest.raises(zucharset.CancelledError):
            converter.feed(b"more")
    with pytest.raises(ValueError, match="closed"):
        converter.feed(b"more")
    converter.cancel()
    converter.close()


def test_one_stream_on_many_threads() -> None:
    """Pieces that threads feed at once come out one by one; a close waits for the piece that is being worked on."""
    piece = TEXTS[3].data
    converter = zucharset.Converter(encoding="windows-1251")
    sizes: list[int] = []

    def feed() -> None:
        for _ in range(200):
            try:
                sizes.append(len(converter.feed(piece)))
            except ValueError:
                return

    threads = [threading.Thread(target=feed) for _ in range(4)]
    for thread in threads:
        thread.start()
    time.sleep(0.02)
    converter.close()
    for thread in threads:
        thread.join()
    assert set(sizes) == {len(TEXTS[3].text.encode())}


# ---- Wheels ----

WHEELS = Path(os.environ.get("ZUCHARSET_WHEELS", ROOT / "build" / "wheels"))
C_LIBRARY = {"libc.so.6", "ld-linux-x86-64.so.2", "ld-linux-aarch64.so.1"}


def wheel_of(machine: str, folder: Path) -> tuple[str, Path]:
    (wheel,) = WHEELS.glob(f"zucharset-*_{machine}.whl")
    with zipfile.ZipFile(wheel) as archive:
        archive.extractall(folder)
    return wheel.name, folder / "zucharset" / "lib"


@pytest.mark.parametrize(
    "machine, builds", [("x86_64", ["base", "x86-64-v3"]), ("aarch64", ["base"])], ids=["x86_64", "aarch64"]
)
def test_wheel_keeps_its_platform_tag(machine: str, builds: list[str], tmp_path: Path) -> None:
    """Only symbols that the C library of the named version has, and only libraries that are inside."""
    name, folder = wheel_of(machine, tmp_path)
    version = re.fullmatch(rf"zucharset-([\d.]+)-py3-none-manylinux_2_(\d+)_{machine}.*\.whl", name)
    assert version is not None
    assert f"VERSION {version.group(1)} " in (ROOT / "CMakeLists.txt").read_text(encoding="utf-8")
    assert (tmp_path / "zucharset" / "py.typed").exists()
    assert sorted(build.name for build in folder.iterdir()) == builds
    for build in folder.iterdir():
        names = {library.name for library in build.iterdir()}
        assert names == {"libzutext.so", "libzucharset.so", "libvemora_utils.so"}
        for library in build.iterdir():
            symbols = subprocess.run(
                ["readelf", "--wide", "--dyn-syms", str(library)], check=True, capture_output=True, text=True
            ).stdout
            minors = [int(minor) for minor in re.findall(r"@GLIBC_2\.(\d+)", symbols)]
            assert minors and max(minors) <= int(version.group(2)), library
            dynamic = subprocess.run(
                ["readelf", "--wide", "--dynamic", str(library)], check=True, capture_output=True, text=True
            ).stdout
            needed = set(re.findall(r"\(NEEDED\).*\[(.*)\]", dynamic))
            assert needed <= C_LIBRARY | names, library
            if needed & names:
                assert re.findall(r"\((?:RUNPATH|RPATH)\).*\[(.*)\]", dynamic) == ["$ORIGIN"], library


def test_arm64_libraries_work_under_emulation(tmp_path: Path) -> None:
    _, folder = wheel_of("aarch64", tmp_path)
    host = tmp_path / "host.c"
    host.write_text(
        """
#include <zutext.h>
#include <stdio.h>
int main(void) {
    static char text[65536];
    const size_t length = fread(text, 1, sizeof text, stdin);
    zutext_text result;
    if (zutext_convert((const uint8_t *)text, length, NULL, &result) != ZUTEXT_OK)
        return 1;
    fwrite(result.bytes, 1, result.length, stdout);
    zutext_release(&result);
    return 0;
}
"""
    )
    program = tmp_path / "host"
    subprocess.run(
        ["aarch64-linux-gnu-gcc", str(host), "-I", str(HEADER.parent), "-L", str(folder / "base"), "-lzutext",
         "-Wl,-rpath,$ORIGIN/zucharset/lib/base", "-Wl,-rpath-link," + str(folder / "base"), "-o", str(program)],
        check=True,
    )
    ran = subprocess.run(
        ["qemu-aarch64", "-L", "/usr/aarch64-linux-gnu", str(program)], input=TEXTS[3].data, capture_output=True
    )
    assert (ran.returncode, ran.stdout.decode()) == (0, TEXTS[3].text), ran.stderr

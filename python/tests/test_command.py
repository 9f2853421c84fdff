"""python3 -m zucharset: answers, exit codes, and files that appear whole or not at all."""

from __future__ import annotations

import json
import subprocess
import sys
from pathlib import Path

import pytest
from conftest import ROOT, sample

SUBTITLES = ROOT / "samples" / "subtitles"
RUSSIAN = sample("russian")


def run(*arguments: object, data: bytes = b"", cwd: Path | None = None) -> tuple[int, bytes, str]:
    command = [sys.executable, "-m", "zucharset", *map(str, arguments)]
    ran = subprocess.run(command, input=data, capture_output=True, cwd=cwd)
    return ran.returncode, ran.stdout, ran.stderr.decode()


@pytest.fixture
def folder(tmp_path: Path) -> Path:
    files = {
        "a.srt": RUSSIAN.encode("cp1251"),
        "b.srt": RUSSIAN.encode("koi8-r"),
        "c.srt": b"caf\xe9 \x81",
        "d.srt": Path("/bin/ls").read_bytes(),
        "e.srt": "schon UTF-8: ü".encode(),
        "f.srt": b"",
    }
    for name, data in files.items():
        (tmp_path / name).write_bytes(data)
    return tmp_path


def test_detect(folder: Path) -> None:
    code, out, err = run("detect", "a.srt", "b.srt", "d.srt", "f.srt", "none.srt", cwd=folder)
    lines = out.decode().splitlines()
    assert code == 3 and "none.srt: cannot read: No such file" in err
    assert lines[0].split()[:3] == ["22", "Windows-1251", "a.srt"] and "Russian" in lines[0]
    assert "KOI8-R" in lines[1] and "not converted" in lines[1]
    assert "no text but" in lines[2] and "empty" in lines[3]
    code, out, err = run("detect", "--json", "-r", folder)
    answer = json.loads(out)
    assert code == 0 and [Path(file["file"]).name for file in answer["files"]] == [f"{c}.srt" for c in "abcdef"]
    assert (answer["files"][0]["encoding"], answer["files"][0]["language"]) == ("Windows-1251", "ru")
    assert run("detect", "--plain", data=RUSSIAN.encode("cp1251"))[1].split()[:3] == [b"28", b"Windows-1257", b"-"]


def test_convert_to_standard_output(folder: Path) -> None:
    data = RUSSIAN.encode("cp1251")
    cases: list[tuple[list[str], bytes, tuple[int, bytes]]] = [
        (["a.srt"], b"", (0, RUSSIAN.encode())),
        ([], data, (0, RUSSIAN.encode())),
        (["-f", "cp1252"], data, (0, data.decode("cp1252").encode())),
        (["b.srt"], b"", (5, b"")),
        (["d.srt"], b"", (5, b"")),
        (["c.srt", "--from", "cp1252"], b"", (1, "café ".encode())),
        (["c.srt", "--from", "cp1252", "--strict"], b"", (1, b"")),
        (["none.srt"], b"", (3, b"")),
        (["a.srt", "--from", "nonsense"], b"", (2, b"")),
        (["a.srt", "e.srt"], b"", (2, b"")),
        (["e.srt", "--to-utf8-bom"], b"", (0, "\ufeffschon UTF-8: ü".encode())),
    ]
    for arguments, given, expected in cases:
        code, out, err = run("convert", *arguments, data=given, cwd=folder)
        assert (code, out) == expected, (arguments, err)
    assert "offset 5 (81)" in run("convert", "c.srt", "--from", "cp1252", cwd=folder)[2]


def test_convert_to_files(folder: Path) -> None:
    code, out, err = run("convert", "--suffix", ".utf8", *(f"{c}.srt" for c in "abdef"), cwd=folder)
    assert code == 5 and "KOI8-R" in err and "no text" in err
    assert (folder / "a.utf8.srt").read_bytes() == RUSSIAN.encode()
    assert (folder / "e.utf8.srt").read_bytes() == (folder / "e.srt").read_bytes()
    assert not (folder / "b.utf8.srt").exists() and not (folder / "d.utf8.srt").exists()
    code, out, err = run("convert", "--suffix", ".utf8", "a.srt", cwd=folder)
    assert code == 4 and "a.utf8.srt exists already; --force" in err
    assert run("convert", "--suffix", ".utf8", "--force", "a.srt", cwd=folder)[0] == 0
    assert run("convert", "-o", "out/x", "a.srt", cwd=folder)[0] == 0
    assert run("convert", "--out-dir", "out", "a.srt", "out/../a.srt", cwd=folder)[0] == 4  # one name for two outputs

    (folder / "a.srt").chmod(0o640)
    before = {path.name: path.read_bytes() for path in folder.glob("?.srt")}
    code, out, err = run("convert", "--in-place", *before, cwd=folder)
    assert (folder / "a.srt").read_bytes() == RUSSIAN.encode() and (folder / "a.srt").stat().st_mode & 0o777 == 0o640
    assert (folder / "a.srt.orig").read_bytes() == before["a.srt"]
    for name in ("b.srt", "d.srt", "e.srt", "f.srt"):
        assert (folder / name).read_bytes() == before[name] and not (folder / f"{name}.orig").exists()
    assert not list(folder.glob(".zucharset-*"))


def test_full_disk_and_closed_pipe(folder: Path) -> None:
    with open("/dev/full", "wb") as full:
        command = [sys.executable, "-m", "zucharset", "convert", str(folder / "a.srt")]
        ran = subprocess.run(command, stdout=full, stderr=subprocess.PIPE)
    assert ran.returncode == 4 and b"No space left" in ran.stderr
    script = f"{sys.executable} -m zucharset convert {folder}/a.srt | head -c 1; echo ${{PIPESTATUS[0]}}"
    ran = subprocess.run(["bash", "-c", script], capture_output=True)
    assert ran.stderr == b""


def test_version_names_the_build() -> None:
    code, out, _ = run("--version")
    lines = (ROOT / "CMakeLists.txt").read_text().splitlines()
    (project,) = (line for line in lines if line.startswith("project(zucharset VERSION"))
    assert code == 0 and f"VERSION {out.split()[1].decode().rstrip(',')} " in project


def test_the_documents_python_runs() -> None:
    """All blocks of Python in docs/python.md, one after the other."""
    document = (ROOT / "docs" / "python.md").read_text(encoding="utf-8")
    blocks = [block.split("```")[0] for block in document.split("```python\n")[1:]]
    assert len(blocks) == 2
    ran = subprocess.run([sys.executable, "-c", "\n".join(blocks)], cwd=ROOT, capture_output=True, text=True)
    assert ran.returncode == 0, ran.stderr

"""Runs the program on processes of this machine, kills one of them and the whole of it, and counts what is there.

ZUCHARSET_CLUSTER_FILES in the environment says how many files it takes; 3,000 unless given.
"""

from __future__ import annotations

import csv
import io
import os
import random
import re
import signal
import subprocess
import sys
import tarfile
import time
import zipfile
from collections.abc import Iterator
from pathlib import Path
from typing import Optional

import pytest

TOP = Path(__file__).resolve().parents[2]
PROGRAM = Path(__file__).with_name("convert_many.py")
COUNT = int(os.environ.get("ZUCHARSET_CLUSTER_FILES", "3000"))
LANGUAGES = [
    ("russian", "cp1251"), ("greek", "iso8859-7"), ("korean", "cp949"), ("polish", "cp1250"), ("thai", "cp874"),
    ("chinese_simplified", "gbk"), ("french", "cp1252"), ("hebrew", "utf-8"), ("turkish", "utf-16"),
    ("russian", "koi8-r"),
]


def texts(count: int) -> Iterator[tuple[str, str, str]]:
    """Names, texts and codecs: stretches of 1,000 to 1,600 characters, with the name in front."""
    choose = random.Random(7)
    sources = [((TOP / "samples" / "text" / f"{name}.txt").read_text("utf-8"), codec) for name, codec in LANGUAGES]
    for index in range(count):
        source, codec = sources[index % len(sources)]
        length = choose.randrange(1000, 1600)
        start = choose.randrange(max(1, len(source) - length))
        yield f"{index % 17}/text{index}.srt", f"{index}\r\n{source[start:start + length]}", codec


class Corpus:
    """A third each of plain files, members of a zip and of two tar files; some that must be told and left alone."""

    def __init__(self, folder: Path, count: int) -> None:
        self.list = folder / "list"
        self.expected: dict[tuple[str, str], Optional[bytes]] = {}
        names = []
        with zipfile.ZipFile(folder / "a.zip", "w") as zip_file, tarfile.open(folder / "b.tar.gz", "w:gz") as packed:
            with tarfile.open(folder / "c.tar", "w") as plain:
                for index, (name, text, codec) in enumerate(texts(count)):
                    data = text.encode(codec)
                    utf8 = None if codec == "koi8-r" else text.encode("utf-8-sig" if codec == "utf-16" else "utf-8")
                    if index // 10 % 3 == 0:
                        path = folder / "files" / name
                        path.parent.mkdir(parents=True, exist_ok=True)
                        path.write_bytes(data)
                        names.append(str(path))
                        self.expected[str(path), ""] = utf8
                    elif index // 10 % 3 == 1:
                        zip_file.writestr(name, data)
                        self.expected[str(folder / "a.zip"), name] = utf8
                    else:
                        self.add(packed if index % 2 else plain, name, data)
                        self.expected[str(folder / ("b.tar.gz" if index % 2 else "c.tar")), name] = utf8
                self.add(plain, "../outside.srt", b"text")
            zip_file.writestr("program", Path("/bin/ls").read_bytes()[:50000])
        (folder / "broken.zip").write_bytes(b"PK\3\4 and nothing more")
        refused = [("c.tar", "../outside.srt"), ("a.zip", "program"), ("broken.zip", ""), ("missing.srt", "")]
        for path, member in refused:
            self.expected[str(folder / path), member] = None
        archives = [str(folder / name) for name in ("a.zip", "b.tar.gz", "broken.zip", "c.tar", "missing.srt")]
        self.list.write_text("\n".join(names[: len(names) // 2] + archives + names[len(names) // 2:]) + "\n")

    @staticmethod
    def add(archive: tarfile.TarFile, name: str, data: bytes) -> None:
        member = tarfile.TarInfo(name)
        member.size = len(data)
        archive.addfile(member, io.BytesIO(data))

    def check(self, output: Path) -> None:
        """Each text once in the inventory and once in the files, byte for byte; nothing besides."""
        with open(output / "inventory.csv", newline="", encoding="utf-8") as file:
            rows = list(csv.DictReader(file))
        assert len(rows) == len(self.expected)
        found = {(row["path"], row["member"]): row for row in rows}
        assert found.keys() == self.expected.keys()
        places = set()
        for key, utf8 in self.expected.items():
            row = found[key]
            if utf8 is None:
                assert row["error"] and not row["output"], row
                continue
            assert (row["error"], row["losses"]) == ("", "0"), row
            assert (output / "files" / row["output"]).read_bytes() == utf8, row
            places.add(row["output"])
        written = {str(path.relative_to(output / "files")) for path in (output / "files").rglob("*") if path.is_file()}
        assert written == places
        assert not (output / "staging").exists()


@pytest.fixture(scope="module")
def corpus(tmp_path_factory: pytest.TempPathFactory) -> Corpus:
    return Corpus(tmp_path_factory.mktemp("corpus"), COUNT)


def start(corpus: Corpus, output: Path, workers: int = 2) -> subprocess.Popen[str]:
    command = [sys.executable, str(PROGRAM), str(corpus.list), "--output", str(output), "--workers", str(workers)]
    batch = ["--batch", str(min(500, max(20, COUNT // 60)))]
    output.mkdir(exist_ok=True)
    with open(output / "messages", "w") as messages:
        return subprocess.Popen(command + batch, stderr=messages, text=True, start_new_session=True)


def wait_for_parts(program: subprocess.Popen[str], output: Path, count: int) -> None:
    while len(list(output.glob("inventory/*/*.csv"))) < count:
        assert program.poll() is None, (output / "messages").read_text()[-2000:]
        time.sleep(0.005)


def test_a_killed_worker_loses_and_doubles_nothing(corpus: Corpus, tmp_path: Path) -> None:
    program = start(corpus, tmp_path)
    wait_for_parts(program, tmp_path, 5)
    messages = tmp_path / "messages"
    (worker,) = re.findall(r"^workers: (\d+)", messages.read_text(), re.MULTILINE)
    os.kill(int(worker), signal.SIGKILL)
    assert program.wait() == 0, messages.read_text()[-2000:]
    print(messages.read_text()[-300:])
    corpus.check(tmp_path)


def test_a_killed_run_goes_on(corpus: Corpus, tmp_path: Path) -> None:
    program = start(corpus, tmp_path)
    wait_for_parts(program, tmp_path, 8)
    os.killpg(program.pid, signal.SIGKILL)
    program.wait()
    assert not (tmp_path / "inventory.csv").exists()
    ready = {path: path.stat().st_mtime_ns for path in tmp_path.glob("inventory/*/*.csv")}
    again = start(corpus, tmp_path)
    code, messages = again.wait(), (tmp_path / "messages").read_text()
    assert code == 0 and f"{len(ready)} batches are there from before" in messages, messages[-2000:]
    assert {path: path.stat().st_mtime_ns for path in ready} == ready
    corpus.check(tmp_path)
    other = subprocess.run(
        [sys.executable, str(PROGRAM), str(corpus.list), "--output", str(tmp_path), "--batch", "7"],
        capture_output=True,
        text=True,
    )
    assert other.returncode == 1 and "was begun with batch_size" in other.stderr


def test_the_recipe_for_gnu_parallel(corpus: Corpus, tmp_path: Path) -> None:
    """The commands of the README, with this Python's module in place of the command."""
    document = Path(__file__).with_name("README.md").read_text("utf-8")
    (recipe,) = re.findall(r"```sh\n(find .*?)```", document, re.DOTALL)
    files = corpus.list.parent / "files"
    command = f"{sys.executable} -m zucharset convert"
    script = recipe.replace("zucharset convert", command).replace("~/archive", str(files))
    subprocess.run(["bash", "-c", script], cwd=tmp_path, check=False, capture_output=True)
    for (path, member), utf8 in corpus.expected.items():
        if not member and path.startswith(str(files)):
            target = tmp_path / "converted" / Path(path).relative_to(files)
            assert (target.read_bytes() if target.exists() else None) == utf8

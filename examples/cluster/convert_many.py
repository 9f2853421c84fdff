#!/usr/bin/env python3
"""Detects and converts any number of files to UTF-8 on the workers of a Dask cluster.

    convert_many.py LIST --output FOLDER [--workers N | --scheduler ADDRESS]

LIST names a file a line; of archives (.zip, .tar, .tar.gz and the like) every member is taken, read as a stream.
FOLDER gets the texts in files/, one inventory a batch in inventory/, and all of them in inventory.csv. A run that was
stopped goes on where it was when the same command is given again.
"""

from __future__ import annotations

import argparse
import csv
import ctypes
import functools
import io
import itertools
import json
import lzma
import os
import shutil
import socket
import sys
import tarfile
import time
import zipfile
import zlib
from collections import Counter
from collections.abc import Callable, Iterable, Iterator
from dataclasses import asdict, dataclass
from pathlib import Path, PurePosixPath
from typing import IO, Any, Optional

from distributed import Client, Future, LocalCluster, as_completed

import zucharset

COLUMNS = ["path", "member", "encoding", "language", "sure", "losses", "bytes", "output", "error"]
TAR_ENDINGS = (".tar", ".tar.gz", ".tgz", ".tar.bz2", ".tar.xz")
PIECE = 1 << 18


@dataclass(frozen=True)
class Settings:
    """What the workers need to know. All of them see the output folder under the same name."""

    output: str
    batch_size: int
    prefer: Optional[str]

    def inventory_of(self, number: int) -> Path:
        return Path(self.output, "inventory", f"{number // 1000:06}", f"{number:09}.csv")

    @property
    def staging(self) -> Path:
        return Path(self.output, "staging")


@dataclass(frozen=True)
class Batch:
    """Files, or a range of the members of one archive. The same list and settings give the same batches."""

    number: int
    paths: tuple[str, ...]
    first: int = 0
    last: Optional[int] = None  # None: up to the end of the archive


@dataclass(frozen=True)
class Tally:
    files: int
    bytes: int
    failed: int
    lossy: int

    def __add__(self, other: Tally) -> Tally:
        return Tally(
            self.files + other.files,
            self.bytes + other.bytes,
            self.failed + other.failed,
            self.lossy + other.lossy,
        )


# ---- From the list to batches ----


def batches(names: Iterable[str], settings: Settings) -> Iterator[Batch]:
    numbers = itertools.count()
    waiting: list[str] = []

    def take_waiting() -> Iterator[Batch]:
        if waiting:
            yield Batch(next(numbers), tuple(waiting))
            waiting.clear()

    for name in names:
        path = os.path.abspath(name)
        if not path.lower().endswith((".zip", *TAR_ENDINGS)):
            waiting.append(path)
            if len(waiting) == settings.batch_size:
                yield from take_waiting()
            continue
        yield from take_waiting()
        if path.lower().endswith(".zip"):
            # A zip can be entered anywhere, so many workers share it; a tar is read from its start to its end.
            for first in range(0, zip_size(path), settings.batch_size):
                yield Batch(next(numbers), (path,), first, first + settings.batch_size)
        else:
            yield Batch(next(numbers), (path,))
    yield from take_waiting()


def zip_size(path: str) -> int:
    """How many members; 1 for what cannot be opened, so that a worker reports it."""
    try:
        with zipfile.ZipFile(path) as archive:
            return len(archive.infolist())
    except (OSError, zipfile.BadZipFile):
        return 1


# ---- On a worker ----


@dataclass(frozen=True)
class Item:
    path: str
    member: str
    place: Optional[str]  # where the text goes, relative to files/; None when the name leads nowhere safe
    open: Callable[[], Optional[IO[bytes]]]


class Unreadable(Exception):
    """An input that cannot be read, which must not stop the others."""


READ_ERRORS = (OSError, EOFError, RuntimeError, zipfile.BadZipFile, tarfile.TarError, zlib.error, lzma.LZMAError)


def items_of(batch: Batch) -> Iterator[Item]:
    path = batch.paths[0]
    try:
        if path.lower().endswith(".zip"):
            yield from zip_members(path, batch)
        elif path.lower().endswith(TAR_ENDINGS):
            yield from tar_members(path)
        else:
            for path in batch.paths:
                yield Item(path, "", path.lstrip("/"), functools.partial(io.FileIO, path))
    except READ_ERRORS as error:
        raise Unreadable(f"the archive cannot be read on: {error}") from error


def zip_members(path: str, batch: Batch) -> Iterator[Item]:
    with zipfile.ZipFile(path) as archive:
        seen: Counter[str] = Counter()
        for index, info in enumerate(archive.infolist()):
            place = place_of(path, info.filename, seen)
            if index >= batch.first and not info.is_dir():
                yield Item(path, info.filename, place, functools.partial(archive.open, info))
            if index + 1 == batch.last:
                break


def tar_members(path: str) -> Iterator[Item]:
    seen: Counter[str] = Counter()
    with tarfile.open(path, "r|*") as archive:
        for info in archive:
            if info.isfile():
                place = place_of(path, info.name, seen)
                yield Item(path, info.name, place, functools.partial(archive.extractfile, info))


def place_of(archive: str, member: str, seen: Counter[str]) -> Optional[str]:
    """A place of its own for each member, below the archive's; archives may hold a name twice, or lead elsewhere."""
    parts = PurePosixPath(member).parts
    if not parts or parts[0].startswith("/") or ".." in parts:
        return None
    place = "/".join((archive.lstrip("/"), *parts))
    seen[place] += 1
    return place if seen[place] == 1 else f"{place}.~{seen[place]}"


def pieces_of(item: Item) -> Iterator[bytes]:
    try:
        stream = item.open()
        assert stream is not None
        with stream:
            while piece := stream.read(PIECE):
                yield piece
    except READ_ERRORS as error:
        raise Unreadable(f"cannot be read: {error}") from error


def convert_item(item: Item, target: Path, prefer: Optional[str]) -> dict[str, Any]:
    """Writes the text of an item, and gives its row of the inventory."""
    row: dict[str, Any] = {"path": item.path, "member": item.member, "bytes": 0}
    if item.place is None:
        return {**row, "error": "the name leads out of the archive"}
    try:
        with zucharset.Converter(prefer=prefer) as converter, open(target, "wb") as file:
            for piece in pieces_of(item):
                row["bytes"] += len(piece)
                file.write(converter.feed(piece))
            file.write(converter.finish())
            detection, account = converter.detection, converter.account
    except (zucharset.Error, Unreadable) as error:
        target.unlink()
        encoding = error.encoding if isinstance(error, zucharset.UnsupportedEncodingError) else ""
        return {**row, "encoding": encoding, "error": str(error)}
    assert detection is not None
    row.update(
        encoding=detection.encoding,
        language=detection.language,
        sure=int(detection.sure),
        losses=sum(account.losses) - account.losses[zucharset.Loss.MENDED_PAIR],
        output=item.place,
    )
    return row


def sync_file_system(folder: Path) -> None:
    """One wait for the disk, however many files were written."""
    descriptor = os.open(folder, os.O_RDONLY)
    try:
        if ctypes.CDLL(None, use_errno=True).syncfs(descriptor) != 0:
            raise OSError(ctypes.get_errno(), "cannot bring the texts to the disk", str(folder))
    finally:
        os.close(descriptor)


def run_batch(batch: Batch, settings: Settings) -> Tally:
    """Converts a batch. Its inventory appears last: where that stands, all texts of the batch stand, whole."""
    inventory = settings.inventory_of(batch.number)
    if inventory.exists():  # by a worker that died before it could tell
        return tally_of(inventory)
    staging = settings.staging / f"{batch.number}.{socket.gethostname()}.{os.getpid()}"
    shutil.rmtree(staging, ignore_errors=True)
    staging.mkdir(parents=True)
    texts: list[tuple[Path, Path]] = []
    with open(staging / "inventory", "w", newline="", encoding="utf-8", errors="surrogateescape") as file:
        rows = csv.DictWriter(file, COLUMNS)
        rows.writeheader()
        try:
            for index, item in enumerate(items_of(batch)):
                row = convert_item(item, staging / str(index), settings.prefer)
                rows.writerow(row)
                if "output" in row:
                    texts.append((staging / str(index), Path(settings.output, "files", row["output"])))
        except Unreadable as error:
            rows.writerow({"path": batch.paths[0], "error": str(error)})
    sync_file_system(staging)
    for folder in {target.parent for _, target in texts}:
        folder.mkdir(parents=True, exist_ok=True)
    for text, target in texts:
        os.replace(text, target)
    sync_file_system(staging)
    inventory.parent.mkdir(parents=True, exist_ok=True)
    os.replace(staging / "inventory", inventory)
    staging.rmdir()
    return tally_of(inventory)


def tally_of(inventory: Path) -> Tally:
    with open(inventory, newline="", encoding="utf-8", errors="surrogateescape") as file:
        rows = list(csv.DictReader(file))
    return Tally(
        files=len(rows),
        bytes=sum(int(row["bytes"] or 0) for row in rows),
        failed=sum(1 for row in rows if row["error"]),
        lossy=sum(1 for row in rows if row["losses"] not in ("", "0")),
    )


# ---- The run ----


class Run:
    """Hands the batches to the workers, a few at a time, and keeps count."""

    def __init__(self, client: Client, settings: Settings) -> None:
        self.client = client
        self.settings = settings
        self.started = time.monotonic()
        self.tally = Tally(0, 0, 0, 0)
        self.done = 0
        self.problems: list[str] = []
        self.shown = 0.0

    def run(self, work: Iterator[Batch]) -> None:
        workers = len(self.client.scheduler_info()["workers"])
        first = [self.submit(batch) for batch in itertools.islice(work, 4 * workers)]
        finished = as_completed(first)
        for future in finished:
            try:
                result: Tally = future.result()
                self.tally += result
                self.done += 1
            except Exception as error:  # a full disk, a batch that kills its workers: the others go on
                self.problems.append(f"{future.key}: {error!r}")
            future.release()
            self.show(False)
            for batch in itertools.islice(work, 1):
                finished.add(self.submit(batch))
        self.show(True)

    def submit(self, batch: Batch) -> Future:
        return self.client.submit(run_batch, batch, self.settings, key=f"batch-{batch.number}", pure=False)

    def show(self, last: bool) -> None:
        seconds = time.monotonic() - self.started
        if last or seconds - self.shown >= 5:
            self.shown = seconds
            tally = self.tally
            print(
                f"{self.done} batches, {tally.files} files, {tally.bytes / 1e6:.1f} MB in {seconds:.1f} s: "
                f"{tally.files / seconds:.0f} files/s; {tally.failed} not converted, {tally.lossy} lost text",
                file=sys.stderr,
            )


def remember(settings: Settings, list_name: str) -> None:
    """A run can only go on with the list and the settings that it began with."""
    state = {**asdict(settings), "list": os.path.abspath(list_name), "list bytes": os.path.getsize(list_name)}
    file = Path(settings.output, "run.json")
    file.parent.mkdir(parents=True, exist_ok=True)
    if not file.exists():
        file.write_text(json.dumps(state, indent=1))
    before = json.loads(file.read_text())
    for key, value in state.items():
        if before.get(key) != value:
            was = before.get(key)
            sys.exit(f"convert_many: {file} was begun with {key} {was!r}, not {value!r}; name another output")


def merge(settings: Settings, count: int) -> None:
    """All inventories in one file, in the order of the list."""
    with open(Path(settings.output, "inventory.part"), "wb") as whole:
        for number in range(count):
            with open(settings.inventory_of(number), "rb") as part:
                header = part.readline()
                if number == 0:
                    whole.write(header)
                shutil.copyfileobj(part, whole)
        whole.flush()
        os.fsync(whole.fileno())
    os.replace(Path(settings.output, "inventory.part"), Path(settings.output, "inventory.csv"))


def parse() -> argparse.Namespace:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("list", help="a file that names the files and archives, one a line")
    parser.add_argument("--output", required=True, help="folder for the texts and the inventory; all workers see it")
    where = parser.add_mutually_exclusive_group()
    where.add_argument("--workers", type=int, default=os.cpu_count(), help="start so many processes here (%(default)s)")
    where.add_argument("--scheduler", metavar="ADDRESS", help="use the workers of this Dask scheduler")
    parser.add_argument("--batch", type=int, default=500, metavar="FILES", help="files in a task (%(default)s)")
    parser.add_argument("--prefer", metavar="NAME[,NAME...]", help="encodings and languages that are likelier")
    parser.add_argument("--parts-only", action="store_true", help="leave the inventory in parts, one for each batch")
    return parser.parse_args()


def main() -> int:
    arguments = parse()
    settings = Settings(os.path.abspath(arguments.output), arguments.batch, arguments.prefer)
    remember(settings, arguments.list)
    ready = {int(part.stem) for part in Path(settings.output, "inventory").glob("*/*.csv")}
    if ready:
        print(f"{len(ready)} batches are there from before", file=sys.stderr)
    count = 0

    def open_batches(names: Iterable[str]) -> Iterator[Batch]:
        nonlocal count
        for batch in batches((name.rstrip("\n") for name in names), settings):
            count += 1
            if batch.number not in ready:
                yield batch

    cluster = arguments.scheduler or LocalCluster(
        n_workers=arguments.workers, threads_per_worker=1, dashboard_address=None
    )
    with Client(cluster) as client, open(arguments.list, encoding="utf-8", errors="surrogateescape") as names:
        pids = " ".join(str(pid) for pid in client.run(os.getpid).values())
        print(f"workers: {pids}", file=sys.stderr, flush=True)
        run = Run(client, settings)
        run.run(open_batches(names))
    if isinstance(cluster, LocalCluster):
        cluster.close()
    for problem in run.problems:
        print(f"convert_many: {problem}", file=sys.stderr)
    if run.problems:
        print("convert_many: these batches are missing; the same command tries them again", file=sys.stderr)
        return 1
    shutil.rmtree(settings.staging, ignore_errors=True)
    if not arguments.parts_only:
        merge(settings, count)
    return 0


if __name__ == "__main__":
    sys.exit(main())

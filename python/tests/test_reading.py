"""What a text reads as, on every road, against Python's own codecs."""

from __future__ import annotations

import codecs
import io
import mmap
import os
import pickle
import random
import tracemalloc
import warnings
from collections.abc import Callable, Iterator
from pathlib import Path
from typing import Any

import pytest
from conftest import TEXTS, Text, sample

import zucharset

SUBTITLES = {
    "big5": "big5",
    "cp1251": "cp1251",
    "cp1252": "cp1252",
    "cp1256": "cp1256",
    "cp874": "cp874",
    "cp949": "cp949",
    "gbk": "gbk",
    "iso8859-7": "iso8859-7",
    "utf16be": "utf-16-be",
    "utf16le": "utf-16",
    "utf8": "utf-8-sig",
    "ascii": "ascii",
}


@pytest.mark.parametrize("name", SUBTITLES)
def test_subtitles_read_right(name: str) -> None:
    path = Path(__file__).parents[2] / "samples" / "subtitles" / f"{name}.srt"
    data = path.read_bytes()
    assert zucharset.decode(data) == data.decode(SUBTITLES[name])
    with zucharset.open(path) as file:
        assert file.read() == path.read_text(encoding=SUBTITLES[name])


def test_every_road_gives_the_same(text: Text) -> None:
    found = zucharset.detect(text.data)
    assert (found.encoding, found.kind, found.whole) == (text.encoding, zucharset.Kind.TEXT, True)
    assert found.language == (None if text.language == "-" else text.language)
    assert found.codec is not None and codecs.lookup(found.codec).name == codecs.lookup(text.codec).name
    assert zucharset.decode(text.data) == text.text == text.data.decode(found.codec)
    for size in (1, 2, 3, 1000):
        pieces = [text.data[i:i + size] for i in range(0, len(text.data), size)]
        decoder = zucharset.IncrementalDecoder()
        assert "".join(map(decoder.decode, pieces)) + decoder.decode(b"", True) == text.text
        with zucharset.Detector() as detector, zucharset.Converter() as converter:
            for piece in pieces:
                if detector.feed(piece):
                    break
            utf8 = b"".join(map(converter.feed, pieces)) + converter.finish()
            assert utf8.decode() == text.text
            assert detector.result() == converter.detection == decoder.detection == found
            account = converter.account
        assert (account.input_bytes, account.output_bytes, account.text_lost) == (len(text.data), len(utf8), False)
        assert account.changed == (text.encoding != "UTF-8")


def test_hints() -> None:
    data = "Привет!".encode("cp1251")
    assert zucharset.decode(data, prefer="ru,windows-1251") == "Привет!"
    assert zucharset.decode(data, prefer=["ru", "windows-1251"]) == "Привет!"
    assert zucharset.decode(data, encoding="cp1252") == data.decode("cp1252")
    assert zucharset.detect(sample("russian").encode("cp1251"), plain=True).encoding == "Windows-1257"


# ---- Buffers ----


def test_buffers_are_taken_as_they_are(tmp_path: Path) -> None:
    data = TEXTS[3].data
    path = tmp_path / "text"
    path.write_bytes(data)
    with open(path, "r+b") as file, mmap.mmap(file.fileno(), 0) as both, mmap.mmap(
        file.fileno(), 0, access=mmap.ACCESS_READ
    ) as read_only:
        buffers: list[Any] = [bytearray(data), memoryview(b"?" + data)[1:], both, read_only, memoryview(data).cast("b")]
        for buffer in buffers:
            assert zucharset.detect(buffer) == zucharset.detect(data)
            assert zucharset.decode(buffer) == TEXTS[3].text
        both.close()  # nothing holds it any more
    growing = bytearray(data)
    with zucharset.Converter() as converter:
        converter.feed(growing)
        growing.append(0)
    with pytest.raises(BufferError):
        zucharset.detect(memoryview(data)[::2])
    with pytest.raises(TypeError, match="bytes it came from"):
        zucharset.decode("text")  # type: ignore[arg-type]


def test_nothing_is_copied(tmp_path: Path) -> None:
    path = tmp_path / "large"
    path.write_bytes(TEXTS[3].data * 8192)  # 16 MB
    with open(path, "rb") as file, mmap.mmap(file.fileno(), 0, access=mmap.ACCESS_READ) as data:
        tracemalloc.start()
        zucharset.detect(data)
        with zucharset.Detector() as detector:
            detector.feed(data)
            assert detector.result().encoding == "Windows-1251"
        peak = tracemalloc.get_traced_memory()[1]
        tracemalloc.stop()
    assert peak < 1 << 18


# ---- Errors ----

DAMAGED = [
    ("cp1252", b"caf\xe9 \x81\x8d end\x90"),
    ("utf-8", "ж".encode() * 3 + b"\xff\xc0\xaf \xe2\x82 end \xe2\x82"),
    ("utf-8", b"\xff" + "жук ".encode() * 9000 + b"\xff" + "жук ".encode() * 9000 + b"\xf0\x9f"),
    ("utf-16-le", "до".encode("utf-16-le") + b"\x3d\xd8x\x00" + "ми".encode("utf-16-le") + b"\x3d\xd8"),
    ("iso8859-7", b"\xe1\xe2\xae\xd2 \xff"),
]


@pytest.mark.parametrize("codec, data", DAMAGED, ids=[f"{codec}-{len(data)}" for codec, data in DAMAGED])
@pytest.mark.parametrize("errors", ["ignore", "backslashreplace", "surrogateescape", "strict", "replace"])
def test_error_handlers(codec: str, data: bytes, errors: str, tmp_path: Path) -> None:
    def incremental(size: int) -> str:
        decoder = zucharset.IncrementalDecoder(errors, encoding=codec)
        pieces = [data[i:i + size] for i in range(0, len(data), size)]
        return "".join(map(decoder.decode, pieces)) + decoder.decode(b"", True)

    def from_file() -> str:
        with zucharset.open(tmp_path / "text", encoding=codec, errors=errors, newline="") as file:
            return file.read()

    (tmp_path / "text").write_bytes(data)
    roads: list[Callable[[], str]] = [
        lambda: zucharset.decode(data, encoding=codec, errors=errors),
        lambda: incremental(1 if len(data) < 100 else 1001),
        lambda: incremental(5 if len(data) < 100 else 5000),
        lambda: incremental(70000),
        from_file,
    ]
    try:
        expected = data.decode(codec, errors)
    except UnicodeDecodeError as error:  # surrogateescape has no room for what ASCII bytes are part of
        offsets = set()
        for road in roads:
            with pytest.raises(zucharset.DecodeError) as caught:
                road()
            offsets.add(caught.value.offset)
            copy = pickle.loads(pickle.dumps(caught.value))
            assert (str(copy), copy.offset) == (str(caught.value), caught.value.offset)
            assert caught.value.object[caught.value.start:caught.value.end] == data[caught.value.offset:][
                : caught.value.end - caught.value.start
            ]
        assert offsets == {error.start}
        return
    results = {road() for road in roads}
    assert len(results) == 1
    if errors != "replace":  # Python and the library put U+FFFD in different numbers
        assert results == {expected}


def test_errors_say_what_to_do(tmp_path: Path) -> None:
    japanese = sample("russian").encode("koi8-r")
    path = tmp_path / "russian.txt"
    path.write_bytes(japanese)
    with zucharset.open(path) as file, pytest.raises(zucharset.UnsupportedEncodingError) as unsupported:
        file.read()
    assert unsupported.value.file == str(path) and unsupported.value.codec == "koi8-r"
    assert str(unsupported.value) == (
        f"'{path}': text in KOI8-R, which zucharset does not convert; Python's codec 'koi8-r' reads it, "
        "iconv -f KOI8-R -t UTF-8 converts it"
    )
    assert japanese.decode(unsupported.value.codec) == sample("russian")
    assert pickle.loads(pickle.dumps(unsupported.value)).__dict__ == unsupported.value.__dict__
    with pytest.raises(zucharset.UnsupportedEncodingError):
        zucharset.decode(japanese, encoding="koi8-r")
    assert zucharset.detect(japanese).kind is zucharset.Kind.UNSUPPORTED

    with pytest.raises(zucharset.NotTextError, match=r"ELF.*encoding='...' reads it"):
        zucharset.decode(Path("/bin/ls").read_bytes())
    assert zucharset.detect(Path("/bin/ls").read_bytes()).kind is zucharset.Kind.BINARY
    with zucharset.Detector() as detector:
        detector.feed(Path("/bin/ls").read_bytes())
        assert detector.result().kind is zucharset.Kind.BINARY
    with pytest.raises(zucharset.UnknownEncodingError, match="did you mean Windows-1251"):
        zucharset.decode(b"", encoding="windos-1251")
    with pytest.raises(LookupError, match="'rusian' is neither .* did you mean"):
        zucharset.detect(b"abc", prefer="ru, cp1251,rusian")
    with pytest.raises(LookupError, match="unknown error handler"):
        zucharset.IncrementalDecoder("nonsense")
    with pytest.raises(ValueError, match="only reads"):
        zucharset.open(path, "w")
    with pytest.raises(FileNotFoundError):
        zucharset.open(tmp_path / "missing")


def test_an_unsure_reading_warns(tmp_path: Path) -> None:
    data = b"\xe9\xe8 a"
    assert not zucharset.detect(data).sure
    (tmp_path / "text").write_bytes(data)
    with warnings.catch_warnings(record=True) as caught:
        warnings.simplefilter("always")
        zucharset.decode(data)
        data.decode("zucharset")
        zucharset.open(tmp_path / "text").read()
        zucharset.IncrementalDecoder().decode(data, True)
        zucharset.decode(data, encoding="cp1252")
    assert [warning.category for warning in caught] == [zucharset.UnsureWarning] * 4
    assert {warning.filename for warning in caught} == {__file__}


# ---- open() against the built-in one ----

LINES = "plain\nодин\r\nдва\rтри\r\n\r\nчетыре" + "пять\n" * 30000 + "конец"


@pytest.mark.parametrize("codec", ["cp1251", "utf-8", "utf-8-sig", "utf-16"])
@pytest.mark.parametrize("newline", [None, "", "\n", "\r", "\r\n"])
@pytest.mark.parametrize("by_codec", [False, True], ids=["open", "codec"])
def test_open_is_like_the_built_in(codec: str, newline: str | None, by_codec: bool, tmp_path: Path) -> None:
    path = tmp_path / "text"
    # Before the codec has judged, tell() tries byte by byte.
    path.write_bytes((LINES[:1000] if by_codec else LINES).encode(codec))

    def play(file: Any) -> Iterator[object]:
        yield file.readline(), file.read(7), file.readline(), file.newlines
        mark = file.tell()
        line, rest = file.readline(), file.read()
        yield line, rest, file.read(), file.newlines
        file.seek(mark)
        yield file.readline(), file.read(3)
        end = file.seek(0, io.SEEK_END)
        yield file.read()
        file.seek(0)
        yield list(file)
        file.seek(mark)
        yield file.read() == line + rest
        file.seek(end)
        yield file.read(), file.readable(), file.writable(), file.seekable(), file.mode, os.fspath(file.name)
        yield os.fstat(file.fileno()).st_size, file.isatty(), file.closed
        file.close()
        yield file.closed

    ours = open(path, encoding="zucharset", newline=newline) if by_codec else zucharset.open(path, newline=newline)
    assert list(play(ours)) == list(play(open(path, encoding=codec, newline=newline)))


def test_open_at_random(tmp_path: Path) -> None:
    path = tmp_path / "text"
    path.write_bytes(LINES.encode("cp1251"))
    choose = random.Random(1)
    with zucharset.open(path) as ours, open(path, encoding="cp1251") as theirs:
        marks = [(ours.tell(), theirs.tell())]
        for _ in range(300):
            action = choose.randrange(3)
            if action == 0:
                count = choose.choice([1, 10, 5000, 20000])
                assert ours.read(count) == theirs.read(count)
            elif action == 1:
                assert ours.readline() == theirs.readline()
                marks.append((ours.tell(), theirs.tell()))
            else:
                mark = choose.choice(marks)
                ours.seek(mark[0])
                theirs.seek(mark[1])


def test_open_takes_what_the_built_in_takes(tmp_path: Path) -> None:
    path = tmp_path / "text"
    path.write_bytes("один".encode("cp1251"))
    descriptor = os.open(path, os.O_RDONLY)
    with zucharset.open(descriptor, closefd=False, prefer="ru") as file:
        assert file.detection.encoding == "Windows-1251" and file.read() == "один"
    os.close(descriptor)
    with zucharset.open(os.fsencode(path), opener=os.open, prefer="ru", buffering=100) as file:
        assert file.read() == "один"
    with pytest.raises(io.UnsupportedOperation):
        zucharset.open(path).reconfigure(encoding="ascii")
    path.write_bytes("один".encode("cp500", "replace") + "日".encode("cp932"))
    with zucharset.open(path, encoding="cp500") as file:
        assert file.encoding == "cp500"
    read, write = os.pipe()
    os.write(write, "première ligne\n".encode("cp1252"))
    os.close(write)
    with zucharset.open(read, encoding="cp1252") as file:
        assert not file.seekable() and file.readline() == "première ligne\n"


# ---- Names ----


def test_codecs_have_the_same_tables() -> None:
    """No code reads as one character here and as another there."""
    only_here: dict[str, int] = {}
    only_there: dict[str, int] = {}
    for encoding in zucharset.encodings():
        if encoding.codec is None:
            assert not encoding.convertible
            continue
        codecs.lookup(encoding.codec)
        if not encoding.convertible or encoding.name.startswith("UTF"):
            continue
        codes = [bytes([byte]) for byte in range(256)]
        if encoding.name in ("Big5", "GBK", "CP949"):
            codes += [bytes([lead, trail]) for lead in range(0x81, 0xFF) for trail in range(0x40, 0xFF)]
        for code in codes:
            here, there = None, None
            try:
                here = zucharset.decode(code, encoding=encoding.name)
            except zucharset.DecodeError:
                pass
            try:
                there = code.decode(encoding.codec)
            except UnicodeDecodeError:
                pass
            assert here == there or here is None or there is None, (encoding.name, code)
            only_here[encoding.name] = only_here.get(encoding.name, 0) + (there is None and here is not None)
            only_there[encoding.name] = only_there.get(encoding.name, 0) + (here is None and there is not None)
    document = (Path(__file__).parents[2] / "docs" / "python.md").read_text(encoding="utf-8")
    for name in only_here:
        if only_here[name] or only_there[name]:
            assert f"| {name} | {only_here[name]:,} | {only_there[name]:,} |" in document

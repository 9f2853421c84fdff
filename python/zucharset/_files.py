"""open(), which takes the place of the built-in one for reading text."""

from __future__ import annotations

import builtins
import io
import os
from typing import TYPE_CHECKING, Any, BinaryIO, Callable, Optional, Union, cast, overload

from ._decoding import Decoding
from ._errors import Error, UnknownEncodingError
from ._judging import Detection, Prefer, encoding_facts, find_encoding
from . import _library as lib

if TYPE_CHECKING:
    from _typeshed import WriteableBuffer

    Path = Union[str, bytes, "os.PathLike[str]", "os.PathLike[bytes]", int]

_PIECE = 65536


class _Utf8Reader(io.RawIOBase):
    """A file of any encoding, as UTF-8. Positions count bytes of the UTF-8."""

    def __init__(self, file: BinaryIO, encoding: str | None, errors: str, prefer: Prefer, sample: int) -> None:
        self._file = file
        self._settings = (encoding, errors, prefer, sample, file.name)
        self._start = file.tell() if file.seekable() else 0
        self._begin()

    def _begin(self) -> None:
        self._decoding = Decoding(*self._settings)
        self._ready = memoryview(b"")
        self._position = 0
        self._ended = False

    @property
    def name(self) -> Any:
        return self._file.name

    @property
    def mode(self) -> str:
        return "rb"

    def readable(self) -> bool:
        return True

    def seekable(self) -> bool:
        return self._file.seekable()

    def fileno(self) -> int:
        return self._file.fileno()

    def isatty(self) -> bool:
        return self._file.isatty()

    def close(self) -> None:
        if not self.closed:
            self._decoding.close()
            self._file.close()
        super().close()

    def tell(self) -> int:
        return self._position

    def seek(self, offset: int, whence: int = io.SEEK_SET) -> int:
        """Back means to start again and skip: the way there has no fixed width."""
        if not self.seekable():
            raise io.UnsupportedOperation("this file cannot be read again from an earlier place")
        if whence == io.SEEK_END:
            if offset:
                raise io.UnsupportedOperation("how far the end is shows only once it is reached")
            while self._skip(_PIECE):
                pass
            return self._position
        target = offset + (self._position if whence == io.SEEK_CUR else 0)
        if target < self._position:
            self._decoding.close()
            self._file.seek(self._start)
            self._begin()
        while self._position < target and self._skip(target - self._position):
            pass
        return self._position

    def readinto(self, buffer: WriteableBuffer) -> int:
        with memoryview(buffer) as whole, whole.cast("B") as room:
            self._fill()
            count = min(len(room), len(self._ready))
            room[:count] = self._ready[:count]
        return self._skip(count)

    def detect(self) -> Detection:
        """Reads on until the verdict stands, and keeps what was read."""
        while self._decoding.detection is None and not self._ended:
            self._read_piece()
        detection = self._decoding.detection
        assert detection is not None
        return detection

    def _skip(self, count: int) -> int:
        self._fill()
        count = min(count, len(self._ready))
        self._ready = self._ready[count:]
        self._position += count
        return count

    def _fill(self) -> None:
        while not self._ready and not self._ended:
            self._read_piece()

    def _read_piece(self) -> None:
        piece = cast(io.BufferedReader, self._file).read1(_PIECE)
        try:
            output = self._decoding.feed(piece, not piece)
        except Error as error:
            error.file = self._file.name
            raise
        self._ended = not piece
        self._ready = memoryview(bytes(self._ready) + output)


class TextFile(io.TextIOWrapper):
    """A text file whose encoding was found out. What its buffer gives is UTF-8."""

    def __init__(self, reader: _Utf8Reader, mode: str, newline: str | None) -> None:
        self._reader = reader
        super().__init__(io.BufferedReader(reader), "utf-8", "surrogatepass", newline)
        setattr(self, "mode", mode)  # where the built-in open() keeps it, too

    @property
    def detection(self) -> Detection:
        """What the encoding was taken for; reads as much of the file as it takes to tell."""
        return self._reader.detect()

    def reconfigure(self, *, encoding: object = None, errors: object = None, **others: Any) -> None:
        """Changes newline and the like; encoding and errors are a matter of open()."""
        if encoding is not None or errors is not None:
            raise io.UnsupportedOperation("encoding and errors are set by zucharset.open()")
        super().reconfigure(**others)


@overload
def open(
    file: Path,
    mode: str = "r",
    buffering: int = -1,
    encoding: None = None,
    errors: str | None = None,
    newline: str | None = None,
    closefd: bool = True,
    opener: Callable[[str, int], int] | None = None,
    *,
    prefer: Prefer = None,
    sample: int = 0,
) -> TextFile:
    ...


@overload
def open(
    file: Path,
    mode: str,
    buffering: int,
    encoding: str,
    errors: str | None = None,
    newline: str | None = None,
    closefd: bool = True,
    opener: Callable[[str, int], int] | None = None,
) -> io.TextIOWrapper:
    ...


@overload
def open(
    file: Path,
    mode: str = "r",
    buffering: int = -1,
    *,
    encoding: str,
    errors: str | None = None,
    newline: str | None = None,
    closefd: bool = True,
    opener: Callable[[str, int], int] | None = None,
) -> io.TextIOWrapper:
    ...


def open(
    file: Path,
    mode: str = "r",
    buffering: int = -1,
    encoding: str | None = None,
    errors: str | None = None,
    newline: str | None = None,
    closefd: bool = True,
    opener: Optional[Callable[[str, int], int]] = None,
    *,
    prefer: Prefer = None,
    sample: int = 0,
) -> io.TextIOWrapper:
    """Opens a text file of unknown encoding for reading, as the built-in open() does one in text mode.

    All arguments mean what they mean there. encoding overrules the judging; what zucharset does not convert is left to
    Python's codec of that name. errors is that of decode(), prefer and sample are those of detect(). A byte order mark
    is not part of the text. seek() goes back by reading the file again from its start.
    """
    if sorted(mode) not in (["r"], ["r", "t"]):
        raise ValueError(f"mode {mode!r}: zucharset.open() only reads text; write with open(..., encoding='utf-8')")
    if buffering == 0:
        raise ValueError("text cannot be read without a buffer")
    if encoding is not None and not _is_converted(encoding):
        text = builtins.open(file, mode, buffering, encoding, errors, newline, closefd, opener)
        return cast(io.TextIOWrapper, text)
    if newline not in (None, "", "\n", "\r", "\r\n"):
        raise ValueError(f"illegal newline value: {newline!r}")
    binary = builtins.open(file, "rb", max(buffering, -1), closefd=closefd, opener=opener)
    try:
        return TextFile(_Utf8Reader(binary, encoding, errors or "strict", prefer, sample), mode, newline)
    except BaseException:
        binary.close()
        raise


def _is_converted(encoding: str) -> bool:
    try:
        number, _ = find_encoding(encoding)
    except UnknownEncodingError:
        return False
    return bool(encoding_facts(number).traits & lib.CONVERTIBLE)

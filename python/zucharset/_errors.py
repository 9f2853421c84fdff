"""What can go wrong, with the file, the offset and what to do about it."""

from __future__ import annotations

from typing import Union

FileName = Union[str, bytes, int]


class Error(Exception):
    """A text that cannot be read.

    file, offset and remedy say where and what helps; file and offset are None where they are unknown.
    """

    def __init__(self, problem: str, *, remedy: str = "", offset: int | None = None) -> None:
        super().__init__(problem)
        self.problem = problem
        self.remedy = remedy
        self.offset = offset
        self.file: FileName | None = None

    def __str__(self) -> str:
        return _message(self)


class NotTextError(Error, ValueError):
    """The bytes are no text."""


class UnsupportedEncodingError(Error, ValueError):
    """Text in an encoding that is recognised and not converted."""

    def __init__(
        self, problem: str, encoding: str = "", codec: str | None = None, *, remedy: str = ""
    ) -> None:
        super().__init__(problem, remedy=remedy)
        self.args = (problem, encoding, codec)
        self.encoding = encoding
        self.codec = codec


class UnknownEncodingError(Error, LookupError):
    """Nothing has this name."""


class CancelledError(Error):
    """cancel() ended the work."""


class RefusedError(Error):
    """The library refused, which no text should make it do."""


class DecodeError(Error, UnicodeDecodeError):
    """Bytes without a meaning in the text's encoding.

    start and end count in object as Python wants it; offset counts from the start of the text.
    """

    def __init__(self, encoding: str, object: bytes, start: int, end: int, reason: str) -> None:
        UnicodeDecodeError.__init__(self, encoding, object, start, end, reason)
        self.problem = reason
        self.remedy = "errors='replace' reads on, encoding='...' names another encoding"
        self.offset: int | None = start
        self.file = None

    def __str__(self) -> str:
        return _message(self)


class UnsureWarning(UserWarning):
    """A text was read in a way that may be wrong."""


def _message(error: Error) -> str:
    parts = []
    if error.file is not None:
        parts.append(f"{error.file!r}: ")
    if error.offset is not None:
        parts.append(f"offset {error.offset}: ")
    parts.append(error.problem)
    if error.remedy:
        parts.append(f"; {error.remedy}")
    return "".join(parts)

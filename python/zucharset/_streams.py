"""Texts of any length in pieces: Detector and Converter."""

from __future__ import annotations

import ctypes
import threading
from types import TracebackType
from typing import TYPE_CHECKING, TypeVar

from . import _library as lib
from ._errors import NotTextError, UnsupportedEncodingError
from ._judging import Account, Detection, Prefer, account_from, check, detection_from, options_for

if TYPE_CHECKING:
    from _typeshed import ReadableBuffer as Buffer

_Self = TypeVar("_Self", bound="Stream")

# What an encoding cannot be converted for is a verdict like any other where only the verdict is wanted.
_VERDICTS = (NotTextError, UnsupportedEncodingError)


class Stream:
    """A zutext_stream. One thread at a time works on it, others wait; cancel() waits for nobody."""

    def __init__(self, options: lib.Options) -> None:
        self._stream: int | None = None
        self._options = options
        self._work = threading.Lock()  # held through every call that works on the stream
        self._life = threading.Lock()  # held while the stream is closed or cancelled
        self._detection: Detection | None = None
        handle = ctypes.c_void_p()
        check(lib.open_stream(ctypes.byref(options), ctypes.byref(handle)), options)
        self._stream = handle.value

    def __enter__(self: _Self) -> _Self:
        return self

    def __exit__(
        self, kind: type[BaseException] | None, error: BaseException | None, trace: TracebackType | None
    ) -> None:
        self.close()

    def __del__(self) -> None:
        # Nobody else holds a lock of an object that is about to go. __init__ may have failed before there were any.
        stream = getattr(self, "_stream", None)
        if stream:
            lib.close(stream)

    def close(self) -> None:
        """Frees what the stream holds. Waits for a call that is running on another thread; cancel() shortens that."""
        with self._work, self._life:
            stream, self._stream = self._stream, None
            if stream:
                lib.close(stream)

    def cancel(self) -> None:
        """Ends the work, from any thread: the running call and all later ones raise CancelledError."""
        with self._life:
            if self._stream:
                lib.cancel(self._stream)

    def _handle(self) -> int:
        if not self._stream:
            raise ValueError("this stream is closed")
        return self._stream

    def _write(self, data: Buffer) -> bytes:
        with self._work:
            handle = self._handle()
            output = lib.Output()
            with lib.Borrowed(data) as view:
                self._check(lib.write(handle, view.buf, view.len, ctypes.byref(output)))
            return bytes(lib.view_of(output.bytes, output.length))

    def _finish(self) -> bytes:
        with self._work:
            output = lib.Output()
            self._check(lib.finish(self._handle(), ctypes.byref(output)))
            return bytes(lib.view_of(output.bytes, output.length))

    def _check(self, result: int) -> None:
        if result != lib.OK:
            check(result, self._options, lib.verdict_of(self._stream) or None)

    def _verdict(self) -> Detection | None:
        with self._work:
            if self._detection is None:
                verdict = lib.verdict_of(self._handle())
                if verdict:
                    self._detection = detection_from(verdict.contents)
            return self._detection

    def _account(self) -> Account:
        with self._work:
            return account_from(lib.account_of(self._handle()).contents)


class Detector(Stream):
    """Tells the encoding of a text that comes in pieces.

    ::

        with zucharset.Detector() as detector:
            for piece in pieces:
                if detector.feed(piece):
                    break
            print(detector.result().encoding)
    """

    def __init__(self, *, prefer: Prefer = None, sample: int = 0, plain: bool = False) -> None:
        super().__init__(options_for(None, prefer, sample, lib.JUDGE_ONLY | (lib.PLAIN if plain else 0)))

    def feed(self, data: Buffer) -> bool:
        """Takes the next piece, any buffer of bytes. True: the verdict stands, more is not needed."""
        if self._verdict() is None:
            try:
                self._write(data)
            except _VERDICTS:
                if self._verdict() is None:
                    raise
        return self._verdict() is not None

    def result(self) -> Detection:
        """The verdict; judges by what there is if it does not stand yet. Nothing can be fed after this."""
        detection = self._verdict()
        if detection is None:
            try:
                self._finish()
            except _VERDICTS:
                if self._verdict() is None:
                    raise
            detection = self._verdict()
        if detection is None:
            raise RuntimeError("the text ended without a verdict")
        return detection


class Converter(Stream):
    """Converts a text that comes in pieces, cut anywhere, to UTF-8.

    ::

        with zucharset.Converter() as converter:
            for piece in pieces:
                file.write(converter.feed(piece))
            file.write(converter.finish())
            print(converter.account.text_lost)

    encoding overrules the judging; add_mark and strip_mark set or leave out the byte order mark; prefer, sample and
    plain are those of detect().
    """

    def __init__(
        self,
        *,
        encoding: str | None = None,
        prefer: Prefer = None,
        sample: int = 0,
        plain: bool = False,
        add_mark: bool = False,
        strip_mark: bool = False,
    ) -> None:
        if add_mark and strip_mark:
            raise ValueError("add_mark and strip_mark contradict each other")
        flags = (lib.PLAIN * plain) | (lib.ADD_MARK * add_mark) | (lib.STRIP_MARK * strip_mark)
        super().__init__(options_for(encoding, prefer, sample, flags))

    def feed(self, data: Buffer) -> bytes:
        """Takes the next piece, any buffer of bytes, and gives what is ready: whole characters, or nothing yet."""
        return self._write(data)

    def finish(self) -> bytes:
        """Ends the text and gives the rest."""
        return self._finish()

    @property
    def detection(self) -> Detection | None:
        """The verdict; None until it stands."""
        return self._verdict()

    @property
    def account(self) -> Account:
        """What the conversion did and lost so far."""
        return self._account()

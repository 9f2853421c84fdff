"""Bytes to str: decode(), the incremental decoder, and the codec "zucharset"."""

from __future__ import annotations

import codecs
import ctypes
from typing import TYPE_CHECKING, Union

from . import _library as lib
from ._errors import DecodeError, FileName
from ._judging import Account, Detection, Loss, Prefer, account_from, check, detection_from, options_for, warn_if_unsure
from ._streams import Stream

if TYPE_CHECKING:
    from _typeshed import ReadableBuffer as Buffer

_REASONS = {
    Loss.REPLACED: "a character without a meaning in this encoding",
    Loss.DROPPED: "bytes without a meaning in this encoding",
    Loss.MALFORMED: "not well-formed UTF-8",
    Loss.SURROGATE: "half of a surrogate pair",
    Loss.MISREAD: "a code of GB18030 that GBK does not have",
    Loss.CUT: "the end of the text cuts off a character",
}


def decode(
    data: Buffer,
    *,
    encoding: str | None = None,
    errors: str = "strict",
    prefer: Prefer = None,
    sample: int = 0,
    plain: bool = False,
) -> str:
    """The text of bytes whose encoding is unknown, without a byte order mark.

    data is any buffer of bytes and is not copied. encoding overrules the judging; prefer, sample and plain are those of
    detect(). errors is that of bytes.decode(): with "replace" bytes without a meaning become U+FFFD or nothing, as the
    library does it. A reading that may be wrong gives an UnsureWarning.
    """
    options = options_for(encoding, prefer, sample, lib.STRIP_MARK | (lib.PLAIN if plain else 0))
    with lib.Borrowed(data) as view, _Converted(view.buf or 0, view.len, options) as converted:
        detection = detection_from(converted.text.verdict)
        warn_if_unsure(detection)
        if errors == "replace" or account_from(converted.text.account).first_loss is None:
            return converted.string()
    with memoryview(data) as whole, whole.cast("B") as flat:
        return decode_with_handler(flat, detection, errors, 0, True)[0]


class _Converted:
    """A zutext_text, released in the end."""

    def __init__(self, address: int, length: int, options: lib.Options) -> None:
        self.text = lib.Text()
        result = lib.convert(address or None, length, ctypes.byref(options), ctypes.byref(self.text))
        check(result, options, ctypes.pointer(self.text.verdict))

    def __enter__(self) -> _Converted:
        return self

    def __exit__(self, *_: object) -> None:
        lib.release(ctypes.byref(self.text))

    def string(self) -> str:
        return str(lib.view_of(self.text.bytes, self.text.length), "utf-8")


# How much is converted afresh behind each loss, at most. Only the last stretch of a text may end within a character.
_STRETCH = 16384


def decode_with_handler(
    data: memoryview, detection: Detection, errors: str, offset: int, final: bool
) -> tuple[str, int]:
    """Decodes bytes of a known encoding and asks one of Python's error handlers about each loss.

    Gives the text and how many bytes it stands for; without final the end may be left over. offset is that of data in
    the whole text.
    """
    handler = codecs.lookup_error(errors)
    parts: list[str] = []
    position = 0
    while position < len(data):
        stretch = data[position : position + _STRETCH]
        is_last = position + len(stretch) == len(data)
        flags = lib.STRIP_MARK if offset + position == 0 else 0
        text, account = _convert_stretch(stretch, detection.code_type, flags)
        loss = account.first_loss
        if loss is None:
            parts.append(text)
            position += len(stretch)
            continue
        if loss.offset:
            parts.append(_convert_stretch(stretch[: loss.offset], detection.code_type, flags)[0])
            position += loss.offset
        if loss.loss is Loss.CUT and not (is_last and final):
            if is_last:
                break
            continue
        end = position + len(loss.bytes)
        name = detection.codec or detection.encoding or ""
        error = DecodeError(name, bytes(data), position, end, _REASONS[loss.loss])
        error.offset = offset + position
        replacement, position = handler(error)
        if not isinstance(replacement, str):
            raise TypeError(f"the error handler {errors!r} must give text")
        parts.append(replacement)
        if position < 0:
            position += len(data)
        if not 0 <= position <= len(data):
            raise IndexError(f"the error handler {errors!r} leads outside the text")
    return "".join(parts), position


def _convert_stretch(data: memoryview, number: int, flags: int) -> tuple[str, Account]:
    options = options_for(number, None, 0, flags)
    with lib.Borrowed(data) as view, _Converted(view.buf or 0, view.len, options) as converted:
        return converted.string(), account_from(converted.text.account)


class Decoding(Stream):
    """A text on its way from bytes to UTF-8, with errors handled Python's way."""

    def __init__(
        self,
        encoding: Union[str, int, None],
        errors: str,
        prefer: Prefer,
        sample: int = 0,
        file: FileName | None = None,
        flags: int = lib.STRIP_MARK,
    ) -> None:
        codecs.lookup_error(errors)
        self._errors = errors
        self._file = file
        self._warned = False
        # Other handlers see one loss at a time, with the bytes around it, in a text whose encoding is known.
        self._by_handler = errors not in ("strict", "replace")
        self.rest = bytearray()  # what came in and is not yet part of the output
        self._taken = 0  # how much of the text came before that
        super().__init__(options_for(encoding, prefer, sample, lib.JUDGE_ONLY if self._by_handler else flags))

    @property
    def detection(self) -> Detection | None:
        return self._verdict()

    def feed(self, data: Buffer, final: bool) -> bytes:
        """Takes a piece and gives UTF-8, in which an error handler may have put lone surrogates."""
        self.rest += data
        if self._by_handler:
            return self._feed_handler(data, final)
        output = self._write(data)
        if final:
            output += self._finish()
        self._warn()
        account = self._account()
        place = account.first_loss
        if place is not None and self._errors == "strict":
            error = DecodeError(self._codec(), place.bytes, 0, len(place.bytes), _REASONS[place.loss])
            error.offset = place.offset
            raise error
        self._take(account.input_bytes - self._taken)
        return output

    def _feed_handler(self, data: Buffer, final: bool) -> bytes:
        if self._verdict() is None:
            self._write(data)
            if final:
                self._finish()
        detection = self._verdict()
        if detection is None:
            return b""
        self._warn()
        with memoryview(bytes(self.rest)) as rest:
            text, used = decode_with_handler(rest, detection, self._errors, self._taken, final)
        self._take(used)
        return text.encode("utf-8", "surrogatepass")

    def _take(self, count: int) -> None:
        del self.rest[:count]
        self._taken += count

    def _codec(self) -> str:
        detection = self._verdict()
        return (detection.codec or detection.encoding or "") if detection else ""

    def _warn(self) -> None:
        detection = None if self._warned else self._verdict()
        if detection:
            self._warned = True
            warn_if_unsure(detection, self._file)


class IncrementalDecoder(codecs.IncrementalDecoder):
    """Bytes in pieces to str, for the codecs module.

    Gives plain ASCII at once, and the rest when enough of the text has come to judge by, or with the last piece. Under
    the built-in open(), tell() is slow until then; zucharset.open() knows no such place.
    """

    def __init__(
        self,
        errors: str = "strict",
        *,
        encoding: str | None = None,
        prefer: Prefer = None,
        sample: int = 0,
    ) -> None:
        super().__init__(errors)
        self._settings = (errors, prefer, sample)
        self._encoding = encoding
        self._decoding: Decoding
        self._pending: bytes
        self._known: int  # the encoding that setstate() named
        self._verdict: Detection | None = None
        self._begin(b"", 0)

    @property
    def detection(self) -> Detection | None:
        """The verdict; None until it stands."""
        self._verdict = self._verdict or self._decoding.detection
        return self._verdict

    def decode(self, input: Buffer, final: bool = False) -> str:
        if self._pending:
            input, self._pending = self._pending + bytes(input), b""
        text = self._decoding.feed(input, final).decode("utf-8", "surrogatepass")
        if final and self.detection:
            self._begin(b"", self.detection.code_type)
        return text

    def reset(self) -> None:
        """Gets ready for another text."""
        self._verdict = None
        self._begin(b"", 0)

    def getstate(self) -> tuple[bytes, int]:
        """The bytes that no text was given for yet, and the code type of the encoding once it is known.

        Another decoder that takes the text up before it was judged judges it by what follows.
        """
        known = self._decoding.detection
        return bytes(self._decoding.rest) + self._pending, known.code_type if known else self._known

    def setstate(self, state: tuple[bytes, int]) -> None:
        # The text stays the same one, so what it was found to be holds from its start on.
        self._verdict = self.detection
        self._begin(*state)

    def _begin(self, pending: bytes, known: int) -> None:
        self._pending, self._known = pending, known
        # A byte order mark is only looked for where the text begins.
        flags = 0 if self._known else lib.STRIP_MARK
        encoding = self._known or (self._verdict.code_type if self._verdict else self._encoding)
        self._decoding = Decoding(encoding, *self._settings, flags=flags)


# ---- The codec "zucharset": open(path, encoding="zucharset"), data.decode("zucharset") ----


def _codec_decode(input: Buffer, errors: str = "strict") -> tuple[str, int]:
    with memoryview(input) as view:
        return decode(input, errors=errors), view.nbytes


def _codec_encode(input: str, errors: str = "strict") -> tuple[bytes, int]:
    raise ValueError("the codec 'zucharset' only reads; write with encoding='utf-8'")


def _find_codec(name: str) -> codecs.CodecInfo | None:
    if name != "zucharset":
        return None
    return codecs.CodecInfo(_codec_encode, _codec_decode, incrementaldecoder=IncrementalDecoder, name=name)


codecs.register(_find_codec)

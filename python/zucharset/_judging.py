"""What the library says about a text, in Python's terms."""

from __future__ import annotations

import ctypes
import enum
import functools
import sys
import warnings
from dataclasses import dataclass
from typing import TYPE_CHECKING, Any, Iterable, Union

from . import _library as lib
from ._codec_names import CODECS
from ._errors import (
    CancelledError,
    FileName,
    NotTextError,
    RefusedError,
    UnknownEncodingError,
    UnsupportedEncodingError,
    UnsureWarning,
)

if TYPE_CHECKING:
    from _typeshed import ReadableBuffer as Buffer

    VerdictPointer = ctypes._Pointer[lib.Verdict]

Prefer = Union[str, Iterable[str], None]

# INT32_MAX stands for "nothing to compare".
_NO_MARGIN = 0x7FFFFFFF


class Kind(enum.IntEnum):
    """What a text is."""

    EMPTY = 0
    ASCII = 1
    TEXT = 2
    UNSUPPORTED = 3
    BINARY = 4


class DecidedBy(enum.IntEnum):
    """What a detection rests on."""

    NOTHING = 0
    USER = 1
    MARK = 2
    FORM = 3
    VOTE = 4
    READING = 5
    LIBRARY = 6


class Hint(enum.IntEnum):
    """What became of prefer."""

    NONE = 0
    AGREED = 1
    DECIDED = 2
    UNDEFINED = 3
    OUTWEIGHED = 4


class Loss(enum.IntEnum):
    """How text is lost in a conversion; a mended pair is damage that nothing was lost by."""

    REPLACED = 0
    DROPPED = 1
    MALFORMED = 2
    SURROGATE = 3
    MISREAD = 4
    CUT = 5
    MENDED_PAIR = 6


@dataclass(frozen=True)
class Reading:
    """One way to read a text. cost, in nats, says how much less likely it is than the first reading."""

    encoding: str
    code_type: int
    codec: str | None
    language: str | None
    cost: float


@dataclass(frozen=True)
class Detection:
    """The verdict on a text."""

    kind: Kind
    encoding: str | None  #: "Windows-1251"; None for an empty text and for no text
    code_type: int  #: the encoding's number in the library; 0 for None
    codec: str | None  #: Python's codec with the same table; None where there is none
    language: str | None  #: "ru"; None when unknown or not told apart
    sure: bool  #: False: the runner-up among the readings is worth a look
    margin: float | None  #: nats to the next reading that gives another text; None where there is none
    decided_by: DecidedBy
    hint: Hint
    what: str | None  #: what the bytes are instead of text: "an MPEG program stream"
    whole: bool  #: judged by all of the text, not by a sample
    library_code_type: int  #: libzucharset's own answer; 0 where it was not asked
    readings: tuple[Reading, ...]  #: the likeliest first

    @property
    def language_name(self) -> str | None:
        """The language in English: "Russian"."""
        return language_name(self.language)


@dataclass(frozen=True)
class Place:
    """Where something was lost."""

    offset: int
    loss: Loss
    bytes: bytes


@dataclass(frozen=True)
class Account:
    """What a conversion did and lost, exact up to where it has come."""

    input_bytes: int
    output_bytes: int
    losses: tuple[int, ...]  #: how often, by the numbers of Loss
    complete: bool  #: False: there were too many losses to count, the counts are lower bounds
    changed: bool  #: the output is not the input byte for byte
    text_lost: bool
    wrong_byte_order: bool  #: the text starts with the mark of the other byte order
    places: tuple[Place, ...]  #: the first ones of each kind, by offset

    @property
    def first_loss(self) -> Place | None:
        """The first place where something was lost."""
        return next((place for place in self.places if place.loss is not Loss.MENDED_PAIR), None)


# ---- Names ----


def _text(value: bytes | None) -> str | None:
    return None if value is None else value.decode()


def language_name(code: str | None) -> str | None:
    return None if code is None else _text(lib.language_name(code.encode()))


@functools.lru_cache(maxsize=None)
def encoding_facts(number: int) -> Any:
    """The library's lib.Encoding with this number."""
    return lib.encoding_of(number).contents


def encoding_name(number: int) -> str | None:
    return _text(encoding_facts(number).name) if number else None


def codec_name(number: int) -> str | None:
    """Python's codec with the same table as an encoding of the library."""
    return CODECS.get(encoding_name(number) or "")


def find_encoding(name: str) -> tuple[int, int]:
    """The number of an encoding by any of its names, and the options' flags that the name implies."""
    raw = name.encode("utf-8", "replace")
    mark_open = ctypes.c_int32(0)
    found = lib.find_encoding(raw, len(raw), ctypes.byref(mark_open))
    if not found:
        raise UnknownEncodingError(f"unknown encoding {name!r}", remedy=_near_names(raw, False))
    return int(found.contents.id), lib.MARK_OPEN if mark_open.value else 0


def _near_names(name: bytes, languages: bool) -> str:
    near = ctypes.create_string_buffer(200)
    lib.near_names(name, len(name), languages, near, len(near))
    if near.value:
        return f"did you mean {near.value.decode('utf-8', 'replace')}?"
    return "zucharset.encodings() lists what there is"


@dataclass(frozen=True)
class EncodingInfo:
    """An encoding that the library knows."""

    name: str
    code_type: int
    codec: str | None
    aliases: tuple[str, ...]
    description: str
    convertible: bool
    caveat: str | None


def encodings() -> tuple[EncodingInfo, ...]:
    """All encodings that the library knows, by name or by sight."""
    count = ctypes.c_size_t()
    first = lib.encodings(ctypes.byref(count))
    return tuple(
        EncodingInfo(
            name=entry.name.decode(),
            code_type=entry.id,
            codec=codec_name(entry.id),
            aliases=tuple(entry.aliases.decode().split()),
            description=entry.description.decode(),
            convertible=bool(entry.traits & lib.CONVERTIBLE),
            caveat=_text(entry.caveat),
        )
        for entry in first[: count.value]
    )


# ---- Options and results ----


def options_for(encoding: Union[str, int, None], prefer: Prefer, sample: int = 0, flags: int = 0) -> lib.Options:
    """The options of a call. An encoding by number is one that the library named itself."""
    number = 0
    if isinstance(encoding, int):
        number = encoding
    elif encoding is not None:
        number, mark = find_encoding(encoding)
        flags |= mark
    if prefer is not None and not isinstance(prefer, str):
        prefer = ",".join(prefer)
    if not 0 <= sample < 1 << 32:
        raise ValueError(f"a sample of {sample} bytes: there are 1 to {(1 << 32) - 1}, and 0 for the usual size")
    return lib.Options(number, flags, sample, prefer.encode() if prefer else None)


def check(result: int, options: lib.Options, verdict: VerdictPointer | None = None) -> None:
    """Raises what a result means."""
    if result != lib.OK:
        raise _error(result, options, verdict)


def _error(result: int, options: lib.Options, verdict: VerdictPointer | None) -> Exception:
    if result == lib.ERROR_MEMORY:
        return MemoryError("memory is short for reading the text")
    if result == lib.ERROR_NOT_TEXT:
        what = _text(verdict.contents.what) if verdict else None
        return NotTextError(
            f"this is no text but {what or 'binary data'}", remedy="encoding='...' reads it all the same"
        )
    if result == lib.ERROR_UNSUPPORTED:
        return _unsupported(verdict.contents.encoding if verdict else options.from_)
    if result == lib.ERROR_NAME:
        return _unknown_preference(options.prefer)
    problem = lib.error_text(result).decode()
    if result == lib.ERROR_CANCELLED:
        return CancelledError(problem)
    if result == lib.ERROR_REFUSED:
        return RefusedError(problem, remedy="VEMORA_LOG=6 in the environment shows why")
    # A wrong argument is this package's own mistake, but for an encoding that is only known by name.
    if options.from_ and not encoding_facts(options.from_).traits & lib.CONVERTIBLE:
        return _unsupported(options.from_)
    return RuntimeError(problem)


def _unsupported(number: int) -> UnsupportedEncodingError:
    name = encoding_name(number) or ""
    codec = codec_name(number)
    iconv_name = _text(encoding_facts(number).iconv_name)
    remedies = [f"Python's codec {codec!r} reads it"] if codec else []
    if iconv_name:
        remedies.append(f"iconv -f {iconv_name} -t UTF-8 converts it")
    return UnsupportedEncodingError(
        f"text in {name}, which zucharset does not convert", name, codec, remedy=", ".join(remedies)
    )


def _unknown_preference(prefer: bytes) -> UnknownEncodingError:
    for name in filter(None, prefer.split(b",")):
        found = lib.find_encoding(name, len(name), None)
        if not found and lib.language_name(name) is None:
            return UnknownEncodingError(
                f"prefer: {name.decode()!r} is neither an encoding nor a language", remedy=_near_names(name, True)
            )
    return UnknownEncodingError(f"prefer: {prefer.decode()!r} holds an unknown name")


def detection_from(verdict: lib.Verdict) -> Detection:
    readings: list[Reading] = [
        Reading(
            encoding=encoding_name(reading.encoding) or "",
            code_type=reading.encoding,
            codec=codec_name(reading.encoding),
            language=_text(reading.language),
            cost=reading.cost / 100,
        )
        for reading in verdict.readings[: verdict.reading_count]
    ]
    return Detection(
        kind=Kind(verdict.kind),
        encoding=encoding_name(verdict.encoding),
        code_type=verdict.encoding,
        codec=codec_name(verdict.encoding),
        language=_text(verdict.language),
        sure=bool(verdict.sure),
        margin=None if verdict.margin == _NO_MARGIN else verdict.margin / 100,
        decided_by=DecidedBy(verdict.decided_by),
        hint=Hint(verdict.hint),
        what=_text(verdict.what),
        whole=bool(verdict.whole),
        library_code_type=verdict.library_code_type,
        readings=tuple(readings),
    )


def account_from(account: lib.Account) -> Account:
    return Account(
        input_bytes=account.input_bytes,
        output_bytes=account.output_bytes,
        losses=tuple(account.losses),
        complete=bool(account.complete),
        changed=bool(account.changed),
        text_lost=bool(account.text_lost),
        wrong_byte_order=bool(account.wrong_byte_order),
        places=tuple(
            Place(place.offset, Loss(place.kind), bytes(place.bytes[: place.length]))
            for place in account.places[: account.place_count]
        ),
    )


def detect(data: Buffer, *, prefer: Prefer = None, sample: int = 0, plain: bool = False) -> Detection:
    """Tells the encoding of a text.

    data is any buffer of bytes and is not copied. prefer names encodings and languages that are likelier than others,
    as "ru,windows-1251" or a list: a hint, not a veto. sample bounds the bytes to judge by, 1 MiB unless given. plain
    asks for libzucharset's own answer instead of a reading.
    """
    options = options_for(None, prefer, sample, lib.PLAIN if plain else 0)
    verdict = lib.Verdict()
    with lib.Borrowed(data) as view:
        result = lib.detect(view.buf, view.len, ctypes.byref(options), ctypes.byref(verdict))
    check(result, options)
    return detection_from(verdict)


def warn_if_unsure(detection: Detection, file: FileName | None = None) -> None:
    """Warns the caller of this package of a text that is read as something it may not be."""
    if detection.sure or detection.kind is not Kind.TEXT:
        return
    level, frame = 1, sys._getframe()
    while frame.f_back and frame.f_globals.get("__package__") == __package__:
        level, frame = level + 1, frame.f_back
    where = "" if file is None else f"{file!r}: "
    others = [reading.encoding for reading in detection.readings[1:2]]
    rival = f", but {others[0]} fits nearly as well" if others else ", which may be wrong"
    remedy = f"; encoding={others[0].lower()!r} reads it so" if others else ""
    warnings.warn(f"{where}read as {detection.encoding}{rival}{remedy}", UnsureWarning, stacklevel=level)

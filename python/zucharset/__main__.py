"""python3 -m zucharset: the detect and convert of the zucharset command, for those who have only this package."""

from __future__ import annotations

import argparse
import io
import json
import os
import signal
import sys
import tempfile
from collections.abc import Iterator
from contextlib import suppress
from dataclasses import dataclass
from importlib import metadata
from pathlib import Path
from typing import Any, BinaryIO, NoReturn, cast

from . import _library
from ._errors import Error, NotTextError, RefusedError, UnknownEncodingError, UnsupportedEncodingError
from ._judging import Account, Detection, Kind, Loss
from ._streams import Converter, Detector

OK, TEXT_LOST, USAGE, INPUT, OUTPUT, REFUSED, INTERNAL = range(7)

_PIECE = 65536
_EXTENSIONS = "srt,ass,ssa,sub,smi,vtt,txt,lrc,nfo"

_EXIT_CODES = """Exit codes; with several files the highest one counts: 0 all right, 1 converted, but text was lost,
2 wrong usage, 3 an input cannot be read, 4 an output cannot be written or exists already, 5 no text, an encoding that
is not converted, or a refusal of the library, 6 another failure."""


class _Failure(Exception):
    """A problem with one file, told in full."""

    def __init__(self, exit_code: int, message: str) -> None:
        super().__init__(message)
        self.exit_code = exit_code


def _printable(name: str) -> str:
    """A file name without what a terminal would obey."""
    raw = name.encode("utf-8", "surrogateescape").decode("utf-8", "backslashreplace")
    return "".join(c if c.isprintable() else "".join(f"\\x{byte:02X}" for byte in c.encode()) for c in raw)


def _say(message: str) -> None:
    print(f"zucharset: {message}", file=sys.stderr)


def _reason(error: OSError) -> str:
    return os.strerror(error.errno) if error.errno else str(error)


def _exit_code_of(error: Exception) -> int:
    if isinstance(error, UnknownEncodingError):
        return USAGE
    return REFUSED if isinstance(error, (NotTextError, UnsupportedEncodingError, RefusedError)) else INTERNAL


# ---- Files in and out ----


def _pieces(name: str) -> Iterator[bytes]:
    try:
        with sys.stdin.buffer if name == "-" else open(name, "rb") as file:
            while piece := file.read(_PIECE):
                yield piece
    except OSError as error:
        raise _Failure(INPUT, f"{_printable(name)}: cannot read: {_reason(error)}") from error


def _listed(arguments: argparse.Namespace) -> tuple[list[str], list[str]]:
    """The files to work on, and what is wrong with those that cannot be."""
    files: list[str] = []
    problems: list[str] = []
    extensions = tuple("." + one.strip().lstrip("*.").lower() for one in arguments.ext.split(","))

    def walk(folder: str) -> None:
        found = len(files)
        for path, folders, names in os.walk(folder, onerror=complain):
            folders.sort()
            files.extend(os.path.join(path, name) for name in sorted(names) if name.lower().endswith(extensions))
        if len(files) == found:
            problems.append(f"{_printable(folder)}: no file in it ends in one of: {arguments.ext}; see --ext")

    def complain(error: OSError) -> None:
        problems.append(f"{_printable(str(error.filename))}: cannot read: {_reason(error)}")

    for name in arguments.files:
        if name == "-" or not os.path.isdir(name):
            files.append(name)
        elif arguments.recursive:
            walk(name)
        else:
            problems.append(f"{_printable(name)} is a folder; -r takes the files in it")
    return files, problems


class _Output:
    """Where the UTF-8 of a file goes. A file gets its name when all of it is there; standard output gets the pieces."""

    def __init__(self, name: str, arguments: argparse.Namespace) -> None:
        self._name = name
        self._in_place: bool = arguments.in_place
        self._backup_suffix: str = arguments.backup_suffix
        self._temporary: str | None = None
        self._held: list[bytes] | None = []
        self.backup: str | None = None
        if name == "-":
            self._file: BinaryIO = sys.stdout.buffer
            return
        if os.path.lexists(name) and not (arguments.force or arguments.in_place):
            raise _Failure(OUTPUT, f"{_printable(name)} exists already; --force replaces it")
        try:
            Path(name).parent.mkdir(parents=True, exist_ok=True)
            descriptor, self._temporary = tempfile.mkstemp(prefix=".zucharset-", dir=os.path.dirname(name) or ".")
            self._file = os.fdopen(descriptor, "wb")
        except OSError as error:
            raise self._failure(error) from error

    def _failure(self, error: OSError) -> _Failure:
        return _Failure(OUTPUT, f"{_printable(self._name)}: cannot write: {_reason(error)}")

    def write(self, data: bytes, hold: bool) -> None:
        """hold: it is still open whether anything is to be written at all."""
        if self._held is not None:
            self._held.append(data)
            if hold:
                return
            data, self._held = b"".join(self._held), None
        try:
            self._file.write(data)
        except OSError as error:
            raise self._failure(error) from error

    def finish(self) -> None:
        self.write(b"", False)
        try:
            self._file.flush()
            if self._temporary is None:
                return
            mask = os.umask(0)
            os.umask(mask)
            mode = os.stat(self._name).st_mode & 0o7777 if self._in_place else 0o666 & ~mask
            os.fchmod(self._file.fileno(), mode)
            os.fsync(self._file.fileno())
            if self._in_place:
                self.backup = self._keep_original()
            os.replace(self._temporary, self._name)
            self._temporary = None
            folder = os.open(os.path.dirname(self._name) or ".", os.O_RDONLY)
            os.fsync(folder)
            os.close(folder)
        except OSError as error:
            raise self._failure(error) from error

    def _keep_original(self) -> str:
        """Gives the original a second name, one that nothing has."""
        number = 0
        while True:
            backup = self._name + self._backup_suffix + (f".{number}" if number else "")
            try:
                os.link(self._name, backup)
                return backup
            except FileExistsError:
                number += 1

    def close(self) -> None:
        if self._name == "-":
            return
        if not self._file.closed:
            with suppress(OSError):
                self._file.close()
        if self._temporary is not None:
            with suppress(OSError):
                os.unlink(self._temporary)


# ---- detect ----


def _remark(detection: Detection) -> str:
    """What a person should know about a verdict beyond the name."""
    if detection.kind is Kind.EMPTY:
        return "empty"
    if detection.kind is Kind.BINARY:
        return f"no text but {detection.what or 'binary data'}"
    parts = []
    if detection.kind is Kind.ASCII:
        parts.append("plain ASCII")
    if detection.kind is Kind.UNSUPPORTED:
        parts.append("not converted by zucharset")
    if detection.language_name:
        parts.append(detection.language_name)
    if detection.kind is Kind.TEXT and not detection.sure:
        rivals = [reading.encoding for reading in detection.readings[1:2]]
        parts.append("unsure" + (f", else {rivals[0]}" if rivals else ""))
    return "; ".join(parts)


def _as_json(detection: Detection) -> dict[str, Any]:
    return {
        "kind": detection.kind.name.lower(),
        "codeType": detection.code_type,
        "encoding": detection.encoding,
        "codec": detection.codec,
        "language": detection.language,
        "sure": detection.sure,
        "margin": detection.margin,
        "decidedBy": detection.decided_by.name.lower(),
        "what": detection.what,
        "libraryCodeType": detection.library_code_type,
        "readings": [
            {"encoding": one.encoding, "codeType": one.code_type, "language": one.language, "cost": one.cost}
            for one in detection.readings
        ],
    }


def _detect_file(name: str, arguments: argparse.Namespace) -> Detection:
    with Detector(prefer=arguments.prefer, sample=arguments.sample, plain=arguments.plain) as detector:
        for piece in _pieces(name):
            if detector.feed(piece):
                break
        return detector.result()


def _detect(arguments: argparse.Namespace) -> int:
    files, problems = _listed(arguments)
    exit_code = INPUT if problems else OK
    answers: list[dict[str, Any]] = []
    for name in files:
        try:
            detection = _detect_file(name, arguments)
        except (Error, _Failure, MemoryError) as error:
            code, message = _told(name, error)
            exit_code = max(exit_code, code)
            answers.append({"file": _printable(name), "exitCode": code, "error": message})
            if not arguments.json:
                _say(message)
            continue
        if arguments.json:
            answers.append({"file": _printable(name), "exitCode": OK, **_as_json(detection)})
            continue
        remark = _remark(detection)
        number = detection.code_type or "-"
        print(f"{number:>3}  {detection.encoding or '-':<13} {_printable(name)}" + (f"  ({remark})" if remark else ""))
    if arguments.json:
        print(json.dumps({"files": answers, "problems": problems, "exitCode": exit_code}, ensure_ascii=False))
    else:
        for problem in problems:
            _say(problem)
    return exit_code


def _told(name: str, error: Exception) -> tuple[int, str]:
    if isinstance(error, _Failure):
        return error.exit_code, str(error)
    return _exit_code_of(error), f"{_printable(name)}: {error}"


# ---- convert ----

_LOSSES = {
    Loss.REPLACED: "characters became U+FFFD",
    Loss.DROPPED: "undefined bytes were left out",
    Loss.MALFORMED: "sequences are not well-formed UTF-8",
    Loss.SURROGATE: "surrogate halves are without a partner",
    Loss.MISREAD: "codes of GB18030 were misread; use a converter for GB18030",
    Loss.CUT: "character is cut off by the end of the file",
    Loss.MENDED_PAIR: "surrogate pairs became the characters meant",
}


@dataclass
class _Converted:
    detection: Detection
    account: Account
    output: str
    backup: str | None
    written: bool


def _output_name(name: str, arguments: argparse.Namespace) -> str:
    if arguments.in_place:
        return os.path.realpath(name)
    if arguments.out_dir:
        return os.path.join(str(arguments.out_dir), os.path.basename(name))
    if arguments.suffix:
        stem, extension = os.path.splitext(name)
        return f"{stem}{arguments.suffix}{extension}"
    return str(arguments.output)


def _convert_file(name: str, arguments: argparse.Namespace, outputs: set[str]) -> _Converted:
    output_name = _output_name(name, arguments)
    if output_name != "-":
        if os.path.realpath(output_name) in outputs:
            raise _Failure(OUTPUT, f"{_printable(output_name)} is the output of another file already")
        outputs.add(os.path.realpath(output_name))
    with Converter(
        encoding=arguments.encoding,
        prefer=arguments.prefer,
        sample=arguments.sample,
        plain=arguments.plain,
        add_mark=arguments.to_utf8_bom,
        strip_mark=arguments.strip_bom,
    ) as converter:
        pieces = _pieces(name)
        first = next(pieces, b"")
        output = _Output(output_name, arguments)
        try:
            data = converter.feed(first)
            output.write(data, arguments.strict or converter.detection is None)
            for piece in pieces:
                output.write(converter.feed(piece), arguments.strict or converter.detection is None)
            output.write(converter.finish(), arguments.strict)
            account, detection = converter.account, converter.detection
            assert detection is not None
            as_it_is = arguments.in_place and not account.changed
            written = not as_it_is and not (arguments.strict and account.text_lost)
            if written:
                output.finish()
            return _Converted(detection, account, output_name, output.backup, written)
        finally:
            output.close()


def _report(name: str, converted: _Converted, arguments: argparse.Namespace) -> None:
    file, detection, account = _printable(name), converted.detection, converted.account
    for loss, count in zip(Loss, account.losses):
        if count:
            places = ", ".join(
                f"{place.offset} ({place.bytes.hex(' ').upper()})" for place in account.places if place.loss is loss
            )
            _say(f"{file}: {'' if account.complete else 'at least '}{count} {_LOSSES[loss]}: offset {places}")
    if account.text_lost and not arguments.encoding:
        _say(f"{file}: if {detection.encoding} is wrong, name the encoding with --from")
    if account.wrong_byte_order:
        other = "utf-16le" if detection.encoding == "UTF-16BE" else "utf-16be"
        _say(f"{file}: the byte order mark belongs to the other byte order; try --from {other}")
    if detection.kind is Kind.TEXT and not detection.sure:
        rivals = [reading.encoding for reading in detection.readings[1:2]]
        _say(f"{file}: not sure of {detection.encoding}" + (f"; else --from {rivals[0].lower()}" if rivals else ""))
    if account.text_lost and arguments.strict:
        _say(f"{file}: not written, because of --strict")
    if arguments.quiet or converted.output == "-":
        return
    line = f"{file}: {detection.encoding or 'empty'}"
    if converted.written:
        line += f" -> {_printable(converted.output)}"
        line += f", original kept as {_printable(converted.backup)}" if converted.backup else ""
    else:
        line += ", not written" if account.changed else ", left as it is"
    print(line)


def _convert(arguments: argparse.Namespace) -> int:
    per_file = arguments.in_place or arguments.out_dir or arguments.suffix
    if not per_file and not arguments.output:
        arguments.output = "-"
    if not per_file and (len(arguments.files) > 1 or arguments.recursive):
        _usage_error("several files need --in-place, --out-dir or --suffix")
    if per_file and "-" in arguments.files:
        _usage_error("standard input has no name; use -o for its output")
    if "/" in (arguments.suffix or "") or "/" in arguments.backup_suffix or not arguments.backup_suffix:
        _usage_error("a suffix is part of a file name: not empty and without '/'")
    files, problems = _listed(arguments)
    exit_code = INPUT if problems else OK
    outputs: set[str] = set()
    for name in files:
        try:
            converted = _convert_file(name, arguments, outputs)
        except (Error, _Failure, MemoryError) as error:
            code, message = _told(name, error)
            _say(message)
            exit_code = max(exit_code, code)
            continue
        _report(name, converted, arguments)
        exit_code = max(exit_code, TEXT_LOST if converted.account.text_lost else OK)
    for problem in problems:
        _say(problem)
    return exit_code


# ---- The command line ----


def _usage_error(message: str) -> NoReturn:
    _say(f"{message}; --help tells more")
    sys.exit(USAGE)


def _size(text: str) -> int:
    units = {"k": 1 << 10, "m": 1 << 20, "g": 1 << 30}
    unit = units.get(text[-1:].lower(), 0)
    size = int(text[:-1] if unit else text) * (unit or 1)
    if not 0 < size < 1 << 32:
        raise ValueError
    return size


def _version() -> str:
    try:
        version = metadata.version("zucharset")
    except metadata.PackageNotFoundError:
        version = "unknown"
    return f"zucharset {version}, {_library.location}"


def _parser() -> argparse.ArgumentParser:
    parser = argparse.ArgumentParser(
        prog="python3 -m zucharset",
        description="Finds the encoding of subtitle and text files and converts them to UTF-8.",
        epilog=_EXIT_CODES,
    )
    parser.add_argument("--version", action="version", version=_version())
    commands = parser.add_subparsers(dest="command", required=True)
    common = argparse.ArgumentParser(add_help=False)
    common.add_argument("files", nargs="*", metavar="FILE", help="files; - is standard input")
    common.add_argument("-r", "--recursive", action="store_true", help="take the files in folders")
    common.add_argument("--ext", default=_EXTENSIONS, help="in folders, only files that end so (default: %(default)s)")
    common.add_argument("--prefer", metavar="NAME[,NAME...]", help="encodings and languages that are likelier: a hint")
    common.add_argument("--sample", type=_size, default=0, help="judge by this much; 64K and 2M work too (1M)")
    common.add_argument("--plain", action="store_true", help="the library's own answer instead of a reading")

    detect = commands.add_parser("detect", parents=[common], help="name the encoding of files", epilog=_EXIT_CODES)
    detect.add_argument("--json", action="store_true", help="answer with one JSON document")
    detect.set_defaults(run=_detect)

    convert = commands.add_parser("convert", parents=[common], help="convert files to UTF-8", epilog=_EXIT_CODES)
    convert.add_argument("-f", "--from", "--from-code", dest="encoding", metavar="NAME", help="the files' encoding")
    where = convert.add_mutually_exclusive_group()
    where.add_argument("-o", "--output", metavar="FILE", help="write here; - is standard output")
    where.add_argument("--in-place", action="store_true", help="replace the files and keep the originals")
    where.add_argument("--out-dir", metavar="DIR", help="write into this folder, under the same names")
    where.add_argument("--suffix", help="write movie.srt as movieSUFFIX.srt")
    convert.add_argument("--backup-suffix", default=".orig", metavar="SUFFIX", help="names the kept original (.orig)")
    convert.add_argument("--force", action="store_true", help="replace outputs that exist already")
    mark = convert.add_mutually_exclusive_group()
    mark.add_argument("--to-utf8-bom", action="store_true", help="start the output with a byte order mark")
    mark.add_argument("--strip-bom", action="store_true", help="leave out a byte order mark")
    convert.add_argument("--strict", action="store_true", help="write no file whose text would lose anything")
    convert.add_argument("-q", "--quiet", action="store_true", help="print only errors and lost text")
    convert.set_defaults(run=_convert)
    return parser


def main() -> int:
    # A reader that went away ends this program as it would any other.
    signal.signal(signal.SIGPIPE, signal.SIG_DFL)
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    cast(io.TextIOWrapper, sys.stdout).reconfigure(errors="surrogateescape")
    arguments = _parser().parse_args()
    if not arguments.files:
        if sys.stdin.isatty():
            _usage_error("no file given")
        arguments.files = ["-"]
    try:
        code: int = arguments.run(arguments)
        sys.stdout.flush()
    except OSError as error:
        _say(f"standard output: cannot write: {_reason(error)}")
        # What is still in the buffer would fail once more at the end, and with an exit code of the interpreter's own.
        os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())
        return OUTPUT
    except KeyboardInterrupt:
        return 130
    return code


if __name__ == "__main__":
    sys.exit(main())

#!/usr/bin/env python3
"""Measures how often libzutext reads text of unknown encoding right.

The texts come from Debian packages in many languages, none of them a source of the language
data: manual pages, fortunes, and the translated messages of programs. Packages are downloaded
with apt-get and unpacked in a cache folder; nothing is installed and no text is kept elsewhere.
Pieces of 200 bytes, 1 KB and 8 KB, as they are, made up as subtitles and mixed with English, are
put into every usual encoding of their language and converted back. A piece is right when its
text comes back, whatever the encoding is called; ş and ș count as one letter, as do ţ and ț.
"""

import argparse
import ctypes
import gettext
import gzip
import html
import random
import re
import subprocess
import sys
import unicodedata
import zipfile
from collections import Counter
from pathlib import Path
from typing import Callable, Iterator, NamedTuple, Optional

import languages

ROOT = Path(__file__).resolve().parent.parent
SIZES = (200, 1024, 8192)
FORMS = ("plain", "plain", "subtitle", "mixed")
SERBIAN_LATIN = "sr-Latn"

MANUALS = "cs da de el es fi fr hu id it mk nb nl pl pt-br ro ru sr sv uk vi tr zh ja".split()
FORTUNES = "bg br cs de eo es ga it pl ru zh".split()
BROWSERS = ("ar be bg bs ca cs cy da de el en-gb eo es-es et eu fa fi fr ga-ie gl he hr hu id is it ja ko "
            "lt lv mk ms nb-no nl pl pt-br pt-pt ro ru sk sl sq sr sv-se th tr uk vi zh-cn zh-tw").split()
CATALOGUES = ["krita-l10n", "kdevelop-l10n", "gnupg-l10n"]

# Names of languages in the packages, where they are not those of the tables.
CODES = {
    "nb": "no", "nb-no": "no", "sr": "sr-Cyrl", "sr@latin": SERBIAN_LATIN, "pt-br": "pt", "br": "pt",
    "pt-pt": "pt", "es-es": "es", "sv-se": "sv", "ga-ie": "ga", "en-gb": "en", "zh-cn": "zh",
    "zh-tw": "zh-Hant",
}
WIDE = {"zh": {"gbk": 20}, "zh-Hant": {"big5": 1}, "ko": {"cp949": 33},
        "ja": {"shift_jis": 100, "euc_jp": 101}}
# Manual pages that list characters or bytes instead of text.
CHARACTER_LISTS = re.compile(r"8859|koi8|charsets|cp125|utf-?8|armscii|unicode|locale|console")

# What people type where an encoding lacks a character.
SUBSTITUTES = str.maketrans({
    "“": '"', "”": '"', "„": '"', "«": '"', "»": '"', "’": "'", "‘": "'", "‚": "'", "´": "'",
    "‹": "'", "›": "'", "–": "-", "—": "-", "−": "-", "‐": "-", "\u2011": "-", "…": "...",
    "•": "*", "€": "EUR", "→": ">", "\u00a0": " ", "\u202f": " ", "\u2009": " ", "\u200b": None,
    "\u200c": None, "\u200e": None, "\u200f": None, "\u2068": None, "\u2069": None, "\ufeff": None,
    "״": '"', "׳": "'",
})
CEDILLAS = str.maketrans("șțȘȚ", "şţŞŢ")
COMMAS = str.maketrans("şţŞŢ", "șțȘȚ")
PERSIAN = str.maketrans("یى۰۱۲۳۴۵۶۷۸۹", "يي0123456789")
CYRILLIC = "абвгдђежзијклљмнњопрстћуфхцчџш"
LATIN = "a b v g d đ e ž z i j k l lj m n nj o p r s t ć u f h c č dž š".split()

Texts = dict[tuple[str, str], str]


# --- Texts ---

def download(packages: list[str], cache: Path) -> None:
    folder = cache / "packages"
    folder.mkdir(parents=True, exist_ok=True)
    missing = [name for name in packages if not (cache / "unpacked" / name).is_dir()]
    if not missing:
        return
    print(f"Downloading {len(missing)} packages to {folder}", file=sys.stderr)
    subprocess.run(["apt-get", "-qq", "download", *missing], cwd=folder, check=True)
    for archive in sorted(folder.glob("*.deb")):
        target = cache / "unpacked" / archive.name.split("_")[0]
        if not target.is_dir():
            subprocess.run(["dpkg-deb", "-x", archive, target], check=True)


def language_of(name: str) -> Optional[str]:
    name = name.replace("_", "-").lower()
    code = CODES.get(name, name)
    known = code in WIDE or any(code == language.code for language in languages.LANGUAGES)
    return code if known else None


def plain_manual(page: str) -> str:
    """The running text of a manual page."""
    lines = []
    for line in page.split("\n"):
        macro = re.match(r"\.(\w+)\s*(.*)", line)
        if line.startswith(("'", '.\\"')) or (macro and macro[1] in ("TH", "de", "so", "if", "ie", "el")):
            continue
        line = macro[2].replace('"', "") if macro else line
        line = re.sub(r"\\f(\[\w*\]|\(..|.)|\\s[-+]?\d|\\\((..)|\\\[[^]]*\]|\\[&,/|^%:]", "", line)
        line = line.replace("\\-", "-").replace("\\~", "\u00a0")
        lines.append(re.sub(r"\\.", " ", line))
    return "\n".join(line for line in lines if line.strip())


def manuals(folder: Path) -> Iterator[tuple[str, str]]:
    for path in sorted(folder.glob("manpages-*/usr/share/man/*/man*/*.gz")):
        if not path.is_symlink() and not CHARACTER_LISTS.search(path.name):
            text = plain_manual(gzip.decompress(path.read_bytes()).decode("utf-8", "replace"))
            if "\ufffd" not in text:
                yield path.parent.parent.name.split(".")[0], text


def fortunes(folder: Path) -> Iterator[tuple[str, str]]:
    for path in sorted(folder.glob("fortunes-*/usr/share/games/fortunes/**/*")):
        # The offensive ones are written in rot13.
        if path.suffix or path.is_symlink() or not path.is_file() or "off" in path.parts:
            continue
        try:
            yield path.relative_to(folder).parts[0][9:], path.read_text("utf-8").replace("\n%\n", "\n")
        except UnicodeDecodeError:
            continue


def browser_messages(folder: Path) -> Iterator[tuple[str, str]]:
    for path in sorted(folder.glob("firefox-esr-l10n-*/**/*.xpi")):
        code = path.relative_to(folder).parts[0][17:]
        with zipfile.ZipFile(path) as archive:
            for name in sorted(archive.namelist()):
                if not name.endswith((".ftl", ".properties")):
                    continue
                lines = []
                for line in archive.read(name).decode("utf-8", "replace").split("\n"):
                    value = re.match(r"\s*\.?[\w.\-]+\s*=\s*(.*)", line)
                    line = value[1] if value else line.strip()
                    lines.append(re.sub(r"\{[^}]*\}|%\S*|<[^>]*>|\\n", "", line).strip())
                yield code, "\n".join(line for line in lines if len(line) > 25 and line[0] != "#")


def program_messages(folder: Path) -> Iterator[tuple[str, str]]:
    for path in sorted(folder.glob("*/usr/share/locale/*/LC_MESSAGES/*.mo")):
        with path.open("rb") as file:
            catalogue = vars(gettext.GNUTranslations(file))["_catalog"]
        lines = []
        for key, value in catalogue.items():
            if key and isinstance(value, str) and value != key and len(value) > 30:
                lines.append(re.sub(r"%\S*|<[^>]*>|[_&~](?=\w)", "", html.unescape(value)))
        yield path.parent.parent.name, "\n".join(lines)


SOURCES: dict[str, Callable[[Path], Iterator[tuple[str, str]]]] = {
    "manuals": manuals, "fortunes": fortunes, "browser": browser_messages,
    "programs": program_messages,
}


def collect(folder: Path) -> Texts:
    parts: dict[tuple[str, str], list[str]] = {}
    for source, find in SOURCES.items():
        for name, text in find(folder):
            code = language_of(name)
            if code:
                parts.setdefault((code, source), []).append(text)
    letters = dict(zip(CYRILLIC, LATIN))
    letters.update({small.upper(): latin.capitalize() for small, latin in list(letters.items())})
    for code, source in list(parts):
        if code == "sr-Cyrl":
            latin = "\n".join(parts[code, source]).translate(str.maketrans(letters))
            parts.setdefault((SERBIAN_LATIN, source), []).append(latin)
    texts = {key: "\n".join(part) for key, part in sorted(parts.items())}
    return {key: text for key, text in texts.items() if len(text) > 20000}


# --- Pieces ---

class Piece(NamedTuple):
    language: str
    source: str
    size: int
    form: str
    codec: str
    number: int
    text: str
    content: bytes


def encoded(text: str, language: str, codec: str) -> bytes:
    """The text in an encoding, without what it lacks."""
    if language == "ro":
        text = text.translate(COMMAS if codec == "iso8859_16" else CEDILLAS)
    if language == "fa":
        text = text.translate(PERSIAN)
    content = bytearray()
    for character in unicodedata.normalize("NFC", text):
        for form in (character, character.translate(SUBSTITUTES), *two_parts(character)):
            try:
                content += form.encode(codec)
                break
            except UnicodeEncodeError:
                continue
    return bytes(content)


def two_parts(character: str) -> Iterator[str]:
    """A Vietnamese vowel with its tone mark apart."""
    parts = unicodedata.normalize("NFD", character)
    for mark in "\u0300\u0301\u0303\u0309\u0323":
        if mark in parts[1:]:
            yield unicodedata.normalize("NFC", parts.replace(mark, "")) + mark


def subtitle(text: str, rng: random.Random) -> str:
    words = text.split()
    blocks: list[str] = []
    second = rng.randrange(4000)
    while words:
        lines = []
        for _ in range(rng.randint(1, 2)):
            length = rng.randint(3, 8)
            lines.append(" ".join(words[:length]))
            words = words[length:]
        block = "\r\n".join(rng.choice(("", "", "", "- ")) + line for line in lines if line)
        block = rng.choice(("{}",) * 7 + ("<i>{}</i>", r"{{\an8}}{}")).format(block)
        times = [f"{at // 3600:02}:{at // 60 % 60:02}:{at % 60:02},{rng.randrange(1000):03}"
                 for at in (second, second + 2)]
        blocks.append(f"{len(blocks) + 1}\r\n{times[0]} --> {times[1]}\r\n{block}\r\n")
        second += rng.randint(3, 8)
    return "\r\n".join(blocks)


def mixed(text: str, english: list[str], rng: random.Random) -> str:
    lines = []
    for line in re.findall(r"\S.{10,70}?(?:\s|$)", text):
        lines.append(line)
        if rng.random() < 0.6:
            lines.append(rng.choice(english)[:70])
    return "\n".join(lines)


def encodings_of(code: str) -> dict[str, int]:
    """The usual encodings of a language, by codec."""
    if code in WIDE:
        return WIDE[code]
    language = next(row for row in languages.LANGUAGES if row.code == code)
    return {row.codec: row.number for row in languages.ENCODINGS
            if row.family in language.homes and languages.fits(language, row)}


def pieces(texts: Texts, count: int, rng: random.Random) -> Iterator[Piece]:
    english = [line for line in texts["en", "browser"].split("\n") if line.isascii()]
    for (language, source), text in texts.items():
        for size in SIZES:
            for number in range(count):
                start = text.find("\n" if rng.random() < 0.5 else " ", rng.randrange(len(text) - size)) + 1
                piece = text[start:start + size + 20]
                form = FORMS[number % len(FORMS)]
                if form == "subtitle":
                    piece = subtitle(piece, rng)
                elif form == "mixed":
                    piece = mixed(piece, english, rng)
                for codec, encoding in encodings_of(language).items():
                    content = encoded(piece, language, codec)[:size]
                    if language in WIDE:  # not to end within a character
                        content = content.decode(codec, "ignore").encode(codec)
                    if len(content) >= 0.8 * size and not content.isascii():
                        yield Piece(language, source, size, form, codec, encoding,
                                    content.decode(codec), content)


# --- libzutext ---

class Verdict(ctypes.Structure):
    """The start of zutext_verdict."""
    _fields_ = [(name, ctypes.c_int32) for name in ("kind", "encoding", "decided_by", "sure", "margin")]


class Text(ctypes.Structure):
    """zutext_text, with more room than the rest of it takes."""
    _fields_ = [("bytes", ctypes.c_void_p), ("length", ctypes.c_size_t), ("verdict", Verdict),
                ("rest", ctypes.c_uint8 * 4096)]


class Answer(NamedTuple):
    text: str
    encoding: int
    sure: bool
    margin: int


def ask(library: ctypes.CDLL, content: bytes) -> Answer:
    result = Text()
    library.zutext_convert(content, ctypes.c_size_t(len(content)), None, ctypes.byref(result))
    text = ctypes.string_at(result.bytes, result.length).decode("utf-8", "replace") if result.bytes else ""
    library.zutext_release(ctypes.byref(result))
    verdict = result.verdict
    return Answer(text, verdict.encoding, bool(verdict.sure), verdict.margin)


def is_right(piece: Piece, answer: Answer) -> bool:
    text = answer.text
    if answer.encoding >= 100:  # what is only named is right if that encoding gives the text
        codecs = {row.number: row.codec for row in languages.ENCODINGS} | {100: "shift_jis", 101: "euc_jp"}
        text = piece.content.decode(codecs.get(answer.encoding, "ascii"), "replace")
    return text.translate(CEDILLAS) == piece.text.translate(CEDILLAS)


# --- Tables ---

def share(right: int, all_of_them: int) -> str:
    return f"{right}/{all_of_them}" + (f" {100 * right / all_of_them:.1f} %" if all_of_them else "")


def print_table(title: str, rows: dict[str, Counter[tuple[int, bool]]]) -> None:
    print(f"\n| {title} | " + " | ".join(f"{size} bytes" for size in SIZES) + " |")
    print("|---" * (len(SIZES) + 1) + "|")
    for name, counts in sorted(rows.items()):
        cells = [share(counts[size, True], counts[size, True] + counts[size, False]) for size in SIZES]
        print(f"| {name} | " + " | ".join(cells) + " |")


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--library", type=Path, default=ROOT / "build/release/libzutext.so")
    parser.add_argument("--cache", type=Path, default=Path.home() / ".cache/zucharset-evaluation",
                        help="where packages are kept (200 MB)")
    parser.add_argument("--pieces", type=int, default=8, metavar="N",
                        help="pieces of each size from each text; 8 unless given")
    parser.add_argument("--seed", type=int, default=1, help="which pieces are drawn")
    parser.add_argument("--wrong", action="store_true", help="show what was read wrong")
    options = parser.parse_args()
    try:
        library = ctypes.CDLL(str(options.library.resolve()))
        download([*(f"manpages-{name}" for name in MANUALS), *(f"fortunes-{name}" for name in FORTUNES),
                  *(f"firefox-esr-l10n-{name}" for name in BROWSERS), *CATALOGUES], options.cache)
    except (OSError, subprocess.CalledProcessError) as error:
        print(f"evaluate_reading.py: {error}", file=sys.stderr)
        return 2
    groups = ("all", "form", "source", "language", "encoding")
    tables: dict[str, dict[str, Counter[tuple[int, bool]]]] = {group: {} for group in groups}
    margins: Counter[tuple[str, bool]] = Counter()
    for piece in pieces(collect(options.cache / "unpacked"), options.pieces, random.Random(options.seed)):
        answer = ask(library, piece.content)
        right = is_right(piece, answer)
        kind = "double-byte" if piece.language in WIDE else "single-byte"
        keys = (f"{kind}, {'converted' if piece.number < 100 else 'only named'}", piece.form, piece.source,
                piece.language, piece.codec)
        for group, key in zip(groups, keys):
            tables[group].setdefault(key, Counter())[piece.size, right] += 1
        margins["4 and more" if answer.margin >= 400 else "2 to 4" if answer.margin >= 200 else "below 2",
                right] += 1
        if options.wrong and not right:
            print(*piece[:6], "->", answer.encoding, "sure" if answer.sure else "unsure", answer.margin)
    for group in groups:
        print_table(group, tables[group])
    print("\n| margin | right |\n|---|---|")
    for name in ("4 and more", "2 to 4", "below 2"):
        print(f"| {name} | {share(margins[name, True], margins[name, True] + margins[name, False])} |")
    return 0


if __name__ == "__main__":
    sys.exit(main())

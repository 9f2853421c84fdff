"""Reading tables: the letters of the single-byte encodings and how letters follow each other.

Characters come from Python's codecs and its Unicode database, the letter pairs from
tools/data/languages. Costs are natural logarithms: -ln of a probability.
"""

import math
import re
import unicodedata
from functools import lru_cache
from pathlib import Path
from typing import NamedTuple

from charset_facts import UNDEFINED, FactError, code_point

DATA = Path(__file__).resolve().parent / "data" / "languages"

# A language counts for an encoding that lacks at most this share of its letters.
LARGEST_LACK = 0.0015
# Costs of pairs are kept in four bits.
PAIR_STEP = 0.6
LARGEST_LEVEL = 15
# As many pairs in a million follow each letter as letters follow on the whole.
BACK_OFF = 20
# What letters cost that a language does not have, above what its own cost as a rule.
LEAST_RARITY = 9.5
LARGEST_RARITY = 13


class Language(NamedTuple):
    code: str
    name: str
    prior: float  # what it costs to assume the language at all
    homes: str  # the families of encodings that are usual for it
    foreign: float = 0.3  # how often its words stand in texts of other languages


LANGUAGES = (
    Language("ar", "Arabic", 0, "N"), Language("be", "Belarusian", 1, "N"),
    Language("bg", "Bulgarian", 0, "N"), Language("bs", "Bosnian", 1, "C"),
    Language("ca", "Catalan", 0.5, "W"), Language("cs", "Czech", 0, "C", 1),
    Language("cy", "Welsh", 2, "WG"), Language("da", "Danish", 0, "W", 1),
    Language("de", "German", 0, "W", 4), Language("el", "Greek", 0, "N"),
    Language("en", "English", 0, "W", 3), Language("eo", "Esperanto", 1, "S"),
    Language("es", "Spanish", 0, "W", 4), Language("et", "Estonian", 0.5, "WB"),
    Language("eu", "Basque", 1, "W"), Language("fa", "Persian", 0.5, "N"),
    Language("fi", "Finnish", 0, "W"), Language("fr", "French", 0, "W", 5),
    Language("ga", "Irish", 2, "WG"), Language("gl", "Galician", 1, "W"),
    Language("he", "Hebrew", 0, "N"), Language("hr", "Croatian", 0, "C"),
    Language("hu", "Hungarian", 0, "C", 1), Language("id", "Indonesian", 0.5, "W"),
    Language("is", "Icelandic", 0.5, "W"), Language("it", "Italian", 0, "W", 3),
    Language("lt", "Lithuanian", 0.5, "B"), Language("lv", "Latvian", 0.5, "B"),
    Language("mk", "Macedonian", 1, "N"), Language("ms", "Malay", 1, "W"),
    Language("mt", "Maltese", 2, "S"), Language("nl", "Dutch", 0, "W"),
    Language("no", "Norwegian", 0, "W", 1), Language("pl", "Polish", 0, "C", 1),
    Language("pt", "Portuguese", 0, "W", 3), Language("ro", "Romanian", 0, "C"),
    Language("ru", "Russian", 0, "N"), Language("sk", "Slovak", 0, "C"),
    Language("sl", "Slovenian", 0, "C"), Language("sq", "Albanian", 1, "W"),
    Language("sr-Cyrl", "Serbian (Cyrillic)", 0.5, "N"),
    Language("sr-Latn", "Serbian (Latin)", 0.5, "C"), Language("sv", "Swedish", 0, "W", 1),
    Language("th", "Thai", 0, "N"), Language("tr", "Turkish", 0, "T", 1),
    Language("uk", "Ukrainian", 0, "N"), Language("vi", "Vietnamese", 0, "V"),
)


class Encoding(NamedTuple):
    codec: str
    number: int  # code type of include/zucharset.h, or from 100 on one that is only recognised
    prior: float
    family: str


ENCODINGS = (
    Encoding("iso8859_1", 3, 0.2, "W"), Encoding("iso8859_2", 4, 0.2, "C"),
    Encoding("iso8859_3", 5, 1.5, "S"), Encoding("iso8859_4", 6, 2, "B"),
    Encoding("iso8859_5", 7, 1, "N"), Encoding("iso8859_6", 8, 1, "N"),
    Encoding("iso8859_7", 9, 0.3, "N"), Encoding("iso8859_8", 10, 0.5, "N"),
    Encoding("iso8859_9", 11, 0.3, "T"), Encoding("iso8859_10", 12, 4, "B"),
    Encoding("iso8859_11", 13, 0.5, "N"), Encoding("iso8859_13", 14, 1.5, "B"),
    Encoding("iso8859_14", 15, 3, "G"), Encoding("iso8859_15", 16, 0.4, "W"),
    Encoding("iso8859_16", 17, 2, "C"), Encoding("cp1250", 21, 0, "C"),
    Encoding("cp1251", 22, 0, "N"), Encoding("cp1252", 23, 0, "W"), Encoding("cp1253", 24, 0, "N"),
    Encoding("cp1254", 25, 0, "T"), Encoding("cp1255", 26, 0, "N"), Encoding("cp1256", 27, 0, "N"),
    Encoding("cp1257", 28, 0, "B"), Encoding("cp1258", 29, 1, "V"), Encoding("cp874", 30, 0, "N"),
    Encoding("koi8_r", 107, 0, "N"), Encoding("koi8_u", 108, 0.5, "N"),
    Encoding("cp866", 109, 1, "N"), Encoding("cp437", 110, 3, "W"),
    Encoding("cp850", 111, 2, "W"), Encoding("cp852", 112, 2, "C"),
    Encoding("mac_cyrillic", 113, 1, "N"),
)

SCRIPTS = ("LATIN", "CYRILLIC", "GREEK", "HEBREW", "ARABIC", "THAI")
# Marks that stand in the place of letters, by the script of what they sit on.
MARKS = {"COMBINING": "LATIN"}

# Classes of what is not a letter, in the order of text/reading_rows.h; text/reading.cpp has their costs.
CLASSES = (
    "„‚",  # quotes that open
    "“‘",  # quotes that open, or close what a low one opened
    "”",  # quotes that close, or open and close
    "’´",  # apostrophes, or quotes that close
    "«»‹›",
    "–—…",
    "\u00a0",
    "€£°§©®™·•½¼¾²³¹×†‡‰ªº№\u00ad±",  # ordinary
    "¿¡",
    "¦¬¤¨¸¯µ÷ƒˆ˜¢¥¶`",  # odd
)
IMPLAUSIBLE, CONTROL, NOTHING, ARABIC, HEBREW, THAI = range(len(CLASSES), len(CLASSES) + 6)
ODD = len(CLASSES) - 1


def script_of(point):
    """Number of the script whose letter a code point is, or None."""
    character = chr(point)
    category = unicodedata.category(character)
    if character in "ªºµƒ" or not (category[0] in "LM" or "\u0e2f" == character):
        return None
    name = unicodedata.name(character, "").split()[0]
    name = MARKS.get(name, name)
    return SCRIPTS.index(name) if name in SCRIPTS and category != "Lm" or name == "THAI" else None


def symbol_class(point):
    character = chr(point)
    if unicodedata.category(character) == "Cc":
        return CONTROL
    name = unicodedata.name(character, "")
    for number, marks in enumerate(CLASSES):
        if character in marks:
            return number
    if name.startswith("ARABIC"):
        return ARABIC
    if name.startswith("HEBREW") or character in "₪\u200e\u200f":
        return HEBREW
    if name.startswith("THAI"):
        return THAI
    return ODD if name.startswith("BOX DRAWINGS") else IMPLAUSIBLE


@lru_cache(maxsize=None)
def pairs(code):
    """The alphabet of a language, and how often each pair of letters comes, "_" for a boundary."""
    lines = (DATA / f"{code}.txt").read_text(encoding="utf-8").splitlines()
    counts = {}
    for line in lines[2:]:
        for letter, count in re.findall(r"(\D)(\d+)", line[2:]):
            counts[line[0], letter] = int(count)
    return lines[1], counts


@lru_cache(maxsize=None)
def letter_counts(code):
    """How often each letter comes."""
    counts = {}
    for (_, letter), count in pairs(code)[1].items():
        counts[letter] = counts.get(letter, 0) + count
    counts.pop("_", None)
    return counts


def precomposed(letter):
    """Letter and mark of a letter that Windows-1258 may write as two."""
    parts = unicodedata.normalize("NFD", letter)
    return parts if len(parts) == 2 and parts[1] in "\u0300\u0301\u0303\u0309\u0323" else None


@lru_cache(maxsize=None)
def letters():
    """The lower-case letters of each script in a fixed order; Latin begins with a to z."""
    found = [set() for _ in SCRIPTS]
    points = {code_point(encoding.codec, byte) for encoding in ENCODINGS for byte in range(256)}
    for character in {lower(chr(point)) for point in points - {UNDEFINED}}:
        if script_of(ord(character)) is not None:
            found[script_of(ord(character))].add(character)
    for language in LANGUAGES:
        for letter in pairs(language.code)[0]:
            found[script_of(ord(letter))].add(letter)
    return [sorted(script) for script in found]


# Romanian is written with a comma or with a cedilla; the language files know the cedilla.
SAME_LETTERS = str.maketrans("șț", "şţ")


def lower(character):
    """The lower case of a character. A dotted I stays: it is the capital of i in some languages only."""
    return character if character == "İ" else character.lower().translate(SAME_LETTERS)


def place(letter):
    """Script and number in it of a lower-case letter."""
    script = script_of(ord(letter))
    return script, letters()[script].index(letter)


@lru_cache(maxsize=None)
def characters():
    """Every code point of the upper halves, undefined first."""
    points = {code_point(encoding.codec, byte)
              for encoding in ENCODINGS for byte in range(0x80, 0x100)}
    return [UNDEFINED, *sorted(points - {UNDEFINED})]


def character_row(point):
    """Code point, script (or NO_SCRIPT), letter or class, upper case."""
    if point == UNDEFINED:
        return (point, len(SCRIPTS), NOTHING, 0)
    script = script_of(point)
    if script is None:
        return (point, len(SCRIPTS), symbol_class(point), 0)
    small = lower(chr(point))
    return (point, *place(small), int(chr(point) != chr(point).lower()))


def fits(language, encoding):
    """Has the encoding the letters of the language?"""
    held = {lower(chr(code_point(encoding.codec, byte))) for byte in range(256)}
    if language.code == "en":
        return True
    if not any(ord(letter) > 0x7F and letter in held for letter in pairs(language.code)[0]):
        return False  # English says as much
    counts = letter_counts(language.code)
    lack = sum(count for letter, count in counts.items() if letter not in held)
    return lack <= LARGEST_LACK * sum(counts.values())


def level(cost):
    return max(0, min(LARGEST_LEVEL, round(cost / PAIR_STEP)))


def pair_levels(code):
    """Cost levels of one language, row after row; a boundary comes first in both directions."""
    alphabet, counts = pairs(code)
    order = "_" + alphabet
    shares = letter_counts(code)
    everything = sum(counts.values())
    values = []
    for first in order:
        total = sum(counts.get((first, second), 0) for second in order)
        for second in order:
            # What follows a rare letter is taken for what follows letters on the whole.
            usual = max(shares.get(second, everything - sum(shares.values())) / everything, 1e-6)
            share = ((counts.get((first, second), 0) + BACK_OFF * usual) / (total + BACK_OFF))
            values.append(level(-math.log(share)))
    values[0] = 0  # between what are no letters there is nothing to tell
    return values


def packed(values):
    """Two levels a byte, the first in the lower half."""
    values = values + [0] * (len(values) % 2)
    return [low | high << 4 for low, high in zip(values[::2], values[1::2])]


def rarity():
    """What a letter costs in a language without it, in tenths: by how common it is elsewhere."""
    rows = []
    for number, script in enumerate(letters()):
        known = [language for language in LANGUAGES
                 if script_of(ord(pairs(language.code)[0][0])) == number]
        total = sum(language.foreign for language in known) * 1e6
        for letter in script:
            share = sum(letter_counts(language.code).get(letter, 0) * language.foreign
                        for language in known) / total
            cost = 4 - math.log(share) if share else 99
            rows.append(round(10 * max(LEAST_RARITY, min(LARGEST_RARITY, cost))))
    return rows


def decomposed():
    """Letters that Windows-1258 may write as two: the letter, and the numbers of both parts."""
    latin = letters()[0]
    rows = []
    for letter in latin:
        parts = precomposed(letter)
        if parts and all(part in latin for part in parts):
            rows += [latin.index(letter), latin.index(parts[0]), latin.index(parts[1])]
    return rows


def encoding_rows():
    numbers = {point: number for number, point in enumerate(characters())}
    held = [[numbers[code_point(encoding.codec, byte)] for byte in range(0x80, 0x100)]
            for encoding in ENCODINGS]
    rows = []
    for encoding in ENCODINGS:
        languages = sum(1 << number for number, language in enumerate(LANGUAGES)
                        if fits(language, encoding))
        homes = sum(1 << number for number, language in enumerate(LANGUAGES)
                    if encoding.family in language.homes)
        rows.append(f"{{{encoding.number}, {round(100 * encoding.prior)}, 0x{languages:016X}u, "
                    f"0x{homes:016X}u}}")
    return rows, [number for row in held for number in row]


def turkish_letters():
    """Numbers of i, of the dotless one and of the dotted capital."""
    return [letters()[0].index(letter) for letter in "iıİ"]


def language_rows():
    rows, alphabets, levels = [], [], []
    for language in LANGUAGES:
        alphabet = pairs(language.code)[0]
        places = [place(letter) for letter in alphabet]
        if len({script for script, _ in places}) != 1:
            raise FactError(f"{language.code}.txt: letters of two scripts")
        if places[0][0] == 0 and places[:26] != [(0, number) for number in range(26)]:
            raise FactError(f"{language.code}.txt: a Latin alphabet must begin with a to z")
        rows.append(f'{{"{language.code}", "{language.name}", {round(100 * language.prior)}, '
                    f"{places[0][0]}, {len(alphabet)}, {len(alphabets)}, {len(levels)}}}")
        alphabets += [number for _, number in places]
        levels += packed(pair_levels(language.code))
    return rows, alphabets, levels


def character_kinds():
    """Upper case in the highest bit, the script above eight bits of letter or class."""
    return [upper << 15 | script << 8 | value
            for _, script, value, upper in map(character_row, characters())]

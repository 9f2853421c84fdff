"""Positions of the ranked characters in the detector's frequency tables."""

import re
import subprocess
from pathlib import Path
from typing import Callable, NamedTuple

from charset_facts import FactError, UNDEFINED, big5_code_point

DATA = Path(__file__).resolve().parent / "data"
BIG5PLUS = DATA / "big5plus.txt"
RANKED = 600


def read_data(path):
    """The lines of a data file that are no comments, each with its number."""
    try:
        lines = path.read_text(encoding="utf-8").splitlines()
    except (OSError, UnicodeDecodeError) as error:
        raise FactError(f"{path}: {error}; restore the file from version control") from error
    return [(number, line) for number, line in enumerate(lines, 1) if not line.startswith("#")]


def read_ranking(name, first):
    """The RANKED characters of a ranking that begin at its entry `first`, from 0."""
    path = DATA / "rankings" / f"{name}.txt"
    seen = {}
    for number, line in read_data(path):
        for char in "".join(line.split()):
            if char in seen:
                raise FactError(f"{path}:{number}: {char} (U+{ord(char):04X}) stands on line "
                                f"{seen[char]} too; take one of them out")
            seen[char] = number
    if len(seen) < first + RANKED:
        raise FactError(f"{path}: {len(seen)} characters; {first + RANKED} are needed")
    return list(seen)[first:first + RANKED]


def by_codec(codec):
    """A function giving the codes that Python's codec has for characters."""
    def codes(chars):
        return {char: char.encode(codec, "ignore") for char in chars}
    return codes


def big5(chars):
    codes = by_codec("big5")(chars)
    return {char: code for char, code in codes.items()
            if len(code) == 2 and big5_code_point(*code) != UNDEFINED}


def big5plus(chars):
    """Codes of Big5, and extension codes for what Big5 lacks."""
    codes = big5(chars)
    needed = set(chars) - set(codes)
    for number, line in read_data(BIG5PLUS):
        for entry in line.split():
            if not re.fullmatch("[0-9A-F]{4}.", entry):
                raise FactError(f"{BIG5PLUS}:{number}: {entry} is no code of four hexadecimal "
                                "digits with its character")
            if entry[4] not in needed:
                raise FactError(f"{BIG5PLUS}:{number}: {entry} is not needed: its character "
                                "is listed before, is in Big5 or is not ranked; take it out")
            needed.remove(entry[4])
            codes[entry[4]] = bytes.fromhex(entry[:4])
    return codes


def iconv(codec, text):
    """`text` in the C library's encoding, without the characters that it lacks."""
    command = ["iconv", "-c", "-f", "UTF-8", "-t", codec]
    try:
        # Characters left out make the exit status 1; only the empty text tells a missing codec.
        subprocess.run(command, input=b"", capture_output=True, check=True)
        return subprocess.run(command, input=text.encode(), capture_output=True).stdout
    except (OSError, subprocess.CalledProcessError) as error:
        raise FactError(
            f"the C library's iconv has no {codec}; it needs the GNU C library with its "
            "converter modules: libc-bin and, where it exists, libc-gconv-modules-extra on "
            "Debian and Ubuntu; glibc-gconv-extra on Fedora") from error


def euc_tw(chars):
    lines = iconv("EUC-TW", "\n".join(chars)).split(b"\n")
    return dict(zip(chars, lines))


class FrequencyTable(NamedTuple):
    array: str
    charset: str
    ranking: str
    first: int  # the entry of the ranking, from 0, that is most frequent here
    codes: Callable  # gives the two-byte codes of characters
    first_lead: int
    first_trail: int
    columns: int
    closed_gap: bool = False  # trails 7F to A0 share one column


TABLES = (
    FrequencyTable("s_u16RankedGB", "GB 2312", "simplified", 0,
                   by_codec("gb2312"), 0xA1, 0xA1, 94),
    FrequencyTable("s_u16RankedGBK", "GBK", "traditional", 0, by_codec("gbk"), 0x81, 0x40, 191),
    FrequencyTable("s_u16RankedBIG5", "Big5", "traditional", 0, big5, 0xA1, 0x40, 158, True),
    # The simplified ranking's first entry belongs to the GB 2312 table alone.
    FrequencyTable("s_u16RankedBIG5P", "Big5-Plus", "simplified", 1, big5plus, 0x81, 0x40, 191),
    FrequencyTable("s_u16RankedEUC_TW", "CNS 11643 plane 1", "traditional", 0,
                   euc_tw, 0xA1, 0xA1, 94),
    FrequencyTable("s_u16RankedKR", "KS X 1001", "korean", 0, by_codec("euc_kr"), 0xA1, 0xA1, 94),
    FrequencyTable("s_u16RankedJP", "JIS X 0208", "japanese", 0,
                   by_codec("euc_jp"), 0xA1, 0xA1, 94),
)


def position(table, char, code):
    """row * columns + column of a character's cell."""
    lead, trail = code if len(code) == 2 else (0, 0)
    row, column = lead - table.first_lead, trail - table.first_trail
    if table.closed_gap and trail >= 0xA1:
        column -= 0x21
    if row < 0 or not 0 <= column < table.columns:
        remedy = " or add its code to data/big5plus.txt" if table.codes is big5plus else ""
        raise FactError(f"{DATA / 'rankings' / table.ranking}.txt: {char} (U+{ord(char):04X}) "
                        f"has no two-byte code in {table.charset}; replace it{remedy}")
    return row * table.columns + column


def ranked_positions(table):
    """Cells of the ranked characters, most frequent first."""
    chars = read_ranking(table.ranking, table.first)
    codes = table.codes(chars)
    owner = {}
    for char in chars:
        cell = position(table, char, codes.get(char, b""))
        if cell in owner:
            raise FactError(f"{table.charset}: {owner[cell]} and {char} have the same code; "
                            f"correct data/big5plus.txt or data/rankings/{table.ranking}.txt")
        owner[cell] = char
    return list(owner)

#!/usr/bin/env python3
"""Scores of the fifteen estimators, worked out without the library, in single precision at every step.

Each line of score_table.txt but comments has after its = sign a hash of a frequency table's cells or the scores of a
text, whose hexadecimal tokens stand before it (*N repeats one). --check compares them, else the file is written anew.
"""

import re
import struct
import subprocess
import sys
from pathlib import Path

HERE = Path(__file__).resolve().parent
DATA = HERE.parent / "tools/data"
EXTENSION = {char: bytes.fromhex(code) for code, char in re.findall(
    r"\b([0-9A-F]{4})([^\d\s])", (DATA / "big5plus.txt").read_text(encoding="utf-8"))}


def weights(name, encode, first=0):
    """Weights of a ranking's characters by their two-byte codes."""
    chars = re.sub(r"#.*|\s", "", (DATA / f"rankings/{name}.txt").read_text(encoding="utf-8"))[first:first + 600]
    return {encode(char) if callable(encode) else char.encode(encode): 600 - i for i, char in enumerate(chars)}


def euc_tw(char):
    command = ["iconv", "-f", "UTF-8", "-t", "EUC-TW"]
    return subprocess.run(command, input=char.encode(), capture_output=True, check=True).stdout


GB, KR, JP = weights("simplified", "gb2312"), weights("korean", "euc_kr"), weights("japanese", "euc_jp")
GBK, BIG5, TW = (weights("traditional", encode) for encode in ("gbk", "big5", euc_tw))
BIG5P = weights("simplified", lambda char: EXTENSION.get(char) or char.encode("big5"), 1)
TABLES = {"GB": (GB, 94, 94, 0xA1A1), "GBK": (GBK, 126, 191, 0x8140), "BIG5": (BIG5, 94, 158, 0xA140),
          "BIG5P": (BIG5P, 126, 191, 0x8140), "EUC_TW": (TW, 94, 94, 0xA1A1), "KR": (KR, 94, 94, 0xA1A1),
          "JP": (JP, 94, 94, 0xA1A1)}

# A rule: weights, pairs that it accepts, pairs that weigh something without an entry, and how much.
EUC, WIDE, BIG5_PAIR = rb"[\xA1-\xFE]{2}", rb"[\x81-\xFE][\x40-\x7E\x80-\xFE]", rb"[\xA1-\xF9][\x40-\x7E\xA1-\xFE]"
SJIS_PAIR = rb"[\x81-\x9F\xE0-\xEF][\x40-\x7E\x80-\xFC]"
GB_RULE, GBK_RULE = (GB, rb"[\xA1-\xF7][\xA1-\xFE]", rb"[\xB0-\xD7]", 200), (GBK, WIDE, b"$", 0)
BIG5_RULE, BIG5_IN_PLUS = ((BIG5, BIG5_PAIR, fallback, 200) for fallback in (rb"[\xA4-\xC6]", rb"[\xA4-\xC5]"))
KR_RULE, UHC_RULE = (KR, EUC, b"$", 0), ({}, rb"[\x81-\xFE][\x41-\x5A\x61-\x7A\x81-\xFE]", b"$", 0)
SEGMENTS = {b"A": (rb"(?s)[\x21-\x77]{2}|.", GB_RULE),
            b"G": (rb"(?s)[\x21-\x7E]{2}|.", (TW, EUC, rb"[\xC4-\xFD]", 150))}


def f32(number):
    return struct.unpack("f", struct.pack("f", number))[0]


def part(dividend, divisor):
    return f32(50.0 * f32(f32(dividend) / f32(divisor)))


def weigh(units, *rules):
    """Weights of the units that a rule accepts, the first one deciding."""
    for unit in units:
        for table, shape, fallback, value in rules:
            if re.fullmatch(shape, unit, re.S):
                yield table.get(unit) or (value if re.match(fallback, unit) else 0)
                break


def score(found, good, total):
    return int(f32(part(1 + good, 1 + total) + part(sum(found), 1 + 500 * len(found))))


def pairs(text, *rules, units=rb"[\x7F-\xFF]."):
    units = re.findall(units, text, re.S)
    found = list(weigh(units, *rules))
    return score(found, len(found) + sum(len(unit) == 4 for unit in units), len(units))


def high(text):
    return bytes(byte | 0x80 for byte in text)


def hz(text):
    segments = re.findall(rb"(?s)~[}~]|(~\{)((?:(?!~\}|[\r\n])..)*)", text)
    units = [body[i:i + 2] for _, body in segments for i in range(0, len(body), 2)]
    found = list(weigh([high(unit) for unit in units if re.fullmatch(rb"[!-w]{2}|[\xA1-\xF7]{2}", unit)], GB_RULE))
    count = sum(start != b"" for start, _ in segments)
    return int(f32((0, 39, 41, 41, 41, 50)[min(count, 5)] + part(sum(found), 1 + 500 * len(found))))


def iso_2022_cn(text):
    found, total = [], 0
    for letter, body in re.findall(rb"\x1B\$\)([AG])([^\x1B]*)\x1B?", text):
        units = re.findall(SEGMENTS[letter][0], body)
        found += weigh([high(unit) for unit in units if len(unit) == 2], SEGMENTS[letter][1])
        total += len(units)
    return score(found, len(found), total)


def utf8(text):
    start = re.match(rb"(?:[\0-\x7F]|[\xC0-\xDF][\x80-\xBF]|[\xE0-\xEF][\x80-\xBF]{2}|[\xF0-\xF7][\x80-\xBF]{3}|"
                     rb"[\xF8-\xFB][\x80-\xBF]{4}|[\xFC\xFD][\x80-\xBF]{5})*", text)[0]
    good = len(re.sub(rb"[\0-\x7F]", b"", start))
    if text.isascii():
        return 17
    raw = int(f32(f32(f32(good) / f32(len(text) - len(start) + good)) * 100.0))
    if raw >= 99:
        return raw if len(text) > 8 or re.fullmatch(rb"\xEF\xBB\xBF[\0-\x7F]+", text) else 70
    return raw if raw >= 96 and good >= 31 else 0


def scores(text):
    sjis_rule = weights("japanese", "shift_jis"), SJIS_PAIR, b"$", 0
    return (pairs(text, GB_RULE), pairs(text, GB_RULE, GBK_RULE) - 1,
            pairs(text, GB_RULE, GBK_RULE, units=rb"[\x81-\xFE][0-9][\x81-\xFE][0-9]|[\x7F-\xFF].") - 1, hz(text),
            pairs(text, BIG5_RULE), pairs(text, BIG5_IN_PLUS, (BIG5P, WIDE, b"$", 0)) - 1, iso_2022_cn(text),
            pairs(text, KR_RULE), pairs(text, KR_RULE, UHC_RULE), 100 * (b"\x1B$)C" in text),
            pairs(text, (JP, EUC, b"$", 0)), pairs(text, sjis_rule, units=SJIS_PAIR + rb"|[\x7F-\xFF](?=.)"),
            100 * (b"\x1B$B" in text), utf8(text), max(0, 70 - 10 * len(re.findall(rb"[\x7F-\xFF]", text)) -
                                                       5 * text.count(b"\x1B")))


def table_hash(table, rows, columns, first):
    cells, value = [0] * (rows * columns), 0
    for code, weight in table.items():
        row, column = code[0] - (first >> 8), code[1] - (first & 0xFF)
        cells[row * columns + column - (33 if columns == 158 and column > 62 else 0)] = weight
    for cell in cells:
        value = (value * 1000003 + cell) % 2**32
    return value


def completed(line):
    given = line.partition("=")[0].split()
    if line.startswith("#"):
        return line
    if given[0] in TABLES:
        return f"{given[0]} = {table_hash(*TABLES[given[0]])}"
    text = b"".join(bytes.fromhex(token.partition("*")[0]) * int(token.partition("*")[2] or 1) for token in given)
    return f"{' '.join(given)} = {' '.join(map(str, scores(text)))}"


if __name__ == "__main__":
    file = HERE / "score_table.txt"
    old = file.read_text(encoding="ascii").splitlines()
    new = [completed(line) for line in old]
    if sys.argv[1:] != ["--check"]:
        file.write_text("\n".join(new) + "\n", encoding="ascii")
    elif new != old:
        sys.exit("\n".join(line for line in new if line not in old))

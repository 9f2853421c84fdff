# Scores of the fifteen estimators, worked out without the library, in single precision at every step.
#
# Each line of score_table.txt but comments has after its = sign a hash of the frequency tables' cells or the scores of
# a text, whose hexadecimal tokens stand before it (*N repeats one). --check compares them, else they are written anew.

import re
import struct
import subprocess
import sys
from pathlib import Path

FILE = Path(__file__).resolve().parent / "score_table.txt"
DATA = FILE.parent.parent / "tools/data"
EXTENSION = {char: bytes.fromhex(code) for code, char in re.findall(
    r"\b([0-9A-F]{4})([^\d\s])", (DATA / "big5plus.txt").read_text(encoding="utf-8"))}


def ranking(name, first=0):
    return re.sub(r"#.*|\s", "", (DATA / f"rankings/{name}.txt").read_text(encoding="utf-8"))[first:first + 600]


def weights(codes):
    return {codes[2 * i:2 * i + 2]: 600 - i for i in range(600)}


TRADITIONAL, JAPANESE = ranking("traditional"), ranking("japanese")
GB, KR, JP = map(weights, (ranking("simplified").encode("gb2312"), ranking("korean").encode("euc_kr"),
                           JAPANESE.encode("euc_jp")))
GBK, BIG5, TW = map(weights, (TRADITIONAL.encode("gbk"), TRADITIONAL.encode("big5"), subprocess.run(
    ["iconv", "-f", "UTF-8", "-t", "EUC-TW"], input=TRADITIONAL.encode(), capture_output=True, check=True).stdout))
BIG5P = weights(b"".join(EXTENSION.get(char) or char.encode("big5") for char in ranking("simplified", 1)))
# The tables in their order, with rows, columns, the first code and columns left out before A1.
TABLES = ((GB, 94, 94, 0xA1A1, 0), (GBK, 126, 191, 0x8140, 0), (BIG5, 94, 158, 0xA140, 33),
          (BIG5P, 126, 191, 0x8140, 0), (TW, 94, 94, 0xA1A1, 0), (KR, 94, 94, 0xA1A1, 0), (JP, 94, 94, 0xA1A1, 0))

# Rules: weights, pairs that they accept and, if pairs without an entry weigh something, their leads and how much.
HIGH, SJIS = rb"[\x7F-\xFF].", rb"[\x81-\x9F\xE0-\xEF][\x40-\x7E\x80-\xFC]"
EUC, WIDE, BIG5_PAIR = rb"[\xA1-\xFE]{2}", rb"[\x81-\xFE][\x40-\x7E\x80-\xFE]", rb"[\xA1-\xF9][\x40-\x7E\xA1-\xFE]"
GB_RULE, CNS_RULE = (GB, rb"[\xA1-\xF7][\xA1-\xFE]", rb"[\xB0-\xD7]", 200), (TW, EUC, rb"[\xC4-\xFD]", 150)
# Estimators of pairs by their places: the units that they look at, what they subtract, and rules.
PAIRS = {0: (HIGH, 0, GB_RULE), 1: (HIGH, 1, GB_RULE, (GBK, WIDE)),
         2: (rb"[\x81-\xFE][0-9][\x81-\xFE][0-9]|" + HIGH, 1, GB_RULE, (GBK, WIDE)),
         4: (HIGH, 0, (BIG5, BIG5_PAIR, rb"[\xA4-\xC6]", 200)),
         5: (HIGH, 1, (BIG5, BIG5_PAIR, rb"[\xA4-\xC5]", 200), (BIG5P, WIDE)), 8: (HIGH, 0, (KR, EUC)),
         9: (HIGH, 0, (KR, EUC), ({}, rb"[\x81-\xFE][\x41-\x5A\x61-\x7A\x81-\xFE]")), 12: (HIGH, 0, (JP, EUC)),
         13: (SJIS + rb"|[\x7F-\xFF](?=.)", 0, (weights(JAPANESE.encode("shift_jis")), SJIS))}


def f32(number):
    return struct.unpack("f", struct.pack("f", number))[0]


def part(dividend, divisor):
    return f32(50.0 * f32(f32(dividend) / f32(divisor)))


# Weights of the units that a rule accepts, the first one deciding.
def weigh(units, *rules):
    for unit in units:
        for table, shape, *fallback in rules:
            if re.fullmatch(shape, unit, re.S):
                yield table.get(unit) or (fallback[1] if fallback and re.match(fallback[0], unit) else 0)
                break


def score(base, found):
    return int(f32(base + part(sum(found), 1 + 500 * len(found))))


def pairs(text, shape, subtract, *rules):
    units = re.findall(shape, text, re.S)
    found = list(weigh(units, *rules))
    return score(part(1 + len(found) + sum(len(unit) == 4 for unit in units), 1 + len(units)), found) - subtract


def high(units):
    return [bytes(byte | 0x80 for byte in unit) for unit in units if len(unit) == 2]


def hz(text):
    bodies = re.findall(rb"(?s)~[}~]|~(\{(?:(?!~\}|[\r\n])..)*)", text)
    units = [unit for body in bodies for unit in re.findall(rb"(?s)..", body[1:])]
    found = weigh(high(unit for unit in units if re.fullmatch(rb"[!-w]{2}|[\xA1-\xF7]{2}", unit)), GB_RULE)
    return score((0, 39, 41, 41, 41, 50)[min(sum(map(bool, bodies)), 5)], list(found))


def iso_2022_cn(text):
    found, total = [], 0
    for letter, body in re.findall(rb"\x1B\$\)([AG])([^\x1B]*)\x1B?", text):
        last, rule = (rb"\x77", GB_RULE) if letter == b"A" else (rb"\x7E", CNS_RULE)
        units = re.findall(rb"(?s)[\x21-" + last + rb"]{2}|.", body)
        found += weigh(high(units), rule)
        total += len(units)
    return score(part(1 + len(found), 1 + total), found)


def utf8(text):
    start = re.match(rb"(?:[\0-\x7F]|[\xC0-\xDF][\x80-\xBF]|[\xE0-\xEF][\x80-\xBF]{2}|[\xF0-\xF7][\x80-\xBF]{3}|"
                     rb"[\xF8-\xFB][\x80-\xBF]{4}|[\xFC\xFD][\x80-\xBF]{5})*", text)[0]
    good = len(re.sub(rb"[\0-\x7F]", b"", start))
    if text.isascii():
        return 17
    raw = int(f32(2.0 * part(good, len(text) - len(start) + good)))
    if raw >= 99:
        return raw if len(text) > 8 or re.fullmatch(rb"\xEF\xBB\xBF[\0-\x7F]+", text) else 70
    return raw if raw >= 96 and good >= 31 else 0


def scores(text):
    others = {3: hz(text), 7: iso_2022_cn(text), 10: 100 * (b"\x1B$)C" in text), 14: 100 * (b"\x1B$B" in text),
              15: utf8(text), 17: max(0, 70 - 10 * len(re.findall(rb"[\x7F-\xFF]", text)) - 5 * text.count(b"\x1B"))}
    return [pairs(text, *PAIRS[i]) if i in PAIRS else others.get(i, 0) for i in range(19)]


def tables_hash():
    before, value = 0, 0
    for table, rows, columns, first, gap in TABLES:
        for (lead, trail), weight in table.items():
            cell = (lead - first // 256) * columns + trail - first % 256 - (gap if trail > 0xA0 else 0)
            value += weight * pow(1000003, before + cell, 2**32)
        before += rows * columns
    return value % 2**32


def completed(line):
    given = line.partition("=")[0].strip()
    if line.startswith("#"):
        return line
    text = b"".join(bytes.fromhex(code) * int(times or 1) for code, times in re.findall(r"([0-9A-F]+)\*?(\d*)", given))
    results = [tables_hash()] if given == "tables" else scores(text)
    return f"{given} = {' '.join(map(str, results))}"


OLD = FILE.read_text(encoding="ascii").splitlines()
NEW = [completed(line) for line in OLD]
if sys.argv[1:] != ["--check"]:
    FILE.write_text("\n".join(NEW) + "\n", encoding="ascii")
elif NEW != OLD:
    sys.exit("\n".join(line for line in NEW if line not in OLD))

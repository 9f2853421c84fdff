"""The generated headers against the generator, the C library's iconv and known cells.

The generator takes the conversion tables from Python's codecs, so the values expected of them
come from iconv, or stand here where it differs. Run: python3 -m unittest discover tests/tools
"""

import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]


def read_arrays():
    arrays = {}
    for header in ROOT.glob("*/tables/*.h"):
        text = re.sub(r"/\*.*?\*/|//.*", "", header.read_text(encoding="ascii"))
        for name, size, body in re.findall(r"(\w+)\[(\d+)\] = \{([^}]*)", text):
            arrays[name] = [int(value, 0) for value in body.replace(",", " ").split()]
            assert len(arrays[name]) == int(size), name
    return arrays


ARRAYS = read_arrays()


def gbk(lead, trail):
    return ARRAYS["g_Converter_GBKConverterToUnicodeTable"][(lead - 0x81) * 191 + trail - 0x40]


def big5(lead, trail):
    entry = (lead - 0xA1) * 157 + (trail - 0x40 if trail < 0x7F else trail - 0x62)
    high, low = ARRAYS["g_Converter_Big5ConverterToUnicodeTable"][2 * entry:2 * entry + 2]
    return high << 8 | low


def cp949(lead, trail):
    if lead > 0xA0 and trail > 0xA0:
        page, first = (("21", 0), ("30", 1410), ("4a", 3854))[(lead >= 0xB0) + (lead >= 0xCA)]
        return ARRAYS["u16Ksc5601ToUniPage" + page][(lead - 0xA1) * 94 + trail - 0xA1 - first]
    column = trail - (0x41 if trail < 0x61 else 0x47 if trail < 0x81 else 0x4D)
    area, row, columns = ("1", lead - 0x81, 178) if lead < 0xA1 else ("2", lead - 0xA1, 84)
    base = ARRAYS[f"u16Uhc{area}ToUniMain"][2 * row + (column >= columns // 2)]
    return base + ARRAYS[f"u8Uhc{area}ToUni"][columns * row + column]


TWO_BYTE_CASES = (  # table, encoding of iconv, codes
    (gbk, "CP936", "8140 817E 8180 A1A4 A1AA A996 B0A1 D6D0 F7FE FE4F"),
    (gbk, "GB18030", "AAA1 AFFE F8A1 FEFE A140 A7A0"),
    (big5, "BIG5", "A140 A440 A47E A4A1 C67E C940 F9D5"),
    (cp949, "CP949", "8141 8C63 905A 9061 A0FE A141 A17A A181 C652 A2E6 ACF1 ACE3 B0A1 C8FE CAA1"),
    (cp949, "EUC-KR", "A2E8 FDFE"),
)
SINGLE_BYTE_CASES = (  # encoding of iconv, array, codes beginning with the table's first byte
    ("ISO-8859-{}", "g_Converter_iso8859_{}ToUnicodeTable", {
        2: "A0 A1 FF", 3: "A0 A5 A6 F0", 4: "A0 A2 FF", 5: "A0 A1 F0", 6: "A0 A1 AC C7 F3 FF",
        7: "A0 A4 A5 AA AE FE", 8: "A0 AF BF DF E0 FD FE", 9: "D0 DD FE", 10: "A0 A1 FF",
        13: "A0 A1 FF", 14: "A0 A1 FF", 15: "A0 A4 BE", 16: "A0 A1 FF"}),
    ("CP{}", "g_Converter_win_cp{}", {
        1250: "80 81 FF", 1251: "80 88 98 C0", 1252: "80 81 9F", 1253: "80 AA C1 FF",
        1254: "80 8E D0 F0", 1255: "80 A4 CA E0", 1256: "80 81 C7 FF", 1257: "80 A1 A8 FF",
        1258: "80 D0 D2 FE", 874: "80 A1 DB"}),
)
KNOWN_CASES = (  # where the tables part from the C library's converters
    (gbk, "A2AB=E766 A2E3=E76C A8BF=E7C8 A989=E7E7 A995=E7F3 D7FA=E810 FE50=E815 FEA0=E864"),
    (big5, "A145=2022 A14E=FF64 A1C2=203E A1E3=223C A1F2=2641 A1F3=2609 A241=FF0F A242=FF3C"),
    (big5, "A244=00A5 A246=00A2 A247=00A3 A15A=FFFD A2CC=FFFD A3E1=FFFD C840=FFFD F9D6=FFFD"),
)
RANKED_CASES = {  # columns of the table, row,column of the first five
    "s_u16RankedGB": (94, "36,42 20,35 49,26 41,38 17,26"),
    "s_u16RankedGBK": (191, "52,132 73,135 49,123 77,146 81,123"),
    "s_u16RankedBIG5": (158, "9,89 11,15 3,66 6,121 3,0"),
    "s_u16RankedBIG5P": (191, "41,122 35,0 43,15 35,99 35,6"),
    "s_u16RankedEUC_TW": (94, "45,90 48,49 35,65 41,27 35,0"),
    "s_u16RankedKR": (94, "31,43 19,56 38,46 3,3 29,77"),
    "s_u16RankedJP": (94, "3,74 3,45 3,3 3,24 3,30"),
}


def single_byte_cases():
    def lookup(array, first):
        return lambda byte: ARRAYS[array][byte - first]
    return tuple((lookup(array.format(part), int(codes[:2], 16)), encoding.format(part), codes)
                 for encoding, array, cases in SINGLE_BYTE_CASES for part, codes in cases.items())


def iconv(encoding, code):
    command = ["iconv", "-f", encoding, "-t", "UTF-16BE"]
    run = subprocess.run(command, input=code, capture_output=True)
    return int.from_bytes(run.stdout, "big") if run.returncode == 0 else 0xFFFD


def generate(root, *options):
    command = [sys.executable, "-B", root / "tools/generate_tables.py", *options]
    return subprocess.run(command, cwd="/", capture_output=True, encoding="utf-8")


class Tables(unittest.TestCase):
    def test_cells_agree_with_iconv(self):
        for table, encoding, codes in TWO_BYTE_CASES + single_byte_cases():
            for code in map(bytes.fromhex, codes.split()):
                with self.subTest(encoding=encoding, code=code.hex()):
                    self.assertEqual(table(*code), iconv(encoding, code))

    def test_known_cells(self):
        for table, cases in KNOWN_CASES:
            for code, expected in (case.split("=") for case in cases.split()):
                with self.subTest(table=table.__name__, code=code):
                    self.assertEqual(table(*bytes.fromhex(code)), int(expected, 16))

    def test_ranked_positions(self):
        for name, (columns, cells) in RANKED_CASES.items():
            with self.subTest(table=name):
                found = [divmod(position, columns) for position in ARRAYS[name][:5]]
                self.assertEqual(" ".join("%d,%d" % cell for cell in found), cells)
                self.assertEqual(len(set(ARRAYS[name])), 600)
        self.assertEqual(600 - ARRAYS["s_u16RankedGB"].index((0xC4 - 0xA1) * 94 + 0xE3 - 0xA1), 576)


class Generator(unittest.TestCase):
    def test_committed_headers_are_current(self):
        run = generate(ROOT, "--check")
        self.assertEqual((run.returncode, run.stdout, run.stderr), (0, "", ""))

    def test_faults_are_named(self):
        with tempfile.TemporaryDirectory() as folder:
            copy = Path(folder)
            for part in ("tools", "converters/tables"):  # without the detector's header
                shutil.copytree(ROOT / part, copy / part)
            damaged = copy / "converters/tables/gbk_table.h"
            damaged.write_bytes(damaged.read_bytes().replace(b"0x4E02", b"0x4E03", 1))
            run = generate(copy, "--check")
            self.assertEqual((run.returncode, run.stdout.count(".h:")), (1, 2))
            self.assertRegex(run.stdout, r"gbk_table\.h: differs.*\n.*ranked_positions\.h: missing")

            ranking = copy / "tools/data/rankings/traditional.txt"
            text = ranking.read_text(encoding="utf-8")
            for bad, fault in (("的", r"U\+7684\) stands"), ("€", r"U\+20AC\) has no"), ("", "599")):
                ranking.write_text(text.replace("不", bad), encoding="utf-8")
                self.assertRegex(generate(copy).stderr, rf"traditional\.txt.*{fault}")


if __name__ == "__main__":
    unittest.main()

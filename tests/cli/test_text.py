# What the command makes of texts. Expected text comes from Python's own codecs.

import json
import os
import random
import shlex
import subprocess
import unittest
from pathlib import Path

from helpers import CYRILLIC, HANZI, PIECE, CliTest, read, tree, write

TEXTS = Path(__file__).resolve().parents[2] / "samples" / "text"

NAMES = {  # text: Python's name for an encoding and the command's names
    HANZI: "gbk=gbk,CP936,20 gb2312=gb2312,euc-CN utf-8=UTF_8 utf-16-le=utf16le utf-16-be=ucs-2be",
    "繁體中文": "big5=big5,1 cp950=cp950", "안녕하세요": "euc-kr=euc-kr,ks_c_5601-1987 cp949=windows-949", "안똠": "cp949=uhc",
    "Привет": "cp1251=windows-1251,win1251 iso8859-5=iso-8859-5", "déjà ÿ": "latin-1=latin1,ISO8859_1,8859-1,l1",
    "déjà €": "cp1252=cp1252 iso8859-15=latin9", "łóżko": "iso8859-2=l2 cp1250=1250", "ภาษาไทย": "tis-620=tis-620",
    "ภาษาไทย€": "cp874=thai", "שלום": "hebrew=hebrew cp1255=cp1255", "Ελλάδα": "greek=greek cp1253=cp1253",
    "İstanbul ğ": "cp1254=cp1254 latin5=l5", "سلام": "cp1256=cp1256 arabic=arabic", "ąžuolas": "cp1257=cp1257",
    "đơn": "cp1258=cp1258", "é😀": "utf-8=utf8",
}


class TextTest(CliTest):
    def test_names_and_bytes(self):
        for text, encodings in NAMES.items():
            for codec, names in (encoding.split("=") for encoding in encodings.split()):
                for name in names.split(","):
                    self.convert("--from " + name, text.encode(codec), text.encode())

    def test_characters_across_pieces(self):
        for name, text in [("gbk", HANZI), ("big5", "繁體中文"), ("cp949", "안녕"), ("utf-8", "é中😀"),
                           ("utf-16-le", "a中"), ("utf-16-be", "é한"), ("cp1251", "Привет")]:
            for shift in range(4):  # in units or bytes: moves every character over the edge in turn
                long_text = "x" * shift + text * (3 * PIECE // len(text.encode(name)))
                self.convert(f"--from {name}", long_text.encode(name), long_text.encode())

    def test_marks_and_surrogates(self):
        mark, big, little = "\ufeff".encode(), b"\xfe\xff\0a", b"\xff\xfea\0"
        start = "x" * (PIECE // 2 - 1)  # the first pair straddles the piece edge
        pairs = (start + "😀𝄞").encode("utf-16-le")
        halves = (start + "\ud83d\ude00\ud834\udd1e").encode("utf-8", "surrogatepass")
        for options, data, *expected in [
            ("--from utf-8", mark + b"a", mark + b"a"), ("--from utf-16", big, mark + b"a"),
            ("--from utf-16 --to-utf8-bom", little, mark + b"a"), ("--from utf-8 --to-utf8-bom", b"a", mark + b"a"),
            ("--from 18 --strip-bom", little, b"a"), ("--to-utf8-bom", b"", b""), ("", little, mark + b"a"),
            ("--from utf-16le", big, b"\xef\xbf\xbe\xe6\x84\x80", "try --from utf-16be"),
            ("--from 18", pairs, (start + "😀𝄞").encode()), ("--join-surrogates", mark + b"a", mark + b"a"),
            ("--from 18 --keep-surrogates", pairs, halves, "not well-formed"),
            ("--from 2", halves, (start + "😀𝄞").encode(), f"offset {len(start)} (ED A0 BD ED B8 80)"),
        ]:
            self.convert(options, data, *expected)

    def test_lost_text_is_told(self):
        far = b"a" * (2 * PIECE + 1000)
        for name, data, *expected in [
            ("gbk", b"ab\xd6", b"ab", "offset 2 (D6)"), ("utf-16le", b"a\0b", b"a", "offset 2 (62)"),
            ("utf-8", far + b"\xe4\xb8", far, f"offset {len(far)} (E4 B8)"),
            ("big5", far + b"\xf9\xd6a", far + b"\xef\xbf\xbda", "became U+FFFD", f"{len(far)} (F9 D6)", "not complete"),
            ("cp1252", far + b"\x81z\x9d", far + b"z", "2 undefined bytes", f"{len(far)} (81), {len(far) + 2} (9D)"),
            ("utf-8", b"a\x80b\xe4cd", "a\ufffdb\ufffdcd".encode(), "2 sequences that are not UTF-8", "1 (80), 3 (E4)"),
            ("utf-8", b"\xc0\xafx", "\ufffdx".encode(), "offset 0 (C0 AF)"),
            ("utf-8", far + b"\xf4\x90\x80\x80", far + b"\xef\xbf\xbd", f"{len(far)} (F4 90 80 80)"),
            ("utf-16le", b"\x00\xd8a\0", "\ufffda".encode(), "1 surrogate half alone: offset 0 (00 D8)"),
            ("gbk", "中\U00020087".encode("gb18030"), None, "GB18030", "offset 2 (95 32"),
        ]:
            with self.subTest(name=name, expected=expected[1:]):
                write("in", data)
                output, messages = self.run_cli("convert", "--quiet", "--from", name, "in", code=1)
                self.assertTrue(expected[0] in (None, output), output)
                for fragment in expected[1:]:
                    self.assertIn(fragment, messages)
                self.assertNotIn("--from", messages)  # which was just given
                self.run_cli("convert", "--strict", "--in-place", "--from", name, "in", code=1)
                self.assertEqual(tree(), {"in": data})
        # A replacement character of the input is not a loss.
        self.convert("--from utf-8", "a\ufffd".encode(), "a\ufffd".encode())
        write("in", "😀".encode("utf-16-le"))
        self.run_cli("convert", "--strict", "--in-place", "--keep-surrogates", "--from", "18", "in", code=1)
        self.assertEqual(tree(), {"in": "😀".encode("utf-16-le")})

    def test_right_by_default(self):
        for name, language, codecs in [
            ("arabic", "ar", "cp1256 iso8859-6"), ("chinese_simplified", "zh", "gbk"), ("greek", "el", "cp1253"),
            ("chinese_traditional", "zh", "big5"), ("czech", "cs", "cp1250 iso8859-2"), ("korean", "ko", "cp949"),
            ("french", "fr", "cp1252 latin-1"), ("german", "de", "cp1252"), ("hebrew", "he", "cp1255"),
            ("icelandic", "is", "cp1252"), ("polish", "pl", "cp1250 iso8859-2"), ("russian", "ru", "cp1251 iso8859-5"),
            ("spanish", "es", "cp1252"), ("thai", "th", "cp874"), ("turkish", "tr", "cp1254"), ("welsh", "cy", "iso8859-14"),
            ("estonian", "et", "cp1257"), ("japanese", None, "utf-16-le utf-16-be utf-8"),
        ]:
            for codec in codecs.split():
                data = (TEXTS / f"{name}.txt").read_text().encode(codec, "ignore")
                write("in", data)
                with self.subTest(name=name, codec=codec):
                    output, _ = self.run_cli("convert", "in")
                    self.assertEqual(output, data.decode(codec).encode())
                    answer = json.loads(self.run_cli("detect", "--json", "in")[0])["files"][0]
                    self.assertEqual((answer["language"], answer["exitCode"]), (language, 0))
                    self.assertTrue(language is None or answer["readings"][0]["encoding"] == answer["encoding"])

    def test_not_converted(self):
        texts = {name: (TEXTS / f"{name}.txt").read_text() for name in ("japanese", "russian")}
        program = os.environ.get("ZUCHARSET_CLI")
        for data, named in [
            (texts["japanese"].encode("shift_jis", "ignore"), "Shift_JIS"), (texts["russian"].encode("koi8-r"), "KOI8-R"),
            (texts["japanese"].encode("euc-jp", "ignore"), "EUC-JP"), (texts["russian"].encode("cp866"), "CP866"),
            (texts["japanese"].encode("iso2022-jp", "ignore"), "ISO-2022-JP"), ("é".encode("utf-32"), "UTF-32LE"),
            (read(program)[:100000], "no text but a program"), (b"\x89PNG\r\n\x1a\n" + bytes(100), "PNG"),
            (b"\0\0\1\xba" + bytes(range(256)) * 20, "MPEG"),
        ]:
            write("in.sub", data)
            for arguments in (["--in-place", "in.sub"], ["-o", "out", "in.sub"], ["in.sub"]):
                output, messages = self.run_cli("convert", *arguments, code=5)
                self.assertEqual((tree(), output), ({"in.sub": data}, b""))
                self.assertIn(named, messages)
                self.assertRegex(messages, "no text but|'iconv -f [A-Z0-9_-]+ -t UTF-8'")
            output, messages = self.run_cli("in.sub")
            self.assertIn(named, output.decode())
            self.assertNotIn("To convert", output.decode())
            entry = json.loads(self.run_cli("convert", "--json", "--in-place", "in.sub", code=5)[0])["files"][0]
            self.assertEqual((entry["written"], entry["codeType"]), (False, None))
        self.run_cli("convert", "--from", "latin1", "-o", "out", "in.sub")
        self.assertEqual(read("out").decode(), data.decode("latin-1"))

    def test_hints(self):
        unsure = "è".encode("cp1252")
        for data, options, prefer, hint, *expected in [
            (unsure, "--prefer=it", "", "", "Windows-1252"), (unsure, "--prefer=windows-1251", "", "", "Windows-1251"),
            (unsure, "", "windows-1251", "", "Windows-1251"), (unsure, "--prefer=it", "windows-1251", "", "Windows-1252"),
            (CYRILLIC * 9, "--prefer=iso-8859-8", "", "--prefer iso-8859-8 was not followed: some bytes", "Windows-1251"),
            ((TEXTS / "greek.txt").read_text().encode("cp1253"), "", "cp1252", "ZUCHARSET_PREFER cp1252 was not", "Windows-1253"),
            (HANZI.encode(), "--prefer=cp1251", "", "", "UTF-8"),
        ]:
            write("in", data)
            for command in (["detect"], ["convert", "--force", "-o", "out"]):
                output, messages = self.run_cli(*command, *options.split(), "in", environment={"ZUCHARSET_PREFER": prefer})
                self.assertIn(hint, messages)
                self.assertTrue(expected[0] in output.decode().split(", perhaps")[0], output)
                self.assertEqual("not sure" in output.decode() and command[0] == "convert", "not sure: read as" in messages)
        for arguments, fragment in [("--prefer rusian", "did you mean Russian"), ("--from koi8-r", "iconv -f KOI8-R"),
                                    ("--from sjis", "iconv -f SHIFT_JIS"), ("--from gb18030", "iconv -f GB18030")]:
            self.assertIn(fragment, self.run_cli("convert", *arguments.split(), "in", code=2)[1])
        self.assertIn("ZUCHARSET_PREFER", self.run_cli("detect", "in", code=2, environment={"ZUCHARSET_PREFER": "x-y"})[1])

    def test_plain_answers(self):
        for data, *expected in [
            (HANZI.encode("gbk"), 20, "library", "text"), (HANZI.encode(), 2, "library", "text"), (b"hello", 8, "library", "ascii"),
            (b"", None, "nothing", "empty"), (b"hello\n", 30, "library", "ascii"), (CYRILLIC, 8, "library", "text"),
            (b"hello\0", 18, "library", "text"),
        ]:
            write("in.srt", data)
            answer = json.loads(self.run_cli("detect", "--json", "--plain", "in.srt")[0])["files"][0]
            self.assertEqual([answer["codeType"], answer["decidedBy"], answer["kind"]], expected, data)

    def test_answers_are_the_same_everywhere(self):
        font = random.Random(1)  # in ASCII, before the dialogue
        ass = b"[Fonts]\n" + b"".join(bytes(font.choices(range(33, 97), k=80)) + b"\n" for _ in range(20000))
        for text, codec in [(HANZI * 50, "gbk")]:
            write("in.ass", ass + text.encode(codec))
            for options in ([], ["--sample", "1K"]):
                output, _ = self.run_cli("convert", *options, "in.ass")
                self.assertTrue(output.endswith(text.encode()))
                line = self.run_cli("detect", *options, "in.ass")[0].decode()
                self.assertIn({"gbk": "GBK", "cp1250": "Windows-1250", "cp1251": "Windows-1251"}[codec], line)
                self.assertIn(line.split()[1], self.run_cli("explain", *options, "in.ass")[0].decode().splitlines()[-3])
        with self.start("detect", "--sample", "4K", "-", stdin=subprocess.PIPE, bufsize=0) as process:
            process.stdin.write(HANZI.encode("gbk") * 10000)  # and it stays open: only a bounded read can answer
            self.assertEqual(process.stdout.readline().split()[:2], [b"20", b"GBK"])
            process.stdin.close()

    def test_explain(self):
        russian = (TEXTS / "russian.txt").read_text()
        for data, options, *fragments in [
            (russian.encode("cp1251"), "", "No score reaches 66", "> Windows-1257  accepts", "refuses: undefined byte",
             "> Windows-1251 (Russian)\n", " costs ", "0xFF reads я in ", "The answer: Windows-1251 (Russian, sure)",
             "The library alone (--plain): Windows-1257", "To overrule it: zucharset convert --from"),
            (russian.encode("cp1251"), "--prefer el", "--prefer el was not followed"),
            (russian.encode("koi8-r"), "", "The answer: KOI8-R", "iconv -f KOI8-R"),
            (HANZI.encode("gbk") * 9, "", "> GBK ", "wins and names code type 20, GBK", HANZI, "GBK (Chinese, sure)"),
            (russian.encode("utf-16-le"), "", "units of 16 bits", "The answer: UTF-16LE"),
            (b"hello", "", "plain ASCII"), (b"", "", "empty file"), (b"\x7fELF" + bytes(200), "", "no text but a program"),
        ]:
            write("in", data)
            output = self.run_cli("explain", *options.split(), "in")[0].decode()
            for fragment in fragments:
                self.assertIn(fragment, output)
            for line in output.splitlines():  # the command it names works
                if line.startswith("To overrule it: zucharset ") and " NAME " not in line:
                    with self.start(*shlex.split(line.split("zucharset ")[1])) as process:
                        process.communicate()
                    self.assertIn(process.returncode, (0, 1))

    def test_list(self):
        entries = json.loads(self.run_cli("list", "--json")[0])
        text = self.run_cli("list")[0].decode()
        self.assertEqual([e["codeType"] for e in entries["encodings"] if e["converted"]], [*range(1, 31), 33])
        for entry in entries["encodings"]:
            self.assertIn(entry["encoding"], text)
            if entry["converted"]:
                for name in [entry["encoding"], *entry["aliases"]]:
                    self.run_cli("convert", "--from", name, data=b"")
        self.assertIn("lacks", text)
        for language in entries["languages"]:
            self.assertIn(f"{language['code']} {language['name']}", text)


if __name__ == "__main__":
    unittest.main()

# Tests of the zucharset command.
#
# ZUCHARSET_CLI names the program, ZUCHARSET_EMULATOR an optional command to run it with. Expected text comes from
# Python's own codecs.

import json
import os
import pty
import resource
import shlex
import signal
import stat
import subprocess
import tempfile
import time
import unittest
from pathlib import Path

CLI = shlex.split(os.environ.get("ZUCHARSET_EMULATOR", "")) + [os.environ.get("ZUCHARSET_CLI", "zucharset")]
PIECE = 64 * 1024
HANZI = "中文字幕，你好世界。"
CYRILLIC = "Привет".encode("cp1251")
NAMES = {  # text: Python's name for an encoding and the command's names
    HANZI: "gbk=gbk,CP936,20 gb2312=gb2312,euc-CN utf-8=UTF_8 utf-16-le=utf16le utf-16-be=ucs-2be",
    "繁體中文": "big5=big5,1 cp950=cp950", "안녕하세요": "euc-kr=euc-kr,ks_c_5601-1987 cp949=windows-949", "안똠": "cp949=uhc",
    "Привет": "cp1251=windows-1251,win1251 iso8859-5=iso-8859-5", "déjà ÿ": "latin-1=latin1,ISO8859_1,8859-1,l1",
    "déjà €": "cp1252=cp1252 iso8859-15=latin9", "łóżko": "iso8859-2=l2 cp1250=1250", "ภาษาไทย": "tis-620=tis-620",
    "ภาษาไทย€": "cp874=thai", "שלום": "hebrew=hebrew cp1255=cp1255", "Ελλάδα": "greek=greek cp1253=cp1253",
    "İstanbul ğ": "cp1254=cp1254 latin5=l5", "سلام": "cp1256=cp1256 arabic=arabic", "ąžuolas": "cp1257=cp1257",
    "đơn": "cp1258=cp1258", "é😀": "utf-8=utf8",
}


def write(name, data):
    Path(os.fsdecode(name)).write_bytes(data)


def read(name):
    return Path(name).read_bytes()


class CliTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        os.chdir(folder.name)

    def start(self, *arguments, **options):
        options = {"stdin": subprocess.DEVNULL, "stdout": subprocess.PIPE, "stderr": subprocess.PIPE, **options}
        return subprocess.Popen(CLI + list(arguments), **options)

    def run_cli(self, *arguments, code=0, data=None, **options):
        with self.start(*arguments, **({"stdin": subprocess.PIPE} if data is not None else {}), **options) as process:
            output, messages = process.communicate(data, timeout=120)
        self.assertEqual(process.returncode, code, messages)
        return output, (messages or b"").decode()

    def convert(self, options, data, expected, *fragments, code=0):
        with self.subTest(options=options, fragments=fragments):
            output, messages = self.run_cli("convert", *options.split(), "-", data=data, code=code)
            self.assertEqual(output, expected)
            for fragment in fragments:
                self.assertIn(fragment, messages)
            self.assertTrue(fragments or messages == "", messages)

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
        halves = (start + "\ud83d\ude00\ud834\udd1e").encode("utf-8", "surrogatepass")
        for options, data, *expected in [
            ("--from utf-8", mark + b"a", mark + b"a"), ("--from utf-16", big, mark + b"a"),
            ("--from utf-16 --to-utf8-bom", little, mark + b"a"), ("--from utf-8 --to-utf8-bom", b"a", mark + b"a"),
            ("--from 18 --strip-bom", little, b"a"), ("--to-utf8-bom", b"", b""),
            ("--from utf-16le", big, b"\xef\xbf\xbe\xe6\x84\x80", "try --from utf-16be"),
            ("--from 18", (start + "😀𝄞").encode("utf-16-le"), halves, "4 surrogate halves"),
            ("--from 18 --join-surrogates", (start + "😀𝄞").encode("utf-16-le"), (start + "😀𝄞").encode()),
        ]:
            self.convert(options, data, *expected)

    def test_lost_text_is_told(self):
        far = b"a" * (2 * PIECE + 1000)
        for name, data, *expected in [
            ("gbk", b"ab\xd6", b"ab", "offset 2: D6"), ("utf-16le", b"a\0b", b"a", "offset 2: 62"),
            ("utf-8", far + b"\xe4\xb8", far, f"offset {len(far)}: E4 B8"),
            ("big5", far + b"\xc8\x40a", far + b"\xef\xbf\xbda", "1 character became U+FFFD", f"{len(far)} (C8 40)"),
            ("cp1252", far + b"\x81z\x9d", far + b"z", "2 undefined bytes", f"{len(far)} (81), {len(far) + 2} (9D)"),
            ("utf-8", b"a\x80b\xe4cd", b"ab\xe4\xa3\xa4", "1 undefined byte", "1 (80)", "3 (E4 63 64)"),
        ]:
            self.convert("--quiet --from " + name, data, *expected, code=1)
        # A replacement character of the input is not a loss.
        self.convert("--from utf-8", "a\ufffd".encode(), "a\ufffd".encode())
        write("a.txt", b"ab\xd6")
        self.run_cli("convert", "--strict", "--in-place", "--from", "gbk", "a.txt", code=1)
        self.assertEqual((os.listdir(), read("a.txt")), (["a.txt"], b"ab\xd6"))

    def test_answers(self):
        for data, preferred, *expected in [
            (HANZI.encode("gbk"), "", 20, "library", False), (HANZI.encode(), "cp1251", 2, "library", False),
            ("\ufeffabc".encode("utf-16-le"), "cp1251", 18, "library", False), (b"", "", None, "nothing", False),
            (b"hello", "cp1251", 8, "library", True), (b"hello\n", "", 30, "library", True),
            (CYRILLIC, "cp1251", 22, "--prefer", False), (CYRILLIC + b"\x98", "cp1251,cp1256", 27, "--prefer", False),
        ]:
            write("in.srt", data)
            options = ["--prefer", preferred] if preferred else []
            answer = json.loads(self.run_cli("detect", "--json", *options, "in.srt")[0])["files"][0]
            self.assertEqual([answer["codeType"], answer["decidedBy"], answer["plainAscii"]], expected, data)

    def test_lines(self):
        write("a.srt", b"hello")
        write("b.srt", HANZI.encode("gbk"))
        output, messages = self.run_cli("detect", "a.srt", "missing", "b.srt", code=3)
        first, second = output.decode().splitlines()
        self.assertEqual((first.index("a.srt"), second.split()), (second.index("b.srt"), ["20", "GBK", "b.srt"]))
        self.assertIn("plain ASCII", first)
        self.assertIn("missing", messages)

    def test_samples(self):
        text = "x" * (3 * PIECE) + HANZI * 50  # decided at the first other byte
        self.convert("--sample 1K", text.encode("gbk"), text.encode())
        with self.start("detect", "--sample", "4K", "-", stdin=subprocess.PIPE, bufsize=0) as process:
            process.stdin.write(HANZI.encode("gbk") * 1000)  # and it stays open: only a bounded read can answer
            self.assertEqual(process.stdout.readline().split()[:2], [b"20", b"GBK"])
            process.stdin.close()

    def test_in_place_keeps_numbered_backups(self):
        write("movie.srt", CYRILLIC)
        os.chmod("movie.srt", 0o640)
        os.symlink("movie.srt", "link.srt")
        self.run_cli("convert", "--in-place", "--from", "cp1251", "link.srt", "movie.srt", code=4)  # once only
        self.assertEqual((read("movie.srt").decode(), os.path.islink("link.srt")), ("Привет", True))
        self.assertEqual(stat.S_IMODE(os.stat("movie.srt").st_mode), 0o640)
        self.run_cli("convert", "--in-place", "--from", "utf-8", "movie.srt")  # nothing to do, so no backup
        self.run_cli("convert", "--in-place", "--from", "latin1", "movie.srt")
        self.assertEqual(sorted(os.listdir()), ["link.srt", "movie.srt", "movie.srt.orig", "movie.srt.orig.1"])
        self.assertEqual((read("movie.srt.orig"), read("movie.srt.orig.1")), (CYRILLIC, "Привет".encode()))

    def test_folders(self):
        os.makedirs("in/sub")
        for name in ["in/a.srt", "in/sub/b.TXT", "in/c.jpg", "in/d.utf8.srt"]:
            write(name, b"\xe6")
        for arguments, outputs in [
            (["--out-dir", "in/out", "in"], ["in/out/a.srt", "in/out/d.utf8.srt", "in/out/sub/b.TXT"]),
            (["--suffix", ".utf8", "in/sub"], ["in/sub/b.utf8.TXT"]),
        ]:
            for code in (0, 4):  # its own results are no input of a second run
                output, _ = self.run_cli("convert", "-r", "--from", "cp1251", "--json", *arguments, code=code)
                files = json.loads(output)["files"]
                self.assertEqual([file["exitCode"] for file in files], [code] * len(outputs))
                self.assertTrue(code or [file["output"] for file in files] == outputs)
            self.assertEqual([read(output).decode() for output in outputs], ["ж"] * len(outputs))

    def test_file_names_in_json(self):
        for name, shown, exact in [(b'q"\\\n', 'q"\\\n', None), (b"\xd6\xd0.t", "\ufffd\ufffd.t", "D6 D0 2E 74")]:
            write(name, b"a")
            output, _ = self.run_cli("convert", "--json", "--from", "gbk", "-o", "out", "--force", name)
            entry = json.loads(output)["files"][0]
            self.assertEqual((entry["file"], entry.get("fileHex")), (shown, exact))

    def test_refusals(self):
        os.mkdir("sub")
        for name, data in [("a.txt", b"a"), ("sub/a.txt", b"a"), ("there.txt", b"old")]:
            write(name, data)
        for arguments, code, fragment in [
            ("--from gkb a.txt", 2, "GBK"), ("--from koi8-r a.txt", 2, "zucharset list"),
            ("--from 31 a.txt", 2, "unknown"), ("--prefer gbk a.txt", 2, "--from"), ("--json a.txt", 2, "-o"),
            ("a.txt sub/a.txt", 2, "--in-place"), ("--in-place -", 2, "name"),
            ("--strip-bom --to-utf8-bom a.txt", 2, "xclude"), ("missing.txt", 3, "check the name"),
            ("sub", 3, "--recursive"), ("-o there.txt a.txt", 4, "--force"), ("-o sub a.txt", 4, "folder"),
            ("-o a.txt --force a.txt", 4, "same file"), ("--from 2 --out-dir o a.txt sub/a.txt", 4, "another input"),
            ("-o there.txt/x a.txt", 4, "there.txt/x"), ("--out-dir there.txt a.txt", 4, "there.txt"),
        ]:
            self.assertIn(fragment, self.run_cli("convert", *arguments.split(), code=code)[1])
        self.assertEqual((read("a.txt"), read("there.txt")), (b"a", b"old"))
        with open("a.txt", "ab") as output:
            self.run_cli("convert", "a.txt", code=4, stdout=output)

    def test_no_space(self):
        write("a.txt", b"\xe9" * (4 * PIECE))
        with open("/dev/full", "wb") as full:
            for arguments in ["convert --from l1 a.txt", "list", "--help", "convert --from l1 -o /dev/full a.txt"]:
                self.assertIn("No space left", self.run_cli(*arguments.split(), code=4, stdout=full)[1])
        self.assertTrue(stat.S_ISCHR(os.stat("/dev/full").st_mode))
        limit = lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (PIECE, PIECE))
        self.run_cli("convert", "--in-place", "--from", "latin1", "a.txt", code=4, preexec_fn=limit)
        self.assertEqual((os.listdir(), read("a.txt")), (["a.txt"], b"\xe9" * (4 * PIECE)))

    def test_closed_pipe_and_file_that_shrinks(self):
        write("a.txt", b"a" * (400 * PIECE))
        with self.start("convert", "--from", "2", "a.txt") as process:
            process.stdout.close()
            self.assertIn(b"Broken pipe", process.stderr.read())
        self.assertEqual(process.returncode, 4)
        with self.start("convert", "--from", "2", "a.txt", bufsize=0) as process:
            start = process.stdout.read(1)  # the pipe fills up behind it, and the program waits
            os.truncate("a.txt", 200 * PIECE)
            output, messages = process.communicate(timeout=60)
        self.assertEqual((process.returncode, len(start + output)), (3, 200 * PIECE))
        self.assertIn(f"offset {200 * PIECE} of {400 * PIECE}".encode(), messages)

    def test_interrupts(self):
        os.mkfifo("fifo")
        write("out.txt", b"old")
        for number in (signal.SIGINT, signal.SIGTERM):
            with self.start("convert", "--from", "2", "-o", "out.txt", "--force", "fifo") as process:
                with open("fifo", "wb", buffering=0) as fifo:
                    fifo.write(b"new")
                    while len(os.listdir()) < 3 and process.poll() is None:
                        time.sleep(0.01)
                    process.send_signal(number)
                    process.communicate(timeout=60)
            self.assertEqual((process.returncode, read("out.txt")), (128 + number, b"old"))
            self.assertEqual(sorted(os.listdir()), ["fifo", "out.txt"])

    def test_short_reads_and_progress_only_on_a_terminal(self):
        os.mkfifo("fifo")
        for reader, writer in (pty.openpty(), os.pipe()):
            with self.start("convert", "--from", "18", "-o", "out", "--force", "fifo", stderr=writer) as process:
                with open("fifo", "wb", buffering=0) as fifo:
                    fifo.write(b"\xe9\0\x2d")  # half a unit
                    time.sleep(0.8)
                    fifo.write(b"\x4e")
                process.communicate(timeout=60)
            self.assertEqual((process.returncode, read("out")), (0, "é中".encode()))
            is_terminal = os.isatty(writer)
            os.write(writer, b"\n")  # so that there is something to read
            self.assertEqual(b"\r" in os.read(reader, 1000).replace(b"\r\n", b"\n"), is_terminal)
            os.close(writer)
            os.close(reader)


if __name__ == "__main__":
    unittest.main()

"""Tests of the zucharset command.

ZUCHARSET_CLI names the program, ZUCHARSET_EMULATOR an optional command to run it with. Expected text comes from
Python's own codecs.
"""

import json
import os
import pty
import resource
import shlex
import signal
import stat
import struct
import subprocess
import tempfile
import time
import unittest

CLI = shlex.split(os.environ.get("ZUCHARSET_EMULATOR", "")) + [os.environ.get("ZUCHARSET_CLI", "zucharset")]
PIECE = 64 * 1024
HANZI = "中文字幕，你好世界。"


class CliTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.dir = os.fsencode(folder.name)

    def path(self, name):
        return os.path.join(self.dir, os.fsencode(name))

    def write(self, name, data):
        os.makedirs(os.path.dirname(self.path(name)), exist_ok=True)
        with open(self.path(name), "wb") as file:
            file.write(data)
        return self.path(name)

    def read(self, name):
        with open(self.path(name), "rb") as file:
            return file.read()

    def start(self, *arguments, **options):
        options = {"stdin": subprocess.DEVNULL, "stdout": subprocess.PIPE, "stderr": subprocess.PIPE, **options}
        return subprocess.Popen(CLI + list(arguments), cwd=self.dir, **options)

    def run_cli(self, *arguments, code=0, data=None, **options):
        if data is not None:
            options["stdin"] = subprocess.PIPE
        with self.start(*arguments, **options) as process:
            output, messages = process.communicate(data, timeout=120)
        messages = (messages or b"").decode()
        self.assertEqual(process.returncode, code, messages)
        return output, messages

    def wait_for(self, condition):
        deadline = time.monotonic() + 60
        while not condition():
            self.assertLess(time.monotonic(), deadline, "gave up waiting")
            time.sleep(0.01)


class Conversion(CliTest):
    def test_names_and_bytes(self):
        latin, greek, hebrew, thai = "déjà vu ÿ", "Ελλάδα", "שלום", "ภาษาไทย"
        cyrillic, polish, korean = "Привет", "łóżko", "안녕하세요"
        table = [
            ("gbk", "gbk", HANZI), ("CP936", "gbk", HANZI), ("gb2312", "gb2312", HANZI), ("euc-CN", "gb2312", HANZI),
            ("20", "gbk", HANZI), ("big5", "big5", "繁體中文"), ("cp950", "cp950", "繁體中文"),
            ("euc-kr", "euc-kr", korean), ("ks_c_5601-1987", "euc-kr", korean), ("uhc", "cp949", korean + "똠"),
            ("Windows 949", "cp949", korean), ("windows-1251", "cp1251", cyrillic), ("win1251", "cp1251", cyrillic),
            ("iso-8859-5", "iso8859-5", cyrillic), ("latin1", "latin-1", latin), ("ISO8859_1", "latin-1", latin),
            ("8859-1", "latin-1", latin), ("l1", "latin-1", latin), ("cp1252", "cp1252", latin + "€"),
            ("latin9", "iso8859-15", latin + "€"), ("l2", "iso8859-2", polish), ("1250", "cp1250", polish),
            ("tis-620", "tis-620", thai), ("thai", "cp874", thai + "€"), ("hebrew", "hebrew", hebrew),
            ("cp1255", "cp1255", hebrew), ("greek", "greek", greek), ("cp1253", "cp1253", greek),
            ("cp1254", "cp1254", "İstanbul ğ"), ("l5", "latin5", "İstanbul ğ"), ("cp1256", "cp1256", "سلام"),
            ("arabic", "arabic", "سلام"), ("cp1257", "cp1257", "ąžuolas"), ("cp1258", "cp1258", "đơn"),
            ("UTF 8", "utf-8", HANZI + "😀"), ("utf16le", "utf-16-le", HANZI), ("ucs-2be", "utf-16-be", HANZI),
        ]
        for name, codec, text in table:
            with self.subTest(name=name):
                output, _ = self.run_cli("convert", "--from", name, "-", data=text.encode(codec))
                self.assertEqual(output.decode(), text)

    def test_characters_across_pieces(self):
        for name, text in [("gbk", HANZI), ("big5", "繁體中文"), ("cp949", "안녕"), ("utf-8", "é中😀"),
                           ("utf-16-le", "a中"), ("utf-16-be", "é한"), ("cp1251", "Привет")]:
            for shift in range(4):
                # A shift of 16-bit units or bytes moves every character over the edge in turn.
                long_text = "x" * shift + text * (3 * PIECE // len(text.encode(name)))
                with self.subTest(name=name, shift=shift):
                    source = self.write("long.txt", long_text.encode(name))
                    self.run_cli("convert", "--from", name, "-o", "out.txt", "--force", source)
                    self.assertEqual(self.read("out.txt").decode(), long_text)

    def test_slow_stream_of_odd_parts(self):
        data = (HANZI * 40).encode("utf-16-le")
        with self.start("convert", "--from", "utf-16le", "-", stdin=subprocess.PIPE) as process:
            for start in range(0, len(data), 7):
                process.stdin.write(data[start:start + 7])
                process.stdin.flush()
            output, _ = process.communicate(timeout=60)
        self.assertEqual(output.decode(), HANZI * 40)

    def test_byte_order_marks(self):
        mark = "\ufeff"
        for source, options, expected in [
            ((mark + "a").encode("utf-8"), ["--from", "utf-8"], mark + "a"),
            ((mark + "a").encode("utf-16-be"), ["--from", "utf-16"], mark + "a"),
            ((mark + "a").encode("utf-16-le"), ["--from", "utf-16", "--to-utf8-bom"], mark + "a"),
            (b"a", ["--from", "utf-8", "--to-utf8-bom"], mark + "a"),
            ((mark + "a").encode("utf-16-le"), ["--from", "18", "--strip-bom"], "a"),
            (b"", ["--to-utf8-bom"], ""),
        ]:
            with self.subTest(source=source, options=options):
                self.assertEqual(self.run_cli("convert", *options, "-", data=source)[0].decode(), expected)
        _, messages = self.run_cli("convert", "--from", "utf-16le", "-", data=(mark + "a").encode("utf-16-be"))
        self.assertIn("try --from utf-16be", messages)

    def test_surrogate_pairs(self):
        text = "x" * (PIECE // 2 - 1) + "😀𝄞"  # the first pair straddles the piece edge
        data = text.encode("utf-16-le")
        halves = "".join(map(chr, struct.unpack(f"<{len(data) // 2}H", data)))
        output, messages = self.run_cli("convert", "--from", "18", "-", data=data)
        self.assertEqual(output, halves.encode("utf-8", "surrogatepass"))
        self.assertIn("4 surrogate halves", messages)
        output, messages = self.run_cli("convert", "--from", "18", "--join-surrogates", "-", data=data)
        self.assertEqual((output.decode(), messages), (text, ""))

    def test_lost_text_is_told(self):
        far = b"a" * (2 * PIECE + 1000)
        for name, data, expected, fragments in [
            ("gbk", b"ab\xd6", b"ab", ["offset 2: D6"]),
            ("utf-8", far + b"\xe4\xb8", far, [f"offset {len(far)}: E4 B8"]),
            ("utf-16le", b"a\0b", b"a", ["offset 2: 62"]),
            ("big5", far + b"\xc8\x40a", far + b"\xef\xbf\xbda", ["1 character became U+FFFD", f"{len(far)} (C8 40)"]),
            ("cp1252", far + b"\x81z\x9d", far + b"z", ["2 undefined bytes", f"{len(far)} (81), {len(far) + 2} (9D)"]),
            ("utf-8", b"a\x80b\xe4cd", b"ab\xe4\xa3\xa4", ["1 undefined byte", "1 (80)", "3 (E4 63 64)"]),
        ]:
            with self.subTest(name=name, fragments=fragments):
                output, messages = self.run_cli("convert", "--quiet", "--from", name, "-", data=data, code=1)
                self.assertEqual(output, expected)
                for fragment in fragments:
                    self.assertIn(fragment, messages)
        # A replacement character of the input is not a loss.
        self.assertEqual(self.run_cli("convert", "--from", "utf-8", "-", data="a\ufffd".encode())[1], "")

    def test_strict_writes_nothing(self):
        source = self.write("a.txt", b"ab\xd6")
        self.run_cli("convert", "--strict", "--in-place", "--from", "gbk", source, code=1)
        self.assertEqual((os.listdir(self.dir), self.read("a.txt")), ([b"a.txt"], b"ab\xd6"))


class Detection(CliTest):
    def detect(self, data, *options):
        source = self.write("in.srt", data)
        return json.loads(self.run_cli("detect", "--json", *options, source)[0])["files"][0]

    def test_answers(self):
        cyrillic = "Привет, мир".encode("cp1251")
        for data, options, code_type, decided_by, ascii_only in [
            (HANZI.encode("gbk"), [], 20, "library", False),
            (HANZI.encode("utf-8"), ["--prefer", "cp1251"], 2, "library", False),
            ("\ufeffabc".encode("utf-16-le"), ["--prefer", "cp1251"], 18, "library", False),
            (b"hello", ["--prefer", "cp1251"], 8, "library", True),
            (b"hello\n", [], 30, "library", True),
            (cyrillic, ["--prefer", "cp1251"], 22, "--prefer", False),
            (cyrillic + b"\x98", ["--prefer", "cp1251,cp1256"], 27, "--prefer", False),
            (b"", [], None, "nothing", False),
        ]:
            with self.subTest(data=data):
                answer = self.detect(data, *options)
                found = (answer["codeType"], answer["decidedBy"], answer["plainAscii"])
                self.assertEqual(found, (code_type, decided_by, ascii_only))

    def test_lines(self):
        self.write("a.srt", b"hello")
        self.write("b.srt", HANZI.encode("gbk"))
        output, messages = self.run_cli("detect", "a.srt", "missing", "b.srt", code=3)
        first, second = output.decode().splitlines()
        self.assertEqual((first.index("a.srt"), second.split()), (second.index("b.srt"), ["20", "GBK", "b.srt"]))
        self.assertIn("plain ASCII", first)
        self.assertIn("missing", messages)

    def test_convert_decides_at_the_first_other_byte(self):
        text = "x" * (3 * PIECE) + HANZI * 50
        output, _ = self.run_cli("convert", "--sample", "1K", "-", data=text.encode("gbk"))
        self.assertEqual(output.decode(), text)

    def test_sample_limits_what_is_read(self):
        with self.start("detect", "--sample", "4K", "-", stdin=subprocess.PIPE) as process:
            process.stdin.write(HANZI.encode("gbk") * 1000)
            process.stdin.flush()  # and it stays open: only a bounded read can answer
            self.assertEqual(process.stdout.readline().split()[:2], [b"20", b"GBK"])
            process.stdin.close()


class Files(CliTest):
    def test_in_place_keeps_numbered_backups(self):
        source = self.write("movie.srt", "Привет".encode("cp1251"))
        os.chmod(source, 0o640)
        os.symlink(b"movie.srt", self.path("link.srt"))
        self.run_cli("convert", "--in-place", "--from", "cp1251", "link.srt", "movie.srt", code=4)  # once only
        self.assertEqual((self.read("movie.srt").decode(), os.path.islink(self.path("link.srt"))), ("Привет", True))
        self.assertEqual(stat.S_IMODE(os.stat(source).st_mode), 0o640)
        self.run_cli("convert", "--in-place", "--from", "utf-8", source)  # nothing to do, so no backup
        self.run_cli("convert", "--in-place", "--from", "latin1", source)
        self.assertEqual(sorted(os.listdir(self.dir)),
                         [b"link.srt", b"movie.srt", b"movie.srt.orig", b"movie.srt.orig.1"])
        self.assertEqual(self.read("movie.srt.orig"), "Привет".encode("cp1251"))
        self.assertEqual(self.read("movie.srt.orig.1"), "Привет".encode())

    def test_folders(self):
        for name in ["in/a.srt", "in/sub/b.TXT", "in/c.jpg", "in/d.utf8.srt"]:
            self.write(name, "ж".encode("cp1251"))
        for arguments, outputs in [
            (["--out-dir", "in/out", "in"], ["in/out/a.srt", "in/out/d.utf8.srt", "in/out/sub/b.TXT"]),
            (["--suffix", ".utf8", "in/sub"], ["in/sub/b.utf8.TXT"]),
        ]:
            command = ["convert", "-r", "--from", "cp1251", "--json", *arguments]
            report = json.loads(self.run_cli(*command)[0])
            self.assertEqual([file["output"] for file in report["files"]], outputs)
            self.assertEqual([self.read(output).decode() for output in outputs], ["ж"] * len(outputs))
            # Its own results are no input of a second run.
            again = json.loads(self.run_cli(*command, code=4)[0])
            self.assertEqual([file["exitCode"] for file in again["files"]], [4] * len(outputs))

    def test_file_names_in_json(self):
        for name, shown, exact in [(b'q"\\\n', 'q"\\\n', None), (b"\xd6\xd0.t", "\ufffd\ufffd.t", "D6 D0 2E 74")]:
            self.write(name, b"a")
            output, _ = self.run_cli("convert", "--json", "--from", "gbk", "-o", "out", "--force", name)
            entry = json.loads(output)["files"][0]
            self.assertEqual((entry["file"], entry.get("fileHex")), (shown, exact))

    def test_refusals(self):
        self.write("a.txt", b"a")
        self.write("sub/a.txt", b"a")
        self.write("there.txt", b"old")
        for arguments, code, fragment in [
            (["--from", "gkb", "a.txt"], 2, "GBK"), (["--from", "koi8-r", "a.txt"], 2, "zucharset list"),
            (["--from", "31", "a.txt"], 2, "unknown"), (["--prefer", "gbk", "a.txt"], 2, "--from"),
            (["a.txt", "sub/a.txt"], 2, "--in-place"), (["--json", "a.txt"], 2, "-o"), (["--in-place", "-"], 2, "name"),
            (["--strip-bom", "--to-utf8-bom", "a.txt"], 2, "xclude"), (["missing.txt"], 3, "check the name"),
            (["sub"], 3, "--recursive"), (["-o", "there.txt", "a.txt"], 4, "--force"),
            (["-o", "a.txt", "--force", "a.txt"], 4, "same file"), (["-o", "sub", "a.txt"], 4, "folder"),
            (["--from", "2", "--out-dir", "o", "a.txt", "sub/a.txt"], 4, "another input"),
            (["-o", "there.txt/x", "a.txt"], 4, "there.txt/x"), (["--out-dir", "there.txt", "a.txt"], 4, "there.txt"),
        ]:
            with self.subTest(arguments=arguments):
                self.assertIn(fragment, self.run_cli("convert", *arguments, code=code)[1])
        self.assertEqual((self.read("a.txt"), self.read("there.txt")), (b"a", b"old"))
        with open(self.path("a.txt"), "ab") as output:
            self.run_cli("convert", "a.txt", code=4, stdout=output)


class Trouble(CliTest):
    def test_full_device(self):
        source = self.write("a.txt", b"a" * PIECE)
        with open("/dev/full", "wb") as full:
            for arguments in [["convert", "--from", "2", source], ["list"], ["--help"]]:
                self.assertIn("No space left", self.run_cli(*arguments, code=4, stdout=full)[1])
        self.assertIn("No space left", self.run_cli("convert", "--from", "2", "-o", "/dev/full", source, code=4)[1])
        self.assertTrue(stat.S_ISCHR(os.stat("/dev/full").st_mode))

    def test_failed_write_leaves_nothing_behind(self):
        source = self.write("a.txt", b"\xe9" * (4 * PIECE))
        limit = lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (PIECE, PIECE))
        self.run_cli("convert", "--in-place", "--from", "latin1", source, code=4, preexec_fn=limit)
        self.assertEqual((os.listdir(self.dir), self.read("a.txt")), ([b"a.txt"], b"\xe9" * (4 * PIECE)))

    def test_closed_pipe(self):
        source = self.write("a.txt", b"a" * (40 * PIECE))
        with self.start("convert", "--from", "2", source) as process:
            process.stdout.close()
            self.assertIn(b"Broken pipe", process.stderr.read())
        self.assertEqual(process.returncode, 4)

    def test_file_that_shrinks(self):
        source = self.write("a.txt", b"a" * (400 * PIECE))
        with self.start("convert", "--from", "2", source, bufsize=0) as process:
            start = process.stdout.read(1)  # the pipe fills up behind it, and the program waits
            os.truncate(source, 200 * PIECE)
            output, messages = process.communicate(timeout=60)
        self.assertEqual((process.returncode, len(start + output)), (3, 200 * PIECE))
        self.assertIn(f"offset {200 * PIECE} of {400 * PIECE}".encode(), messages)

    def test_interrupt(self):
        for number in (signal.SIGINT, signal.SIGTERM):
            self.write("out.txt", b"old")
            os.mkfifo(self.path("fifo"))
            with self.start("convert", "--from", "2", "-o", "out.txt", "--force", "fifo") as process:
                with open(self.path("fifo"), "wb") as fifo:
                    fifo.write(b"new")
                    fifo.flush()
                    self.wait_for(lambda: len(os.listdir(self.dir)) == 3)
                    process.send_signal(number)
                    process.communicate(timeout=60)
            self.assertEqual(process.returncode, 128 + number)
            self.assertEqual((sorted(os.listdir(self.dir)), self.read("out.txt")), ([b"fifo", b"out.txt"], b"old"))
            os.unlink(self.path("fifo"))

    def test_progress_only_on_a_terminal(self):
        for terminal in (True, False):
            reader, writer = pty.openpty() if terminal else os.pipe()
            os.mkfifo(self.path("fifo"))
            with self.start("convert", "--from", "2", "-o", "out.txt", "--force", "fifo", stderr=writer) as process:
                with open(self.path("fifo"), "wb", buffering=0) as fifo:
                    fifo.write(b"a" * 10)
                    time.sleep(0.8)
                    fifo.write(b"a" * 10)
                process.wait(60)
            self.assertEqual(process.returncode, 0)
            if terminal:
                self.assertIn(b"\r", os.read(reader, 1000))
            os.close(writer)
            if not terminal:
                self.assertEqual(os.read(reader, 1000), b"")
            os.close(reader)
            os.unlink(self.path("fifo"))


if __name__ == "__main__":
    unittest.main()

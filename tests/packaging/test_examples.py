"""The example programs against Python's codecs. Argument: the build folder."""

import os
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
BUILD = Path(sys.argv.pop(1)).resolve()
EXAMPLES, SAMPLES = ROOT / "examples", ROOT / "samples/subtitles"
CODECS = {"ascii": "ascii", "big5": "big5", "cp949": "cp949", "gbk": "gbk", "utf16be": "utf-16-be", "utf16le": "utf-16",
          "utf8": "utf-8", "cp1251": "cp1251", "cp1252": "cp1252", "cp1256": "cp1256", "cp874": "cp874",
          "iso8859-7": "iso8859-7"}


def run(name, *arguments):
    command = [*os.environ.get("ZUCHARSET_EMULATOR", "").split(), BUILD / "examples" / name, *arguments]
    return subprocess.run([str(part) for part in command], capture_output=True)


def timed_lines(text):
    """The cues of a subtitle file, one a line."""
    cues = []
    for cue in re.split(r"\n\s*\n", text.replace("\r\n", "\n").strip("\ufeff\n")):
        _, times, *lines = cue.split("\n")
        cues.append(times.replace(",", ".").replace(" --> ", " ") + " " + " | ".join(lines) + "\n")
    return "".join(cues)


class Examples(unittest.TestCase):
    def test_dlopen_host(self):
        for name in ("gbk", "big5", "cp949", "utf8", "utf16be"):
            with self.subTest(name=name):
                done = run("dlopen_host", BUILD / "libzucharset.so", SAMPLES / f"{name}.srt")
                self.assertEqual(done.returncode, 0, done.stderr)
                text = (SAMPLES / f"{name}.srt").read_bytes().decode(CODECS[name])
                self.assertEqual(done.stdout.decode(), text)

    def test_dlopen_host_in_blocks(self):
        """A text of several blocks whose borders fall inside characters."""
        text = "x" + "重庆，凌晨四点十七分。\n" * 20000
        with tempfile.NamedTemporaryFile() as file:
            file.write(text.encode("gbk") + b"\xb0")
            file.flush()
            done = run("dlopen_host", BUILD / "libzucharset.so", file.name)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(done.stdout.decode(), text)
        self.assertIn(b"ends inside a character: 1 bytes left over", done.stderr)

    def test_dlopen_host_without_library(self):
        self.assertEqual(run("dlopen_host", BUILD / "nothing.so", SAMPLES / "gbk.srt").returncode, 1)

    def test_timed_lines(self):
        for name, codec in CODECS.items():
            with self.subTest(name=name):
                path = SAMPLES / f"{name}.srt"
                done = run("timed_lines", path)
                self.assertEqual(done.returncode, 0, done.stderr)
                self.assertEqual(done.stdout.decode(), timed_lines(path.read_bytes().decode(codec)))

    def test_timed_lines_beyond_the_basic_plane(self):
        cue = "1\n00:00:01,000 --> 00:00:02,500\nA cat: \U0001F408 and \U00020BB7\n"
        for codec in ("utf-16-le", "utf-16-be"):
            with self.subTest(codec=codec), tempfile.NamedTemporaryFile() as file:
                file.write(cue.encode(codec))
                file.flush()
                done = run("timed_lines", file.name)
                self.assertEqual(done.stdout.decode(), "00:00:01.000 00:00:02.500 A cat: \U0001F408 and \U00020BB7\n")

    def test_timed_lines_refuses(self):
        self.assertEqual(run("timed_lines", SAMPLES / "gbk.srt", "klingon").returncode, 2)
        self.assertIn(b"KOI8-R", run("timed_lines", SAMPLES / "gbk.srt", "koi8-r").stderr)
        self.assertEqual(run("timed_lines", SAMPLES / "no such file").returncode, 1)
        self.assertEqual(run("timed_lines").returncode, 2)


if __name__ == "__main__":
    unittest.main()

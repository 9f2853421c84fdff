"""Real players show subtitles of any encoding as they show the same text in UTF-8. Argument: the build folder.

The commands are those of docs/players.md, word for word. Needs mpv, ffmpeg, GStreamer, VLC and a font for Chinese and
Korean; no screen.
"""

import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from mpv import Mpv

ROOT = Path(__file__).resolve().parents[2]
SAMPLES = ROOT / "samples/subtitles"
# Sample, its codec, and its encoding and language as the command names them.
GARBLED = {"gbk": ("gbk", "GBK", "Chinese"), "cp1251": ("cp1251", "Windows-1251", "Russian"),
           "cp949": ("cp949", "CP949", "Korean")}
LENGTH = 23  # of the video, in seconds
# A command that only copies: what a player makes of a text without help.
COPYING = """#!/bin/sh
for word; do
    case $word in --output=*) exec >"${word#--output=}" ;; esac
done
exec cat "$word"
"""
# VLC refuses to run as root.
AS_NOBODY = """#!/bin/sh
exec setpriv --reuid=65534 --regid=65534 --clear-groups env HOME="$PWD" /usr/bin/cvlc "$@"
"""


def run(*command, **options):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, timeout=120,
                          **{"input": b"", **options}).stdout


def garbled(name):
    return (SAMPLES / f"{name}.srt").read_bytes()


def in_utf8(name):
    return garbled(name).decode(GARBLED[name][0]).encode()


def cues(name):
    """The middles of those that the video has in full, in seconds."""
    times = re.findall(r"00:00:(\d\d),(\d{3}) --> 00:00:(\d\d),(\d{3})", in_utf8(name).decode())
    return [(int(a + b) + int(c + d)) / 2000 for a, b, c, d in times if int(c) < LENGTH]


def recipes():
    """The blocks of commands of the document, by the heading above them."""
    found = {}
    for part in (ROOT / "docs/players.md").read_text().split("\n## ")[1:]:
        heading, _, body = part.partition("\n")
        found[heading] = re.findall(r"^```sh\n(.*?)^```", body, re.M | re.S)
    return found


def pictures(video, *options):
    """A digest of each picture of a video."""
    lines = run("ffmpeg", "-v", "error", "-i", video.name, *options, "-map", "0:v", "-f", "framemd5", "-",
                cwd=video.parent).decode()
    return [line.split(",")[-1].strip() for line in lines.splitlines() if not line.startswith("#")]


class Players(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.scratch = Path(tempfile.mkdtemp(prefix="zucharset-players-"))
        cls.addClassCleanup(shutil.rmtree, cls.scratch)
        cls.scratch.chmod(0o755)
        cls.movie = cls.scratch / "movie.mkv"
        run("ffmpeg", "-v", "error", "-f", "lavfi", "-i", f"color=gray:size=640x360:rate=5:duration={LENGTH}", "-c:v",
            "mjpeg", cls.movie)
        programs = {"copying": {"zucharset": COPYING}, "root": {"cvlc": AS_NOBODY} if os.geteuid() == 0 else {}}
        for folder, files in programs.items():
            (cls.scratch / folder).mkdir()
            for name, text in files.items():
                (cls.scratch / folder / name).write_text(text)
                (cls.scratch / folder / name).chmod(0o755)

    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(dir=self.scratch))
        self.folder.chmod(0o777)

    def environment(self, first):
        return {**os.environ, "PATH": f"{self.scratch / 'root'}:{first}:{os.environ['PATH']}", "LC_ALL": "C.UTF-8"}


class Recipes(Players):
    def play(self, recipe, text, product, options=(), command=None):
        """The pictures that a recipe leads to, none where the player gives up."""
        shutil.copy(self.movie, self.folder)
        shutil.copytree(ROOT / "examples", self.folder / "examples")
        (self.folder / "movie.srt").write_bytes(text)
        done = subprocess.run(["bash", "-euo", "pipefail", "-c", recipe], cwd=self.folder, capture_output=True,
                              env=self.environment(command or BUILD), stdin=subprocess.DEVNULL, timeout=120)
        result = pictures(self.folder / product, *options) if done.returncode == 0 else []
        for path in self.folder.iterdir():
            shutil.rmtree(path) if path.is_dir() else path.unlink()
        return result

    def compare(self, recipe, product, options=()):
        for name in GARBLED:
            with self.subTest(recipe=recipe, name=name):
                plain = self.play(recipe, in_utf8(name), product, options, self.scratch / "copying")
                self.assertGreater(len(set(plain)), len(cues(name)), "lines are not to be seen")
                self.assertEqual(self.play(recipe, garbled(name), product, options), plain)
                self.assertNotEqual(self.play(recipe, garbled(name), product, options, self.scratch / "copying"), plain)

    def test_ffmpeg(self):
        from_file, from_pipe, by_script = recipes()["ffmpeg"]
        self.compare(from_file, "burned.mkv")
        self.compare(from_pipe, "with-track.mkv", ["-vf", "subtitles=with-track.mkv"])
        self.compare(by_script, "burned.mkv")

    def test_gstreamer(self):
        [recipe] = recipes()["GStreamer"]
        self.compare(recipe, "burned.mkv")

    def test_vlc(self):
        [recipe] = recipes()["VLC"]
        recipe = recipe.replace("vcodec=h264", "vcodec=h264,venc=x264{qp=0}")  # without loss, thus to be compared
        for name in GARBLED:
            with self.subTest(name=name):
                def shown(text, command, tries=8):
                    """VLC may run ahead of the subtitles and leave some out: the pictures of a few tries."""
                    found = set()
                    while tries > 0 and len(found) <= len(cues(name)):
                        found |= set(self.play(recipe, text, "burned.ts", (), command))
                        tries -= 1
                    return found

                plain = shown(in_utf8(name), self.scratch / "copying")
                self.assertEqual(len(plain), 1 + len(cues(name)))
                self.assertEqual(shown(garbled(name), BUILD), plain)
                self.assertLessEqual(len(shown(garbled(name), self.scratch / "copying", 1) & plain), 1)


class PlaySubtitles(Players):
    SCRIPT = ROOT / "examples/play-subtitles.sh"

    def ass(self, name):
        """The first lines of a sample in a style of their own."""
        run("ffmpeg", "-v", "error", "-i", "-", "made.ass", cwd=self.folder, input=in_utf8(name))
        made = self.folder / "made.ass"
        return re.sub(r"^Style: Default,[^,]*,\d+,&Hffffff", "Style: Default,DejaVu Sans,28,&H00ff00", made.read_text(),
                      flags=re.M | re.I)

    def burn(self, *arguments, script=SCRIPT, path=None, expect=0):
        output = self.folder / "it's burned.mkv"
        done = subprocess.run([script, *arguments[:-2], *(self.folder / name for name in arguments[-2:]), output],
                              capture_output=True, text=True, stdin=subprocess.DEVNULL, timeout=120,
                              env={**self.environment(BUILD), **({"PATH": path} if path else {})})
        self.assertEqual(done.returncode, expect, done.stderr)
        return pictures(output) if output.exists() else None, done.stderr

    def test_ass_and_options(self):
        text = self.ass("cp1251")
        shutil.copy(self.movie, self.folder / "it's a video.mkv")
        (self.folder / "utf8.ass").write_text(text)
        run("ffmpeg", "-v", "error", "-i", self.movie, "-vf", "subtitles=utf8.ass", "plain.mkv", cwd=self.folder)
        plain = pictures(self.folder / "plain.mkv")
        self.assertGreater(len(set(plain)), len(cues("cp1251")))
        (self.folder / "its.ASS").write_bytes(text.encode("cp1251"))
        for options in ([], ["--from", "windows-1251"], ["--prefer=ru"]):
            with self.subTest(options=options):
                self.assertEqual(self.burn(*options, "it's a video.mkv", "its.ASS")[0], plain)
        self.assertNotEqual(self.burn("--from=windows-1253", "it's a video.mkv", "its.ASS")[0], plain)

    def test_finds_the_command(self):
        """Beside itself, where there is none on the PATH."""
        shutil.copy(self.movie, self.folder)
        (self.folder / "movie.srt").write_bytes(garbled("gbk"))
        script = self.folder / "play-subtitles.sh"
        shutil.copy(self.SCRIPT, script)
        others = self.folder / "programs"
        others.mkdir()
        for program in ("bash", "dirname", "mktemp", "sed", "tr", "rm", "ffmpeg"):
            (others / program).symlink_to(shutil.which(program))
        produced, message = self.burn("movie.mkv", "movie.srt", script=script, path=str(others), expect=1)
        self.assertIsNone(produced)
        self.assertIn("the zucharset command is missing", message)
        (self.folder / "zucharset").symlink_to(BUILD / "zucharset")
        self.assertTrue(self.burn("movie.mkv", "movie.srt", script=script, path=str(others))[0])

    def test_refusals(self):
        shutil.copy(self.movie, self.folder)
        (self.folder / "movie.srt").write_bytes(garbled("gbk"))
        for arguments, code, words in ((["--form=gbk", "movie.mkv", "movie.srt"], 2, "unknown option --form=gbk"),
                                       (["--from=gkb", "movie.mkv", "movie.srt"], 2, "gkb"),
                                       (["movie.mkv", "none.srt"], 3, "none.srt")):
            with self.subTest(arguments=arguments):
                produced, message = self.burn(*arguments, expect=code)
                self.assertIsNone(produced)
                self.assertIn(words, message)


class MpvScript(Players):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        # As the document says to install it.
        cls.home = cls.scratch / "home"
        run("bash", "-euc", recipes()["mpv"][0], cwd=ROOT, env={**os.environ, "HOME": str(cls.home)})

    def setUp(self):
        super().setUp()
        self.videos, self.private = self.folder / "videos", self.folder / "private"
        for folder in (self.videos, self.private):
            folder.mkdir(mode=0o700)
        self.movie = shutil.copy(self.movie, self.videos)

    def mpv(self, *arguments, helped=True):
        """mpv whose own guess is wrong in any case."""
        return Mpv(self.folder, "--sub-codepage=+latin1", *arguments,
                   env={**self.environment(BUILD), "HOME": str(self.home if helped else self.folder),
                        "XDG_RUNTIME_DIR": str(self.private)})

    def write(self, name, text):
        path = self.videos / name
        path.write_bytes(text)
        return path

    def shows_copy(self, mpv):
        """Waits until a copy has taken the place of the only subtitles, and the screen says so."""
        def settled():
            tracks = mpv.subtitles()
            return len(tracks) == 1 and tracks[0][2] and tracks[0][1].startswith(str(self.private)) and mpv.said()
        mpv.wait(settled, "a copy that is shown, and a word of it")

    def test_pictures(self):
        for name, (_, encoding, language) in GARBLED.items():
            with self.subTest(name=name):
                seconds = cues(name)[:3]
                self.write("movie.srt", garbled(name))
                with self.mpv(self.movie, helped=False) as mpv:
                    unhelped = [mpv.picture(second) for second in seconds]
                before = sorted(os.listdir(self.videos))
                with self.mpv(self.movie) as mpv:
                    self.shows_copy(mpv)
                    helped = [mpv.picture(second) for second in seconds]
                    self.assertEqual(mpv.said(), [(f"movie.srt: read as {encoding} ({language})", 2000)])
                    self.assertEqual([path.stat().st_mode & 0o777 for path in self.private.iterdir()], [0o700])
                self.assertEqual(sorted(os.listdir(self.videos)), before)
                self.assertEqual(garbled(name), (self.videos / "movie.srt").read_bytes())
                self.assertEqual(list(self.private.iterdir()), [])
                self.write("movie.srt", in_utf8(name))
                with self.mpv("--sub-codepage=utf-8", self.movie, helped=False) as mpv:
                    expected = [mpv.picture(second) for second in seconds]
                self.assertEqual(len(set(expected)), len(seconds))
                self.assertEqual(helped, expected)
                for other in unhelped:
                    self.assertNotIn(other, expected)

    def test_utf8_is_left_alone(self):
        for text in (in_utf8("cp1251"), b"\xef\xbb\xbf" + in_utf8("gbk"), (SAMPLES / "ascii.srt").read_bytes()):
            path = self.write("movie.srt", text)
            with self.mpv(self.movie) as mpv:
                mpv.picture(3)
                self.assertEqual([(file, shown) for _, file, shown in mpv.subtitles()], [(str(path), True)])
                self.assertEqual(mpv.said(), [])
            self.assertEqual(list(self.private.iterdir()), [])

    def test_missing_command(self):
        path = self.write("movie.srt", garbled("gbk"))
        self.write("movie.ru.srt", garbled("cp1251"))
        with self.mpv("--script-opts=zucharset-command=no-such-zucharset", self.movie) as mpv:
            mpv.wait(mpv.said, "a message")
            mpv.command("keypress", "Ctrl+e")
            mpv.wait(lambda: len(mpv.said()) == 2, "an answer to the key")
            self.assertEqual([line for line, _ in mpv.said()], [
                "Subtitles are shown as mpv guesses: the command no-such-zucharset is missing. "
                "Install it, or set zucharset-command in script-opts.",
                "movie.srt: no other reading"])
            self.assertIn((1, str(path), True), mpv.subtitles())

    def test_awkward_names_and_choice_of_language(self):
        """mpv chooses by the language in the name, and the copy has it too."""
        video = Path(self.movie).rename(self.videos / "-it's; [a] \"movie\" $(x) 电影.mkv")
        for language, name in (("en", "cp1251"), ("ko", "cp949"), ("zh", "gbk")):
            self.write(f"{video.stem}.{language}.srt", garbled(name))
        with self.mpv("--slang=ko", f"--sub-file={self.write('-.srt', garbled('gbk'))}", video) as mpv:
            mpv.wait(lambda: len(mpv.subtitles()) == 4 and mpv.said(), "the tracks")
            mpv.wait(lambda: all(path.startswith(str(self.private)) for _, path, _ in mpv.subtitles()), "the copies")
            shown = [track for track in mpv.get("track-list") if track["type"] == "sub"]
            self.assertEqual([(track.get("lang"), track["title"]) for track in shown if track["selected"]],
                             [(None, "-.srt")])
            self.assertEqual(sorted(track.get("lang", "") for track in shown), ["", "en", "ko", "zh"])

    def test_next_reading(self):
        """A reading more with each key, shown as that encoding reads it, and the first again after the last."""
        self.write("movie.srt", garbled("cp1251"))
        second = cues("cp1251")[0]
        with self.mpv(self.movie) as mpv:
            self.shows_copy(mpv)
            shown = [mpv.picture(second)]
            for count in range(1, 13):
                mpv.command("keypress", "Ctrl+e")
                mpv.wait(lambda: len(mpv.said()) == count + 1, "the next reading")
                self.shows_copy(mpv)
                shown.append(mpv.picture(second))
                encoding, index, total = re.fullmatch(r"movie.srt: read as (\S+)(?: \(.*\))?, (\d+) of (\d+)",
                                                      mpv.said()[-1][0]).groups()
                if index == "1":
                    break
                readable = run("iconv", "-c", "-f", encoding, "-t", "UTF-8", input=garbled("cp1251"))
        self.assertEqual(count, int(total))
        self.assertEqual(shown[-1], shown[0])
        self.assertNotEqual(shown[1], shown[0])
        self.write("movie.srt", readable)
        with self.mpv("--sub-codepage=utf-8", self.movie, helped=False) as mpv:
            self.assertEqual(mpv.picture(second), shown[-2])

    def test_preference(self):
        """A word that is one in both languages is read as the options say."""
        self.write("movie.srt", b"1\n00:00:01,000 --> 00:00:04,000\n\xe4\xe5\n")  # де or δε
        for prefer, encoding in (("ru", "Windows-1251"), ("el", "Windows-1253")):
            with self.mpv(f"--script-opts=zucharset-prefer={prefer},zucharset-osd_seconds=5", self.movie) as mpv:
                self.shows_copy(mpv)
                self.assertEqual([(line.split(" (")[0], time) for line, time in mpv.said()],
                                 [(f"movie.srt: read as {encoding}", 5000)])

    def test_what_cannot_be_converted(self):
        """It is named, and left to mpv."""
        text = (SAMPLES / "utf16le.srt").read_bytes().decode("utf-16").encode("shift_jis")
        path = self.write("movie.srt", text)
        with self.mpv(self.movie) as mpv:
            mpv.wait(mpv.said, "a message")
            self.assertEqual(mpv.said(), [("movie.srt: looks like Shift_JIS, which zucharset does not convert", 2000)])
            self.assertEqual(mpv.subtitles(), [(1, str(path), True)])

    def test_added_while_playing(self):
        self.write("movie.srt", garbled("gbk"))
        added = self.write("other.srt", garbled("cp949"))
        with self.mpv(self.movie) as mpv:
            self.shows_copy(mpv)
            mpv.command("sub-add", str(added), "select")
            mpv.wait(lambda: len(mpv.said()) == 2, "a message")
            mpv.wait(lambda: [shown for _, _, shown in mpv.subtitles()] == [False, True], "the added subtitles")
            self.assertTrue(mpv.subtitles()[1][1].startswith(str(self.private)))

    def test_what_mpv_cannot_open(self):
        text = in_utf8("cp1251").decode().encode("utf-16-be")
        self.write("movie.txt", garbled("cp1251")[30:90])  # no subtitles, and no word of it
        named = self.write("movie.srt", text)
        given = self.write("given.srt", text)
        for arguments, expected in ((["--sub-auto=exact"], "movie.srt: read as UTF-16BE"),
                                    (["--sub-auto=no", f"--sub-file={given}"], "given.srt: read as UTF-16BE"),
                                    (["--sub-auto=no"], None)):
            with self.subTest(arguments=arguments), self.mpv(*arguments, self.movie) as mpv:
                if expected:
                    self.shows_copy(mpv)
                self.assertEqual(mpv.said(), [(expected, 2000)] if expected else [])
                self.assertEqual(len(mpv.subtitles()), 1 if expected else 0)
        self.assertEqual(named.read_bytes(), text)

    def test_playlist(self):
        """Copies go with the file that they were made for, and the choice of a track does not reach the next file."""
        second = shutil.copy(self.movie, self.videos / "second.mkv")
        self.write("movie.srt", garbled("gbk"))
        path = self.write("second.srt", in_utf8("cp949"))
        with self.mpv(self.movie, second) as mpv:
            self.shows_copy(mpv)
            mpv.command("playlist-next")
            mpv.wait(lambda: [entry[1:] for entry in mpv.subtitles()] == [(str(path), True)], "the second file")
            mpv.wait(lambda: [path for path in self.private.rglob("*") if path.is_file()] == [], "the copies to go")


if __name__ == "__main__":
    BUILD = Path(sys.argv.pop(1)).resolve()
    unittest.main()

# Which files the command takes, where its results go, and what it prints of them.

import base64
import json
import os
import pty
import resource
import stat
import time
import unittest

from helpers import CYRILLIC, HANZI, CliTest, read, tree, write

OLD, NEW = HANZI.encode("gbk"), HANZI.encode()


class FilesTest(CliTest):
    def test_in_place_and_restore(self):
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
        for arguments, code, fragment, expected in [
            ("-n movie.srt", 0, "dry run", "Привет".encode().decode("latin1").encode()),
            ("link.srt", 0, "movie.srt.orig.1", "Привет".encode()), ("-r . -q", 0, "", CYRILLIC),
            ("movie.srt", 3, "no original was kept as movie.srt.orig", CYRILLIC), ("-r .", 0, "*.srt.orig", CYRILLIC),
        ]:
            output, messages = self.run_cli("restore", *arguments.split(), code=code)
            self.assertIn(fragment, output.decode() + messages)
            self.assertEqual(read("movie.srt"), expected)
        self.assertEqual((sorted(os.listdir()), os.path.islink("link.srt")), (["link.srt", "movie.srt"], True))

    def test_restore_keeps_edits(self):
        write("a.srt", OLD)
        self.run_cli("convert", "--in-place", "a.srt")
        write("a.srt", b"edited")
        os.utime("a.srt", (time.time() + 60,) * 2)
        for force, code, expected in ([], 4, b"edited"), (["--force"], 0, OLD):
            self.run_cli("restore", *force, "a.srt.orig", code=code)
            self.assertEqual(read("a.srt"), expected)
        self.run_cli("convert", "--in-place", "--backup-suffix", "~", "a.srt")
        os.remove("a.srt")
        self.run_cli("restore", "--backup-suffix", "~", "a.srt~")
        self.assertEqual(tree(), {"a.srt": OLD})

    def test_folders(self):
        os.makedirs("in/sub")
        os.makedirs("empty/deeper")
        os.symlink("../../in", "in/sub/round")
        for name in ["in/a.srt", "in/sub/b.TXT", "in/c.jpg", "in/d.utf8.srt"]:
            write(name, b"\xe6")
        for arguments, outputs in [
            (["--out-dir", "in/out", "in"], ["in/out/a.srt", "in/out/d.utf8.srt", "in/out/sub/b.TXT"]),
            (["--suffix", ".utf8", "in/sub"], ["in/sub/b.utf8.TXT"]),
            (["--out-dir", "o", "--ext", "*.JPG", "in/sub/round"], ["o/c.jpg"]),
        ]:
            for code in (0, 4):  # its own results are no input of a second run
                output, _ = self.run_cli("convert", "-r", "--from", "cp1251", "--json", *arguments, code=code)
                files = json.loads(output)["files"]
                self.assertEqual([file["exitCode"] for file in files], [code] * len(outputs))
                self.assertTrue(code or [file["output"] for file in files] == outputs)
            self.assertEqual([read(output).decode() for output in outputs], ["ж"] * len(outputs))
        for options, fragment in [("", "*.srt"), ("--ext ssa,*.x", "(*.ssa, *.x)")]:
            _, messages = self.run_cli("convert", "-r", "--in-place", *options.split(), "empty")
            self.assertIn("empty: no files", messages)
            self.assertIn(fragment, messages)
        for depth in range(21):  # too deep for a path: what can be read is done, and the rest is told
            os.mkdir("x" * 200)
            os.chdir("x" * 200)
        os.chdir("/".join([".."] * 21))
        write("x" * 200 + "/a.srt", OLD)
        output, messages = self.run_cli("detect", "-r", "x" * 200, code=3)
        self.assertIn("a.srt", output.decode())
        self.assertIn("cannot read the folder", messages)

    def test_outputs(self):
        os.mkdir("sub")
        os.symlink("sub", "link")
        for name, data in [("a.txt", b"a"), ("sub/a.txt", b"a"), ("there.txt", b"old"), ("a.u.txt", b"a")]:
            write(name, data)
        os.link("a.txt", "twin.txt")
        os.link("a.u.txt", "other.txt")
        for arguments, code, fragment in [
            ("--from gkb a.txt", 2, "GBK"), ("--from 31 a.txt", 2, "unknown"), ("--prefer xx-nonsense a.txt", 2, "xx"),
            ("--json a.txt", 2, "-o"), ("a.txt sub/a.txt", 2, "--in-place"), ("--in-place -", 2, "name"),
            ("--to-code latin1 a.txt", 2, "UTF-8"), ("--jobs 0 a.txt", 2, "jobs"), ("-r --in-place", 2, "folder"),
            ("--strip-bom --to-utf8-bom a.txt", 2, "xclude"), ("missing.txt", 3, "check the name"),
            ("*.srt", 3, "check the name"), ("sub", 3, "--recursive"), ("-o there.txt a.txt", 4, "--force"),
            ("-o sub a.txt", 4, "folder"), ("-o a.txt --force a.txt", 4, "same file"),
            ("-o twin.txt --force a.txt", 4, "same file"),
            ("--from 2 --out-dir o a.txt sub/a.txt", 4, "another input"),
            ("--from 2 --suffix .x sub/a.txt link/a.txt", 4, "another input"),
            ("--from 2 --suffix .u --force a.txt other.txt", 4, "is another input"),
            ("-o there.txt/x a.txt", 4, "there.txt/x"), ("--out-dir there.txt a.txt", 4, "there.txt"),
        ]:
            self.assertIn(fragment, self.run_cli("convert", *arguments.split(), code=code)[1])
        self.assertEqual((read("a.txt"), read("there.txt"), read("o/a.txt")), (b"a", b"old", b"a"))
        self.assertEqual((os.stat("a.txt").st_nlink, os.stat("a.u.txt").st_nlink), (2, 2))
        with open("a.txt", "ab") as output:
            self.run_cli("convert", "a.txt", code=4, stdout=output)

    def test_usage(self):
        write("a.srt", OLD)
        write("it's.srt", OLD)
        os.mkdir("sub")
        for arguments, options, code, fragment in [
            ("a.srt", {}, 0, "zucharset convert a.srt > a.utf8.srt"), ("it's.srt a.srt", {}, 0, r"'it'\''s.srt'"),
            ("detect", {"data": OLD}, 0, "GBK"), ("convert -f gbk -t utf8//TRANSLIT", {"data": OLD}, 0, HANZI),
            ("convert --from-code=GBK//IGNORE a.srt", {}, 0, HANZI), ("nothing.srt", {}, 2, "neither a command"),
            ("", {}, 2, "subcommand"), ("detect --no-such a.srt", {}, 2, "no-such"),
            ("detect missing sub a.srt", {}, 3, "missing"), ("--version", {}, 0, "zucharset "),
            ("convert --dry-run --in-place a.srt it's.srt", {}, 0, "2 would be converted"),
            ("convert -n --out-dir o a.srt", {}, 0, "sure) -> o/a.srt (dry run"),
            ("detect a.srt", {"environment": {"VEMORA_LOG": "6"}}, 0, "detect"),
        ]:
            output, messages = self.run_cli(*arguments.split(), code=code, **options)
            self.assertIn(fragment, output.decode() + messages)
        reader, terminal = pty.openpty()
        self.assertIn("name a file", self.run_cli("detect", code=2, stdin=terminal)[1])
        os.close(terminal)
        os.close(reader)
        self.assertEqual(tree(), {"a.srt": OLD, "it's.srt": OLD})

    def test_file_names(self):
        for name, shown, exact in [(b'q"\\\n', '"q\\"\\\\\\u000A"', None), (b"\xd6\xd0.t", '"\ufffd\ufffd.t"', True),
                                   (b"\x1b[31m\xc2\x9b\xe4\xb8\xad", '"\\u001B[31m\xc2\x9b中"', None)]:
            write(name, b"a")
            output, _ = self.run_cli("convert", "--json", "--from", "gbk", "-o", "out", "--force", name)
            entry = json.loads(output)["files"][0]
            self.assertEqual(entry["file"], json.loads(shown) if exact or name[0] != 0x1b else "\x1b[31m\x9b中")
            self.assertEqual(base64.b64decode(entry.get("fileBase64", "")), name if exact else b"")
            for arguments in (["detect", name], ["detect", b"no" + name], ["convert", "--suffix", ".x", "-q", name]):
                code = 3 if arguments[1].startswith(b"no" if isinstance(arguments[1], bytes) else "no") else 0
                text = b"".join(part if isinstance(part, bytes) else part.encode()
                                for part in self.run_cli(*arguments, code=code))
                self.assertNotRegex(text, rb"[\0-\x09\x0b-\x1f\x7f]|\xc2[\x80-\x9f]")
                text.decode()

    def test_many_files(self):
        expected, lines = {}, {}
        os.mkdir("in")
        for number in range(300):
            text = f"{number} {HANZI * (number % 50 + 1)}"
            codec = ["gbk", "utf-8", "utf-16"][number % 3]
            write(f"in/{number:03}.srt", text.encode(codec))
            expected[f"{number:03}.srt"] = ("\ufeff" * (codec == "utf-16") + text).encode()
        write("in/100.srt", b"")
        expected["100.srt"] = b""
        names = ["missing.srt"] + [f"in/{name}" for name in expected]
        limit = lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (64, 64))  # so that groups are small
        for jobs in "1", "3":
            output, _ = self.run_cli("convert", "-j", jobs, "--out-dir", "out" + jobs, *names, code=3, preexec_fn=limit)
            lines[jobs] = output.replace(b"out" + jobs.encode(), b"out"), self.run_cli("detect", "-j", jobs, "-r", "in")
            wrong = [name for name, data in expected.items() if read(f"out{jobs}/{name}") != data]
            self.assertEqual((wrong, len(os.listdir("out" + jobs))), ([], len(expected)))
        self.assertEqual(lines["1"], lines["3"])
        self.assertEqual([line.split(b":")[0].decode() for line in lines["1"][0].splitlines()[:-1]], names[1:])
        self.assertIn(b"301 files: 300 converted, 0 left as they were, 1 failed; text lost in 0, not sure of 0", lines["1"][0])
        summary = json.loads(self.run_cli("convert", "--json", "--in-place", *names, code=3)[0])["summary"]
        self.assertEqual(summary, {"files": 301, "written": 200, "unchanged": 100, "textLost": 0, "unsure": 0, "failed": 1})

    def test_short_reads_and_progress_only_on_a_terminal(self):
        os.mkfifo("fifo")
        for reader, writer in (pty.openpty(), os.pipe()):
            with self.start("convert", "--from", "18", "-o", "out", "--force", "fifo", stderr=writer) as process:
                with open("fifo", "wb", buffering=0) as fifo:
                    fifo.write(b"\xff")  # half a mark, and later half a unit
                    time.sleep(0.4)
                    fifo.write(b"\xfe\xe9\0\x2d")
                    time.sleep(0.4)
                    fifo.write(b"\x4e")
                process.communicate(timeout=60)
            self.assertEqual((process.returncode, read("out")), (0, "\ufeffé中".encode()))
            is_terminal = os.isatty(writer)
            os.write(writer, b"\n")  # so that there is something to read
            self.assertEqual(b"\r" in os.read(reader, 1000).replace(b"\r\n", b"\n"), is_terminal)
            os.close(writer)
            os.close(reader)


if __name__ == "__main__":
    unittest.main()

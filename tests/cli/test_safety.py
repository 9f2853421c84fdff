# What may happen to files when the command, the disk or the user's patience ends early.

import os
import resource
import signal
import stat
import unittest

from helpers import CYRILLIC, HANZI, PIECE, CliTest, read, tree, wait_until, write

RECORDER = os.environ.get("ZUCHARSET_RECORDER")
OLD, NEW = (HANZI * 5).encode("gbk"), (HANZI * 5).encode()
IN_PLACE = ["convert", "--in-place", "--jobs", "1"]


def dead_files():
    return [name for name in os.listdir() if name.startswith(".zucharset-")]


class SafetyTest(CliTest):
    def recorded(self, *arguments, code=0, **environment):
        self.run_cli(*arguments, code=code, environment={"LD_PRELOAD": RECORDER, "RECORD": "../calls", **environment})

    @unittest.skipUnless(RECORDER, "needs a library loaded before the C library")
    def test_order_of_syncs_and_names(self):
        os.mkdir("in")
        os.chdir("in")
        for count in (1, 40):
            names = [f"{count}-{number}.srt" for number in range(count)]
            for name in names:
                write(name, OLD)
            self.recorded(*IN_PLACE, *names)
            calls = [line.split() for line in read("../calls").decode().splitlines()]
            os.remove("../calls")
            kinds = [call[0] for call in calls]
            sync = {1: "fsync", 40: "syncfs"}[count]
            self.assertEqual(kinds, ["link"] * count + [sync] + ["rename"] * count + ["fsync"])
            self.assertEqual([call[1:] for call in calls[:count]], [[name, name + ".orig"] for name in names])
            self.assertEqual([call[2] for call in calls[count + 1:-1]], names)

    @unittest.skipUnless(RECORDER, "needs a library loaded before the C library")
    def test_killed_at_every_step(self):
        names = ["a.srt", "b.srt", "c.srt"]
        for environment in ({}, {"RECORD_NO_LINKS": "1"}):
            for step in range(1, 100):
                os.mkdir(f"{len(environment)}-{step}")
                os.chdir(f"{len(environment)}-{step}")
                for name in names:
                    write(name, OLD)
                environment["RECORD_SIGNAL"] = f"{step} 9"
                with self.start(*IN_PLACE, *names, environment={"LD_PRELOAD": RECORDER, **environment}) as process:
                    process.communicate(timeout=60)
                for name in names:
                    self.assertIn(read(name), (OLD, NEW))
                    self.assertTrue(read(name) == OLD or read(name + ".orig") == OLD, step)
                self.run_cli(*IN_PLACE, *names)  # goes on, and clears away what the killed run left
                self.assertEqual(dead_files(), [])
                copies = {name + ".orig.1": OLD for name in names} if "RECORD_NO_LINKS" in environment else {}
                expected = {**{name: NEW for name in names}, **{name + ".orig": OLD for name in names}}
                self.assertEqual({**tree(), **copies}, {**expected, **copies})
                os.chdir("..")
                if process.returncode == 0:
                    break
            self.assertGreater(step, 6)
            self.assertEqual(process.returncode, 0)

    @unittest.skipUnless(RECORDER, "needs a library loaded before the C library")
    def test_faults_while_names_change(self):
        for environment, code, fragment in [({"RECORD_EIO": "bad"}, 4, "Input/output error"), ({}, 0, "")]:
            for name, data in [("a.srt", OLD), ("b.srt", b"bad" + OLD), ("c.srt", OLD)]:
                write(name, data)
            _, messages = self.run_cli(*IN_PLACE, "a.srt", "b.srt", "c.srt", code=code,
                                       environment={"LD_PRELOAD": RECORDER, **environment})
            self.assertIn(fragment, messages)
            self.assertEqual((read("a.srt"), read("b.srt")), (NEW, b"bad" + (OLD if code else NEW)))
            self.assertEqual((os.path.exists("b.srt.orig"), dead_files()), (code == 0, []))
        write("d.srt", OLD)
        environment = {"LD_PRELOAD": RECORDER, "RECORD_SIGNAL": f"2 {signal.SIGSTOP.value}"}  # at the sync
        with self.start(*IN_PLACE, "d.srt", environment=environment) as process:
            os.waitpid(process.pid, os.WUNTRACED)
            write("d.srt", b"edited meanwhile")
            process.send_signal(signal.SIGCONT)
            self.assertIn(b"changed while", process.communicate(timeout=60)[1])
        self.assertEqual((process.returncode, read("d.srt"), dead_files()), (4, b"edited meanwhile", []))
        self.assertFalse(os.path.exists("d.srt.orig"))
        write("d.srt", OLD)
        environment["RECORD_SIGNAL"] = f"2 {signal.SIGINT.value}"  # between backup and new name
        self.run_cli(*IN_PLACE, "d.srt", code=130, environment=environment)
        self.assertEqual((read("d.srt"), os.path.exists("d.srt.orig"), dead_files()), (OLD, False, []))

    def held(self, *arguments, **options):
        """A conversion that has begun its output and waits for the rest of its input, and the writer of that."""
        if not os.path.exists("fifo"):
            os.mkfifo("fifo")
        before = len(dead_files())
        process = self.start("convert", "--from", "2", *arguments, "fifo", **options)
        fifo = open("fifo", "wb", buffering=0)
        fifo.write(b"new")
        wait_until(lambda: len(dead_files()) > before, process)
        return process, fifo

    def test_interrupts(self):
        write("out.txt", b"old")
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            process, fifo = self.held("-o", "out.txt", "--force")
            with process, fifo:
                process.send_signal(number)
                process.communicate(timeout=60)
            self.assertEqual((process.returncode, read("out.txt")), (128 + number, b"old"))
            self.assertEqual(sorted(os.listdir()), ["fifo", "out.txt"])
        process, fifo = self.held("-o", "out.txt", "--force",
                                  preexec_fn=lambda: signal.signal(signal.SIGHUP, signal.SIG_IGN))
        with process:
            process.send_signal(signal.SIGHUP)  # as under nohup
            fifo.close()
            process.communicate(timeout=60)
        self.assertEqual((process.returncode, read("out.txt")), (0, b"new"))

    def test_files_of_dead_and_living_processes(self):
        write("a.srt", b"a")
        write(".zucharset-abcdef", b"")  # no such name
        os.mkdir(".zucharset-abcdef.part")
        os.symlink("a.srt", ".zucharset-fedcba.part")
        foreign = sorted(dead_files())
        process, fifo = self.held("-o", "out.txt")
        with process, fifo:
            for kill in (False, True):
                living = dead_files()
                self.assertEqual(len(living), len(foreign) + 1)
                self.run_cli("convert", "--from", "2", "-o", "b.txt", "--force", "a.srt")
                self.assertEqual(sorted(dead_files()), foreign if kill else sorted(living))
                process.kill()
                process.wait()
        self.assertEqual(read("b.txt"), b"a")

    def test_name_taken_meanwhile(self):
        process, fifo = self.held("-o", "out.txt")
        with process:
            write("out.txt", b"mine")
            fifo.close()
            messages = process.communicate(timeout=60)[1]
        self.assertEqual((process.returncode, read("out.txt"), dead_files()), (4, b"mine", []))
        self.assertIn(b"meanwhile", messages)

    def test_attributes(self):
        write("a.srt", CYRILLIC)
        os.chmod("a.srt", 0o604)
        if os.geteuid() == 0:
            os.chown("a.srt", 4321, 1234)
        before = os.stat("a.srt")
        self.run_cli("convert", "--from", "cp1251", "-o", "new.srt", "a.srt", preexec_fn=lambda: os.umask(0o027))
        self.run_cli(*IN_PLACE, "--from", "cp1251", "a.srt")
        after = os.stat("a.srt")
        self.assertEqual((after.st_mode, after.st_uid, after.st_gid), (before.st_mode, before.st_uid, before.st_gid))
        self.assertEqual(stat.S_IMODE(os.stat("new.srt").st_mode), 0o640)

    def test_no_space(self):
        write("a.txt", b"\xe9" * (4 * PIECE))
        with open("/dev/full", "wb") as full:
            for arguments in ["convert --from l1 a.txt", "list", "--help", "convert --from l1 -o /dev/full a.txt"]:
                self.assertIn("No space left", self.run_cli(*arguments.split(), code=4, stdout=full)[1])
        self.assertTrue(stat.S_ISCHR(os.stat("/dev/full").st_mode))
        limit = lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (PIECE, PIECE))
        self.run_cli("convert", "--in-place", "--from", "latin1", "a.txt", code=4, preexec_fn=limit)
        self.assertEqual((os.listdir(), read("a.txt")), (["a.txt"], b"\xe9" * (4 * PIECE)))

    def test_closed_pipe(self):
        write("a.txt", b"a" * (400 * PIECE))
        write("b.txt", OLD)
        for arguments in (["convert", "--from", "2", "a.txt"], ["detect", "a.txt"], [*IN_PLACE, "b.txt"]):
            reader, writer = os.pipe()
            os.close(reader)
            for ignored, expected in ((False, (-signal.SIGPIPE, b"")), (True, (4, b"Broken pipe"))):
                with self.start(*arguments, stdout=writer, restore_signals=not ignored) as process:
                    messages = process.stderr.read()
                self.assertEqual(process.returncode, expected[0], arguments)
                self.assertTrue(messages == expected[1] or expected[1] and expected[1] in messages, messages)
                self.assertEqual(dead_files(), [])
                write("b.txt", OLD)
            os.close(writer)

    def test_file_that_shrinks(self):
        write("a.txt", b"a" * (400 * PIECE))
        with self.start("convert", "--from", "2", "a.txt", bufsize=0) as process:
            start = process.stdout.read(1)  # the pipe fills up behind it, and the program waits
            os.truncate("a.txt", 200 * PIECE)
            output, messages = process.communicate(timeout=60)
        self.assertEqual((process.returncode, len(start + output)), (3, 200 * PIECE))
        self.assertIn(f"offset {200 * PIECE} of {400 * PIECE}".encode(), messages)


if __name__ == "__main__":
    unittest.main()

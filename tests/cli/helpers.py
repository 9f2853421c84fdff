# What the tests of the zucharset command share.
#
# ZUCHARSET_CLI names the program, ZUCHARSET_EMULATOR an optional command to run it with, ZUCHARSET_RECORDER the library
# made of recorder.c, where it can be loaded. Expected text comes from Python's own codecs.

import os
import shlex
import subprocess
import tempfile
import time
import unittest
from pathlib import Path

CLI = shlex.split(os.environ.get("ZUCHARSET_EMULATOR", "")) + [os.environ.get("ZUCHARSET_CLI", "zucharset")]
PIECE = 64 * 1024
HANZI = "中文字幕，你好世界。"
CYRILLIC = "Привет".encode("cp1251")


def write(name, data):
    Path(os.fsdecode(name)).write_bytes(data)


def read(name):
    return Path(os.fsdecode(name)).read_bytes()


def tree():
    """Every file under the current folder with its content."""
    paths = [os.path.join(folder, name)[2:] for folder, _, names in os.walk(".") for name in names]
    return {path: read(path) for path in paths if os.path.isfile(path)}


def wait_until(condition, process):
    end = time.monotonic() + 60
    while not condition() and process.poll() is None:
        if time.monotonic() > end:
            raise TimeoutError
        time.sleep(0.01)


class CliTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        os.chdir(folder.name)

    def start(self, *arguments, environment=None, **options):
        options = {"stdin": subprocess.DEVNULL, "stdout": subprocess.PIPE, "stderr": subprocess.PIPE, **options}
        if environment:
            options["env"] = {**os.environ, **environment}
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

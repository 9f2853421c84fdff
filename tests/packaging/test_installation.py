"""The installed library as others meet it: found by CMake and by pkg-config, built into C and C++, moved elsewhere.

Argument: the build folder.
"""

import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

import run_paths

ROOT = Path(__file__).resolve().parents[2]
CONSUMER = Path(__file__).resolve().parent / "consumer"
SAMPLES = {"gbk": "GBK", "big5": "BIG5", "cp949": "UHC", "utf16le": "UTF-16LE", "utf8": "UTF-8"}


def run(*command, **options):
    done = subprocess.run([str(part) for part in command], capture_output=True, **options)
    if done.returncode != 0:
        raise AssertionError(f"{command}: {done.returncode}\n{done.stdout.decode()}{done.stderr.decode()}")
    return done.stdout


def version():
    return re.search(r"^project\(zucharset VERSION (\S+)", (ROOT / "CMakeLists.txt").read_text(), re.M)[1]


class Installation(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.scratch = Path(tempfile.mkdtemp(prefix="zucharset-installation-"))
        cls.addClassCleanup(shutil.rmtree, cls.scratch)
        run("cmake", "--install", BUILD, "--prefix", cls.scratch / "first place")
        # Nothing may remember where it was installed.
        cls.prefix = cls.scratch / "moved"
        (cls.scratch / "first place").rename(cls.prefix)
        cls.library = next(cls.prefix.rglob("pkgconfig")).parent

    def check(self, program, **environment):
        for sample, encoding in SAMPLES.items():
            with self.subTest(sample=sample):
                path = ROOT / "samples/subtitles" / f"{sample}.srt"
                expected = run("iconv", "-f", encoding, "-t", "UTF-8", path)
                self.assertEqual(run(program, path, env={**os.environ, **environment}), expected)

    def test_run_paths(self):
        self.assertEqual(run_paths.faults([self.prefix]), [])

    def test_loader_takes_the_library_for_its_processor(self):
        folders = {path.parent.name: path.parent for path in self.library.glob("glibc-hwcaps/*/libzucharset.so")}
        if not folders:
            self.skipTest("no library for better processors on this architecture")
        command = self.prefix / "bin/zucharset"
        loader = re.search(r"interpreter: (.*)\]", run("readelf", "-lW", command).decode())[1]
        for level, folder in folders.items():
            # The loader says itself what it would load, as it is and kept from looking in any of its folders.
            for options, expected in (([], folder), (["--glibc-hwcaps-mask", "none"], self.library)):
                with self.subTest(level=level, options=options):
                    if not options and f"{level} (supported, searched)" not in run(loader, "--help").decode():
                        self.skipTest(f"this processor is no {level}")
                    loaded = dict(re.findall(r"(\S+) => (\S+)", run(loader, *options, "--list", command).decode()))
                    self.assertEqual(Path(loaded["libzucharset.so"]).resolve().parent, expected.resolve())
                    self.assertEqual(Path(loaded["libvemora_utils.so"]).resolve().parent, self.library.resolve())
                    path = ROOT / "samples/subtitles/gbk.srt"
                    self.assertEqual(run(loader, *options, command, "convert", path),
                                     run("iconv", "-f", "GBK", "-t", "UTF-8", path))

    def test_find_package(self):
        build = self.scratch / "find_package"
        run("cmake", "-S", CONSUMER, "-B", build, f"-DCMAKE_PREFIX_PATH={self.prefix}")
        run("cmake", "--build", build)
        self.assertEqual((build / "version").read_text(), version())
        self.check(build / "consumer")
        self.check(build / "consumer_cpp")

    def test_find_package_refuses_another_interface(self):
        source = self.scratch / "other"
        source.mkdir()
        (source / "CMakeLists.txt").write_text(
            "cmake_minimum_required(VERSION 3.16)\nproject(other LANGUAGES C)\nfind_package(zucharset 2.0 REQUIRED)\n")
        done = subprocess.run(["cmake", "-S", source, "-B", source, f"-DCMAKE_PREFIX_PATH={self.prefix}"],
                              capture_output=True)
        self.assertNotEqual(done.returncode, 0)
        self.assertIn(b"compatible with requested version", done.stderr)

    def test_pkg_config(self):
        environment = {**os.environ, "PKG_CONFIG_PATH": str(self.library / "pkgconfig")}
        flags = run("pkg-config", "--cflags", "--libs", "zucharset", env=environment).decode().split()
        self.assertEqual(run("pkg-config", "--modversion", "zucharset", env=environment).decode().strip(), version())
        for source, compiler in {"consumer.c": "cc", "consumer_cpp.cpp": "c++"}.items():
            program = self.scratch / f"pkg-config-{compiler}"
            run(compiler, "-Wall", "-Werror", CONSUMER / source, *flags, "-o", program)
            self.check(program, LD_LIBRARY_PATH=str(self.library))

    def test_command(self):
        command = self.prefix / "bin/zucharset"
        self.assertEqual(run(command, "--version").decode().split()[-1], version())
        path = ROOT / "samples/subtitles/gbk.srt"
        self.assertEqual(run(command, "convert", path), run("iconv", "-f", "GBK", "-t", "UTF-8", path))

    def test_components(self):
        """The player's own utility library takes the place of the stand-in, so that must be separable."""
        files = {}
        for component in ("runtime", "text", "standin", "standin_development", "development", "command", "mpv",
                          "python"):
            prefix = self.scratch / "components" / component
            run("cmake", "--install", BUILD, "--prefix", prefix, "--component", component)
            files[component] = sorted({path.name for path in prefix.rglob("*") if path.is_file()})
        self.assertEqual(files, {
            "runtime": ["libzucharset.so"],
            "text": ["libzutext.so"],
            "standin": ["libvemora_utils.so"],
            "standin_development": ["vemora_utils.h"],
            "development": ["zucharset-config-version.cmake", "zucharset-config.cmake", "zucharset.h",
                            "zucharset.pc", "zutext.h", "zutext.pc"],
            "command": ["_zucharset", "zucharset", "zucharset.1"],
            "mpv": ["zucharset.lua"],
            "python": sorted(["METADATA", "py.typed", *(path.name for path in ROOT.glob("python/zucharset/*.py"))]),
        })

    def test_manual_page_names_every_option(self):
        page = "".join(re.findall(r"^\.(?:It|Op) .*\n", (ROOT / "man/zucharset.1").read_text(), re.M))
        named = {"help", "version"} | set(re.findall(r"\bFl Fl ([a-z0-9-]+)", page))
        offered = set()
        for words in ([], ["detect"], ["convert"], ["explain"], ["list"]):
            offered |= set(re.findall(r"--([a-z0-9-]+)", run(self.prefix / "bin/zucharset", *words, "--help").decode()))
        self.assertEqual(named, offered)

    def test_change_log_begins_with_this_version(self):
        self.assertEqual(re.search(r"^## (\S+)", (ROOT / "CHANGELOG.md").read_text(), re.M)[1], version())


if __name__ == "__main__":
    BUILD = Path(sys.argv.pop(1)).resolve()
    unittest.main()

"""Runs the commands and the C programs that README.md, CONTRIBUTING.md and docs/*.md show.

Arguments: the build folder, and the documents to run if not all of them.

A comment before a fenced block of sh, c, cpp or cmake says what becomes of it; each of these blocks needs one:

    <!-- run -->                  sh: run by bash; c: compiled against the library and run
    <!-- run: exit 1 -->          the same, and that must be its exit code
    <!-- run: needs ffmpeg -->    the same, left out with a note where the program is missing
    <!-- file: name -->           written to that file, for the blocks after it
    <!-- not run: reason -->      left alone
    <!-- output -->               a block of text: what the block before it must have printed

The blocks of a document run in its order, in one scratch copy of the source tree, in which build/release is the build
folder. PATH begins with the build folder.
"""

import os
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path
from typing import NamedTuple

ROOT = Path(__file__).resolve().parents[2]
CODE = {"sh", "c", "cpp", "cmake"}
COMMENT = re.compile(r"<!-- (run|file|not run|output)(?:: (.*))? -->$")


class Block(NamedTuple):
    line: int
    language: str
    mark: str
    argument: str
    text: str


def blocks_of(text):
    """The fenced blocks that have a mark, or that need one."""
    blocks, lines = [], iter(enumerate(text.splitlines(), 1))
    before = ""
    for number, line in lines:
        if line.startswith("```"):
            body = []
            for _, inner in lines:
                if inner.startswith("```"):
                    break
                body.append(inner + "\n")
            else:
                raise SystemExit(f"line {number}: a block without an end")
            mark = COMMENT.match(before)
            if mark or line[3:] in CODE:
                blocks.append(Block(number, line[3:], *((mark[1], mark[2] or "") if mark else ("", "")), "".join(body)))
            before = ""
        elif line.strip():
            before = line.strip()
    return blocks


class Document:
    def __init__(self, path, scratch):
        self.path, self.scratch = path, scratch
        self.printed = None
        self.counts = {"run": 0, "left out": 0}

    def fail(self, block, problem):
        raise SystemExit(f"{self.path.relative_to(ROOT)}:{block.line}: {problem}")

    def command_for(self, block):
        if block.language == "sh":
            return ["bash", "-euo", "pipefail", "-c", block.text]
        if block.language != "c":
            self.fail(block, f"no way to run {block.language}")
        source, program = self.scratch / "block.c", self.scratch / "block"
        source.write_text(block.text)
        built = subprocess.run(["cc", "-std=c11", "-Wall", "-Wextra", "-Werror", "-pthread",
                                "-D_POSIX_C_SOURCE=200809L", "-Iinclude", "-Iplatform", source, "-Lbuild/release", "-lzutext",
                                "-lzucharset",
                                "-Wl,-rpath-link,build/release", "-o", program],
                               cwd=self.scratch, capture_output=True, text=True)
        if built.returncode != 0:
            self.fail(block, built.stderr)
        return [program]

    def run(self, block):
        expected = 0
        for word in filter(None, block.argument.split(", ")):
            kind, _, value = word.partition(" ")
            if kind == "exit":
                expected = int(value)
            elif kind == "needs":
                if shutil.which(value) is None:
                    print(f"  left out, needs {value}: line {block.line}")
                    self.counts["left out"] += 1
                    self.printed = None
                    return
            else:
                self.fail(block, f"unknown word in the comment: {word}")
        environment = {**os.environ, "PATH": f"{BUILD}:{os.environ['PATH']}", "LC_ALL": "C.UTF-8"}
        if block.language == "c":
            environment["LD_LIBRARY_PATH"] = str(BUILD)
        done = subprocess.run(self.command_for(block), cwd=self.scratch, capture_output=True, env=environment,
                              stdin=subprocess.DEVNULL, timeout=300)
        if done.returncode != expected:
            self.fail(block, f"exit code {done.returncode}, not {expected}\n{done.stdout.decode(errors='replace')}"
                             f"{done.stderr.decode(errors='replace')}")
        self.printed = done.stdout.decode().replace("\r\n", "\n")
        self.counts["run"] += 1

    def check(self):
        for block in blocks_of(self.path.read_text()):
            if block.mark == "run":
                self.run(block)
            elif block.mark == "file":
                target = self.scratch / block.argument
                target.parent.mkdir(parents=True, exist_ok=True)
                target.write_text(block.text)
            elif block.mark == "output":
                if self.printed is not None and self.printed != block.text:
                    self.fail(block, f"printed instead:\n{self.printed}")
            elif block.mark == "not run":
                if not block.argument:
                    self.fail(block, "'not run' needs a reason")
            else:
                self.fail(block, f"a block of {block.language} that says neither 'run' nor 'not run'")


def main():
    documents = [Path(name).resolve() for name in sys.argv[2:]]
    documents = documents or [ROOT / "README.md", ROOT / "CONTRIBUTING.md", *sorted((ROOT / "docs").glob("*.md"))]
    for path in filter(Path.exists, documents):
        with tempfile.TemporaryDirectory(prefix="zucharset-docs-") as folder:
            scratch = Path(folder) / "zucharset"
            shutil.copytree(ROOT, scratch, ignore=shutil.ignore_patterns(".git", "build", "__pycache__"))
            (scratch / "build").mkdir()
            (scratch / "build/release").symlink_to(BUILD)
            document = Document(path, scratch)
            document.check()
            print(path.relative_to(ROOT), document.counts)


if __name__ == "__main__":
    BUILD = Path(sys.argv[1]).resolve()
    main()

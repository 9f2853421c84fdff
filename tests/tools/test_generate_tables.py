# The generated headers against the generator. That their cells are right is seen in what the library converts and in
# the scores it gives. Run: python3 -m unittest discover tests/tools

import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]


def check(root):
    command = [sys.executable, "-B", root / "tools/generate_tables.py", "--check"]
    return subprocess.run(command, cwd="/", capture_output=True, encoding="utf-8")


class Tables(unittest.TestCase):
    def test_committed_headers_are_current(self):
        run = check(ROOT)
        self.assertEqual((run.returncode, run.stdout, run.stderr), (0, "", ""))

    def test_faults_are_named(self):
        with tempfile.TemporaryDirectory() as folder:
            copy = Path(folder)
            for part in ("tools", "converters/tables", "text/tables"):  # without the detector's header
                shutil.copytree(ROOT / part, copy / part)
            damaged = copy / "converters/tables/gbk_table.h"
            damaged.write_bytes(damaged.read_bytes().replace(b"0x4E02", b"0x4E03", 1))
            run = check(copy)
            self.assertEqual((run.returncode, run.stdout.count(".h:")), (1, 2))
            self.assertRegex(run.stdout, r"gbk_table\.h: differs.*\n.*ranked_positions\.h: missing")
            ranking = copy / "tools/data/rankings/traditional.txt"
            text = ranking.read_text(encoding="utf-8")
            for bad, fault in (("的", r"U\+7684\) stands"), ("€", r"U\+20AC\) has no"), ("", "599")):
                ranking.write_text(text.replace("不", bad), encoding="utf-8")
                self.assertRegex(check(copy).stderr, rf"traditional\.txt.*{fault}")


if __name__ == "__main__":
    unittest.main()

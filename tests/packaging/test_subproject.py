"""The source tree inside somebody else's project, by add_subdirectory and by FetchContent.

Argument: the build folder.
"""

import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from test_installation import CONSUMER, ROOT, run

PARENT = Path(__file__).resolve().parent / "parent"


class Subproject(unittest.TestCase):
    def build(self, *options):
        """Builds all of the parent, and returns its build folder."""
        scratch = Path(tempfile.mkdtemp(prefix="zucharset-parent-"))
        self.addCleanup(shutil.rmtree, scratch)
        source, build = scratch / "source", scratch / "build"
        shutil.copytree(PARENT, source)
        for name in ("consumer.c", "consumer.h"):
            shutil.copy(CONSUMER / name, source)
        run("cmake", "-S", source, "-B", build, f"-DZUCHARSET={ROOT}", *options)
        run("cmake", "--build", build)
        path = ROOT / "samples/subtitles/gbk.srt"
        self.assertEqual(run(build / "parent", path), run("iconv", "-f", "GBK", "-t", "UTF-8", path))
        self.assertIn(b"No tests were found", subprocess.run(["ctest"], cwd=build, capture_output=True).stderr)
        run("cmake", "--install", build, "--prefix", scratch / "installed")
        self.assertEqual([path.name for path in (scratch / "installed").rglob("*") if path.is_file()], ["parent"])
        return build

    def test_fetch_content(self):
        build = self.build("-DFETCH=ON")
        self.assertIn(b"[libzucharset.so]", run("readelf", "-d", build / "parent"))

    def test_static_library_by_add_subdirectory(self):
        build = self.build("-DZUCHARSET_STATIC=ON")
        self.assertNotIn(b"[libzucharset.so]", run("readelf", "-d", build / "parent"))


if __name__ == "__main__":
    del sys.argv[1]
    unittest.main()

"""Where programs and libraries look for libraries: never in the folder that the user happens to be in.

Arguments: folders, in which every program and shared library is looked at. --system before them: these come from
packages of the system, which need no search path at all.
"""

import re
import subprocess
import sys
from pathlib import Path


def programs(folder):
    for path in sorted(Path(folder).rglob("*")):
        if path.is_file() and not path.is_symlink():
            with path.open("rb") as file:
                head = file.read(18)
            if head[:4] == b"\x7fELF" and head[16] in (2, 3):  # little endian: a program or a shared object
                yield path


def entries(path):
    shown = subprocess.run(["readelf", "-W", "-d", path], check=True, capture_output=True, text=True,
                           env={"LC_ALL": "C", "PATH": "/usr/bin"}).stdout
    found = re.findall(r"\((?:RPATH|RUNPATH)\) +Library (?:rpath|runpath): \[(.*)\]", shown)
    return [entry for value in found for entry in value.split(":")]


def faults(folders, system=False):
    """What is wrong in these folders, a line each."""
    seen, wrong = 0, []
    for folder in folders:
        for path in programs(folder):
            seen += 1
            wrong += [f"{path}: run path entry '{entry}'" for entry in entries(path)
                      if system or not re.match(r"/|\$ORIGIN(/|$)", entry)]
    return wrong if seen else [f"no program in {folders}"]


if __name__ == "__main__":
    of_system = sys.argv[1:2] == ["--system"]
    sys.exit("\n".join(faults(sys.argv[1 + of_system:], of_system)) or None)

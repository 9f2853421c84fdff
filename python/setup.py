"""Makes a wheel out of the package and the libraries in the folder $ZUCHARSET_LIBRARIES, one subfolder for each build.

build-wheels.sh builds these libraries and calls this.
"""

import os
import re
import subprocess
from pathlib import Path

from setuptools import Distribution, setup
from setuptools.command.build_py import build_py
from wheel.bdist_wheel import bdist_wheel

TOP = Path(__file__).resolve().parent.parent
MACHINES = {"Advanced Micro Devices X86-64": "x86_64", "AArch64": "aarch64"}
# The oldest C library that every arm64 system has, and the oldest platform that today's pip is made for.
OLDEST = (2, 17)


def project_version() -> str:
    match = re.search(r"^project\(zucharset VERSION ([0-9.]+)", (TOP / "CMakeLists.txt").read_text(), re.MULTILINE)
    if match is None:
        raise SystemExit("CMakeLists.txt names no version")
    return match.group(1)


def libraries() -> list[Path]:
    folder = os.environ.get("ZUCHARSET_LIBRARIES")
    if not folder:
        raise SystemExit("ZUCHARSET_LIBRARIES must name the folder of the libraries; build-wheels.sh does all this")
    return sorted(Path(folder).glob("*/*.so"))


def readelf(option: str, library: Path) -> str:
    command = ["readelf", "--wide", option, str(library)]
    return subprocess.run(command, check=True, capture_output=True, text=True, env={**os.environ, "LC_ALL": "C"}).stdout


def platform_tag() -> str:
    """The oldest platform that has all symbols which the libraries need."""
    needed = OLDEST
    machines = set()
    for library in libraries():
        versions = re.findall(r"\bGLIBC_(\d+)\.(\d+)", readelf("--version-info", library))
        needed = max([needed, *((int(major), int(minor)) for major, minor in versions)])
        machines.update(re.findall(r"Machine:\s+(.*\S)", readelf("--file-header", library)))
    (machine,) = machines
    name = MACHINES[machine]
    tag = f"manylinux_{needed[0]}_{needed[1]}_{name}"
    return f"{tag}.manylinux2014_{name}" if needed == (2, 17) else tag


class PackageWithLibraries(build_py):
    def run(self) -> None:
        super().run()
        for library in libraries():
            target = Path(self.build_lib, "zucharset", "lib", library.parent.name, library.name)
            target.parent.mkdir(parents=True, exist_ok=True)
            self.copy_file(str(library), str(target))


class Wheel(bdist_wheel):
    def get_tag(self) -> tuple[str, str, str]:
        # The libraries are called through ctypes: any Python 3 will do.
        return "py3", "none", platform_tag()


class PlatformDistribution(Distribution):
    def has_ext_modules(self) -> bool:
        return True


setup(
    name="zucharset",
    version=project_version(),
    description="Reads text of unknown encoding as a person would",
    long_description=Path(__file__).with_name("README.md").read_text(encoding="utf-8"),
    long_description_content_type="text/markdown",
    license="MIT",
    license_files=["../LICENSE", "../NOTICE"],
    packages=["zucharset"],
    package_data={"zucharset": ["py.typed"]},
    python_requires=">=3.9",
    classifiers=[
        "License :: OSI Approved :: MIT License",
        "Operating System :: POSIX :: Linux",
        "Programming Language :: Python :: 3",
        "Topic :: Text Processing",
        "Typing :: Typed",
    ],
    distclass=PlatformDistribution,
    cmdclass={"build_py": PackageWithLibraries, "bdist_wheel": Wheel},
)

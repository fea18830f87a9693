"""Builds the wheel: the package, and in it the library that TLUX_LIBRARY names, or one that CMake builds here.

TLUX_LIBRARY=system leaves it out, for distributions: the package then takes the installed library.
"""

from __future__ import annotations

import os
import re
import shutil
import subprocess
import tempfile
from pathlib import Path
from typing import Tuple

from setuptools import Distribution, setup
from setuptools.command.build_py import build_py
from wheel.bdist_wheel import bdist_wheel

SOURCE = Path(__file__).resolve().parent.parent
LIBRARY = "libtlux.so.1"
GIVEN = os.environ.get("TLUX_LIBRARY", "")
CARRIES_LIBRARY = GIVEN != "system"


def version() -> str:
    """That of the library, from where CMake has it."""
    found = re.search(r"^  VERSION ([0-9.]+)$", (SOURCE / "CMakeLists.txt").read_text(), re.MULTILINE)
    if found is None:
        raise RuntimeError("CMakeLists.txt does not tell the version")
    return found[1]


def built_library() -> Path:
    build = SOURCE / "build" / "wheel"
    options = ["-DCMAKE_BUILD_TYPE=Release", "-DTLUX_BUILD_TESTS=OFF"]
    subprocess.run(["cmake", "-S", SOURCE, "-B", build, *options], check=True)
    jobs = str(os.cpu_count() or 1)  # without a number, make would start everything at once
    subprocess.run(["cmake", "--build", build, "--parallel", jobs, "--target", "tlux_shared"], check=True)
    return build / "src" / LIBRARY


class PackageWithLibrary(build_py):
    def run(self) -> None:
        super().run()
        if not CARRIES_LIBRARY:
            return
        library = Path(GIVEN) if GIVEN else built_library()
        if not library.is_file():
            raise FileNotFoundError(f"{library} is no file: TLUX_LIBRARY must name a built {LIBRARY}")
        shutil.copyfile(library, Path(self.build_lib) / "tlux" / LIBRARY)


class PlatformWheel(bdist_wheel):
    """Nothing is compiled for one version of Python: each takes the wheel, on this platform."""

    def get_tag(self) -> Tuple[str, str, str]:
        return "py3", "none", super().get_tag()[2] if CARRIES_LIBRARY else "any"


class PlatformDistribution(Distribution):
    def has_ext_modules(self) -> bool:
        return CARRIES_LIBRARY


# What setuptools leaves behind would come into the next wheel.
with tempfile.TemporaryDirectory() as scratch:
    setup(
        version=version(),
        distclass=PlatformDistribution,
        cmdclass={"build_py": PackageWithLibrary, "bdist_wheel": PlatformWheel},
        options={"build": {"build_base": scratch}, "egg_info": {"egg_base": scratch}},
    )

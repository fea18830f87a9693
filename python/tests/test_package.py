"""The installed package: the library it carries, others in its place, and what it says when there is none."""

from __future__ import annotations

import os
import shutil
import subprocess
import sys
from importlib.metadata import version
from pathlib import Path

import pytest
import tlux

SHOW = "import tlux; print(tlux.library_file, tlux.library_version())"


def python(code: str, **environment: str) -> "subprocess.CompletedProcess[str]":
    inherited = {name: value for name, value in os.environ.items() if name not in ("TLUX_LIBRARY", "PYTHONPATH")}
    return subprocess.run(
        [sys.executable, "-c", code], env={**inherited, **environment}, capture_output=True, text=True, cwd="/"
    )


@pytest.fixture()
def own_library() -> Path:
    own = Path(tlux.__file__).with_name("libtlux.so.1")
    if not own.is_file():
        pytest.skip("the package is not installed from its wheel")
    return own


def test_carries_its_library(own_library: Path) -> None:
    assert python(SHOW).stdout.split() == [str(own_library), tlux.__version__]
    assert version("tlux") == tlux.__version__ == tlux.library_version()
    wheels = list(Path(os.environ.get("TLUX_WHEEL_FOLDER", "/nonexistent")).glob("*.whl"))
    if wheels:
        assert wheels[0].name.startswith(f"tlux-{tlux.__version__}-py3-none-linux_")


def test_takes_another_library_when_asked(own_library: Path, tmp_path: Path) -> None:
    other = tmp_path / "libtlux.so.1"
    shutil.copyfile(own_library, other)
    assert python(SHOW, TLUX_LIBRARY=str(other)).stdout.split()[0] == str(other)
    mapped = SHOW + "; print(open('/proc/self/maps').read())"
    found = python(mapped, TLUX_LIBRARY="system", LD_LIBRARY_PATH=str(tmp_path))
    assert str(other) in found.stdout and str(own_library) not in found.stdout


@pytest.mark.parametrize(
    ("library", "message"), [("/nonexistent.so", "cannot be loaded"), ("libm.so.6", "has no TLUX_GetVersion")]
)
def test_says_what_is_wrong_with_a_library(library: str, message: str) -> None:
    found = python("import tlux", TLUX_LIBRARY=library)
    assert "ImportError" in found.stderr and message in found.stderr


def test_a_copy_without_a_library_takes_the_installed_one(own_library: Path, tmp_path: Path) -> None:
    ignored = shutil.ignore_patterns("*.so*", "__pycache__")
    shutil.copytree(own_library.parent, tmp_path / "tlux", ignore=ignored)
    folder = {"PYTHONPATH": str(tmp_path), "LD_LIBRARY_PATH": str(tmp_path)}
    installed = tmp_path / "libtlux.so.1"
    shutil.copyfile(own_library, installed)
    assert python(SHOW, **folder).stdout.split() == ["libtlux.so.1", tlux.__version__]
    installed.write_bytes(b"")
    found = python("import tlux", **folder)
    assert "ImportError" in found.stderr and "TLUX_LIBRARY" in found.stderr

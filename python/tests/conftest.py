"""What the tests share: scenes, and the command whose bytes the package must give."""

from __future__ import annotations

import os
import shutil
import subprocess
from pathlib import Path
from typing import Callable, Tuple

import numpy as np
import pytest
from numpy.typing import NDArray

U8 = NDArray[np.uint8]
Frame = Tuple[U8, U8]


def scene(height: int, width: int) -> U8:
    """Luma with a dark part, a bright part, texture in both."""
    rows, columns = np.mgrid[0:height, 0:width]
    light = 30 + 180 * (columns > width // 2) + 20 * np.sin(rows / 5) + 12 * np.cos(columns / 3)
    noise = np.random.default_rng(5).integers(-6, 7, (height, width))
    luma: U8 = np.clip(light + noise, 0, 255).astype(np.uint8)
    return luma


def picture(height: int, width: int) -> U8:
    luma = scene(height, width)
    return np.stack([luma, np.roll(luma, 3, 1), luma[::-1]], axis=2)


def frame(height: int, width: int) -> Frame:
    chroma = np.random.default_rng(6).integers(90, 166, (height // 2, width // 2, 2))
    return scene(height, width), chroma.astype(np.uint8)


def write_picture(file: Path, pixels: U8) -> None:
    """As a binary PPM or, where the extension says so, as the command writes it."""
    file.parent.mkdir(parents=True, exist_ok=True)
    height, width = pixels.shape[:2]
    file.write_bytes(b"P6 %d %d 255\n" % (width, height) + pixels.tobytes())


@pytest.fixture(scope="session")
def command() -> str:
    found = os.environ.get("TLUX_COMMAND") or shutil.which("tlux")
    if not found:
        pytest.skip("the command tlux is not there; TLUX_COMMAND names it")
    return found


@pytest.fixture()
def run_command(command: str, tmp_path: Path) -> Callable[..., bytes]:
    """Sends a file's bytes through 'tlux enhance' and returns those of the result."""

    def run(content: bytes, name: str, *options: str) -> bytes:
        source, result = tmp_path / f"in-{name}", tmp_path / f"out-{name}"
        source.write_bytes(content)
        subprocess.run([command, "enhance", "--quiet", source, "-o", result, *options], check=True)
        return result.read_bytes()

    return run


@pytest.fixture(scope="session")
def exact_option(command: str) -> Tuple[str, ...]:
    """The option with which the command gives the tones of the run to the byte, where it has other ones."""
    text = subprocess.run([command, "enhance", "--help"], capture_output=True, text=True, check=True).stdout
    return ("--exact",) if "--exact" in text else ()

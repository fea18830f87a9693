"""What the tests share: scenes, and the command that archives are enhanced with."""

from __future__ import annotations

import os
import shutil
from pathlib import Path
from typing import Tuple

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

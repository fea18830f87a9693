"""Pictures for the measures: frames of luma and chroma, and RGB for visual measures."""

from pathlib import Path
import subprocess

import numpy as np

SUFFIXES = {".jpg", ".jpeg", ".png", ".tif", ".tiff", ".webp"}


def find(paths):
    """All pictures among files and folders, sorted by name."""
    found = []
    for path in map(Path, paths):
        members = sorted(path.iterdir()) if path.is_dir() else [path]
        found += [member for member in members if member.suffix.lower() in SUFFIXES]
    return found


def read(path):
    """H x W x 3 RGB, cut to even sides."""
    probe = ["ffprobe", "-v", "error", "-select_streams", "v:0", "-show_entries", "stream=width,height", "-of",
             "csv=p=0:s=x", str(path)]
    width, height = map(int, subprocess.run(probe, check=True, text=True, capture_output=True).stdout.split("x"))
    decode = ["ffmpeg", "-v", "error", "-i", str(path), "-frames:v", "1", "-f", "rawvideo", "-pix_fmt", "rgb24", "-"]
    pixels = np.frombuffer(subprocess.run(decode, check=True, stdout=subprocess.PIPE).stdout, np.uint8)
    return np.ascontiguousarray(pixels.reshape(height, width, 3)[:height // 2 * 2, :width // 2 * 2])


def linear_of(codes):
    """sRGB decoding (IEC 61966-2-1), 0..255 to 0..1."""
    v = np.asarray(codes, float) / 255
    return np.where(v <= 0.04045, v / 12.92, ((v + 0.055) / 1.055) ** 2.4)


def codes_of(linear):
    """sRGB encoding, 0..1 to 0..255."""
    v = np.clip(linear, 0, 1)
    return 255 * np.where(v <= 0.0031308, 12.92 * v, 1.055 * v ** (1 / 2.4) - 0.055)


def exposure_curve(exposure):
    """The codes of 0..255 after multiplying the scene's light."""
    return np.rint(codes_of(exposure * linear_of(np.arange(256)))).astype(np.uint8)


def block_means(plane, side=16):
    """Means of whole blocks; partial blocks at the right and bottom are ignored."""
    rows, columns = plane.shape[0] // side, plane.shape[1] // side
    blocks = plane[:rows * side, :columns * side].reshape(rows, side, columns, side)
    return blocks.sum(axis=(1, 3), dtype=np.uint32) / (side * side)


def without_mark(plane):
    """The part of a plane that no mark touches: all but the last tenth of the rows."""
    return plane[:plane.shape[0] * 9 // 10]

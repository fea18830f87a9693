"""RGB pictures as NV12 and NV21 frames, and back."""

from __future__ import annotations

from ctypes import byref
from typing import Optional, Tuple

import numpy as np

from . import _records
from ._arrays import U8, check_picture, choice, image, plane_of, result, source, view
from ._errors import check
from ._library import lib

LAYOUTS = {"nv12": _records.NV12, "nv21": _records.NV21}
_PACKED = {3: _records.RGB, 4: _records.RGBA}


def frame_record(luma: U8, chroma: U8, layout: str, writable: bool = False, prefix: str = "") -> _records.Image:
    """Describes planes without copying them; raises ValueError for strides that the library cannot use."""
    fmt = choice("layout", layout, LAYOUTS)
    if not isinstance(luma, np.ndarray) or luma.ndim != 2:
        found = f"{luma.ndim} axes" if isinstance(luma, np.ndarray) else type(luma).__name__
        raise ValueError(f"{prefix}luma must be an array of two axes, not {found}")
    height, width = luma.shape
    if height % 2 or width % 2 or not luma.size:
        raise ValueError(f"{prefix}luma must have an even, positive number of rows and columns, not {height}×{width}")
    planes = (
        view(f"{prefix}luma", luma, (height, width), writable),
        view(f"{prefix}chroma", chroma, (height // 2, width // 2, 2), writable),
    )
    return image(fmt, width, height, *planes)


def picture_record(rgb: U8) -> _records.Picture:
    address, pitch = plane_of(rgb)
    height, width, channels = rgb.shape
    return _records.Picture(pixels=address, pitch=pitch, width=width, height=height, layout=_PACKED[channels])


def empty_frame(height: int, width: int) -> Tuple[U8, U8]:
    """Planes for a picture of that size, rounded up to even; the samples are uninitialised."""
    rows, columns = (height + 1) // 2, (width + 1) // 2
    return np.empty((2 * rows, 2 * columns), np.uint8), np.empty((rows, columns, 2), np.uint8)


def rgb_to_frame(rgb: U8, layout: str = "nv12") -> Tuple[U8, U8]:
    """Convert a picture to a frame, by ITU-R BT.601 in full range, as in JPEG.

    Parameters
    ----------
    rgb : ndarray of uint8, H×W×3 or H×W×4
        Red, green, blue, and alpha that is ignored.
    layout : {'nv12', 'nv21'}
        Order of a chroma pair: Cb, Cr, or Cr, Cb.

    Returns
    -------
    luma : ndarray of uint8, H×W
    chroma : ndarray of uint8, H/2×W/2×2
        A picture of odd size gives a frame one larger, whose last row or column repeats the picture's.

    Examples
    --------
    >>> import numpy as np, tlux
    >>> luma, chroma = tlux.rgb_to_frame(np.full((3, 4, 3), 90, np.uint8))
    >>> luma.shape, chroma.shape, luma[0, 0], chroma[0, 0]
    ((4, 4), (2, 2, 2), 90, array([128, 128], dtype=uint8))
    """
    check_picture("rgb", rgb, (3, 4))
    luma, chroma = empty_frame(*rgb.shape[:2])
    frame = frame_record(luma, chroma, layout)
    plain = source(rgb)
    check(lib.TLUX_PictureToFrame(byref(picture_record(plain)), byref(frame)), "rgb_to_frame")
    return luma, chroma


def frame_to_rgb(luma: U8, chroma: U8, layout: str = "nv12", out: Optional[U8] = None) -> U8:
    """Convert a frame to a picture; chroma is interpolated between its samples.

    Parameters
    ----------
    luma : ndarray of uint8, H×W
    chroma : ndarray of uint8, H/2×W/2×2
        Planes of a full-range frame, with any row stride.
    layout : {'nv12', 'nv21'}
        Order of a chroma pair: Cb, Cr, or Cr, Cb.
    out : ndarray of uint8, H×W×3 or H×W×4, optional
        Receives the picture; alpha is unchanged. It may omit the last row or column of the frame.

    Returns
    -------
    ndarray of uint8, H×W×3
        Or `out`.

    Examples
    --------
    >>> import numpy as np, tlux
    >>> gray = np.full((2, 2), 90, np.uint8), np.full((1, 1, 2), 128, np.uint8)
    >>> tlux.frame_to_rgb(*gray)[0, 0]
    array([90, 90, 90], dtype=uint8)
    """
    frame = frame_record(luma, chroma, layout)
    rgb = out
    if rgb is None:
        rgb = np.empty((*luma.shape, 3), np.uint8)
    else:
        check_picture("out", rgb, (3, 4))
        result(rgb, rgb.shape, np.uint8)
        if tuple((side + 1) // 2 * 2 for side in rgb.shape[:2]) != luma.shape:
            raise ValueError(f"out of {rgb.shape[0]}×{rgb.shape[1]} pixels does not suit a frame of {luma.shape}")
    check(lib.TLUX_FrameToPicture(byref(frame), byref(picture_record(rgb))), "frame_to_rgb")
    return rgb

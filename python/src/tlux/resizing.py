"""Resizing pictures and frames."""

from __future__ import annotations

from ctypes import byref
from typing import Optional, Tuple

import numpy as np

from . import _records
from ._arrays import U8, check_picture, choice, image, plane_of, result, source, whole
from ._errors import check
from ._library import lib
from .frames import frame_record

_FORMATS = {1: _records.GRAY, 3: _records.BGR24, 4: _records.BGR32}
_WHOLE_IMAGE = {"nearest": lib.asfImageResize_NN, "bilinear": lib.asfImageResize_BL}
_METHODS = {"nearest": 0, "bilinear": 1, "bicubic": 2}
_MOST_PIXELS = 2**28


def _record(array: U8) -> _records.Image:
    channels = array.shape[2] if array.ndim == 3 else 1
    return image(_FORMATS[channels], array.shape[1], array.shape[0], plane_of(array))


def _resize_bicubic(plane: U8, target: U8) -> None:
    address, pitch = plane_of(plane)
    to, to_pitch = plane_of(target)
    sizes = (plane.shape[1], plane.shape[0], pitch), (target.shape[1], target.shape[0], to_pitch)
    check(lib.ImageResize_Cubic_C1(address, *sizes[0], to, *sizes[1]), "resize")


def resize(picture: U8, output_shape: Tuple[int, int], method: str = "bicubic", out: Optional[U8] = None) -> U8:
    """Resize a picture to any size, with the centres of both pictures aligned.

    Only the nearest samples are used: to shrink a picture to less than half, reduce or blur it first.

    Parameters
    ----------
    picture : ndarray of uint8, H×W, H×W×3 or H×W×4
    output_shape : pair of int
        Rows and columns of the result.
    method : {'nearest', 'bilinear', 'bicubic'}
    out : ndarray of uint8, optional
        Receives the result.

    Returns
    -------
    ndarray of uint8
        Has that many rows and columns, and the channels of `picture`.

    Examples
    --------
    >>> import numpy as np, tlux
    >>> tlux.resize(np.uint8([[0, 100]]), (1, 4), method="bilinear")
    array([[  0,  25,  75, 100]], dtype=uint8)
    """
    check_picture("picture", picture, (1, 3, 4))
    choice("method", method, _METHODS)
    rows, columns = (whole("output_shape", side, 1, _MOST_PIXELS) for side in output_shape)
    if rows * columns > _MOST_PIXELS:
        raise ValueError(f"output_shape must have {_MOST_PIXELS} pixels at most, not {rows}×{columns}")
    target = result(out, (rows, columns, *picture.shape[2:]), np.uint8)
    plain = source(picture, target)
    if method in _WHOLE_IMAGE:
        check(_WHOLE_IMAGE[method](byref(_record(plain)), byref(_record(target))), "resize")
    elif plain.ndim == 2:
        _resize_bicubic(plain, target)
    else:
        channel = np.empty((rows, columns), np.uint8)
        for i in range(plain.shape[2]):
            _resize_bicubic(plain[:, :, i].copy(), channel)
            target[:, :, i] = channel
    return target


def reduce_frame(luma: U8, chroma: U8, factor: int, layout: str = "nv12") -> Tuple[U8, U8, U8]:
    """Shrink a frame by a whole factor, as the run does before it analyses a scene.

    An output sample is the mean of four (factors 2 to 4) or nine samples of its block. The mean of nine is rounded
    down and comes out one level darker in uniform areas.

    Parameters
    ----------
    luma : ndarray of uint8, H×W
    chroma : ndarray of uint8, H/2×W/2×2
        Planes of a frame, with any row stride.
    factor : int, 2 to 8
    layout : {'nv12', 'nv21'}
        Order of a chroma pair: Cb, Cr, or Cr, Cb.

    Returns
    -------
    y, cb, cr : ndarrays of uint8
        All of the reduced size, rounded down to even sides.

    Examples
    --------
    >>> import numpy as np, tlux
    >>> y, cb, cr = tlux.reduce_frame(np.full((48, 64), 80, np.uint8), np.full((24, 32, 2), 128, np.uint8), 2)
    >>> y.shape, cb.shape, y[0, 0], cb[0, 0]
    ((24, 32), (24, 32), 80, 128)
    """
    frame = frame_record(luma, chroma, layout)
    by = whole("factor", factor, 2, 8)
    rows, columns = (side // (2 * by) * 2 for side in luma.shape)
    if not rows or not columns:
        raise ValueError(f"luma of {luma.shape[0]}×{luma.shape[1]} is too small to be reduced by {by}")
    y, first, second = (np.empty((rows, columns), np.uint8) for _ in range(3))
    reduced = image(_records.YCBCR444_P, columns, rows, plane_of(y), plane_of(first), plane_of(second))
    check(lib.TLUX_ScaleCropImage(byref(frame), byref(reduced), None, by), "reduce_frame")
    # The factor 8 treats NV12 as NV21, and so returns Cr first.
    swapped = layout == "nv12" and by == 8
    return (y, second, first) if swapped else (y, first, second)

"""Histogram operations on brightness."""

from __future__ import annotations

from ctypes import byref
from typing import Optional

import numpy as np

from . import _records
from ._arrays import U8, changed_copy, check_picture, gray_image, image, plane_of, source
from ._errors import check
from ._library import lib
from .resizing import resize

_LEVELS = 256
_NEUTRAL = 128


def equalize_hist(plane: U8, out: Optional[U8] = None) -> U8:
    """Spread brightness evenly over all levels.

    Parameters
    ----------
    plane : ndarray of uint8, H×W
    out : ndarray of uint8, optional
        Receives the result; may be `plane` itself.

    Returns
    -------
    ndarray of uint8
        Each sample is the fraction of samples that are not brighter, times 255.

    Examples
    --------
    >>> import numpy as np, tlux
    >>> tlux.equalize_hist(np.uint8([[10, 10, 11, 12]]))
    array([[127, 127, 191, 255]], dtype=uint8)
    """
    check_picture("plane", plane, (1,))
    equalized = changed_copy(plane, out)
    record = gray_image(equalized)
    table = np.zeros(_LEVELS, np.uint32)
    lib.HistogramMap(byref(record), table.ctypes.data, None)
    levels = table.astype(np.uint8)
    lib.TLUX_AdjustImageByTable(byref(record), levels.ctypes.data)
    return equalized


def equalize_tiles(plane: U8, out: Optional[U8] = None) -> U8:
    """Equalize tiles of 16×16 samples, blended into one another.

    Reveals detail in dark and bright parts, but looks like a drawing rather than a photograph.

    Parameters
    ----------
    plane : ndarray of uint8, H×W
    out : ndarray of uint8, optional
        Receives the result; may be `plane` itself.

    Returns
    -------
    ndarray of uint8
        Has the shape of `plane`.

    Examples
    --------
    >>> import numpy as np, tlux
    >>> dark = np.tile(np.arange(32, dtype=np.uint8), (32, 1))
    >>> tlux.equalize_tiles(dark).max()
    255
    """
    check_picture("plane", plane, (1,))
    equalized = changed_copy(plane, out)
    rows, columns = ((side + 1) // 2 for side in plane.shape)
    # The library equalizes frames; in place, it leaves their chroma unchanged.
    neutral = np.full((rows, 2 * columns), _NEUTRAL, np.uint8)
    frame = image(_records.NV21, plane.shape[1], plane.shape[0], plane_of(equalized), plane_of(neutral))
    lib.AdaptiveHistogramEqualization(None, byref(frame), byref(frame))
    return equalized


def match_histograms(plane: U8, reference: U8, out: Optional[U8] = None) -> U8:
    """Give a plane the brightness distribution of another: its deciles are moved to those of the other.

    Parameters
    ----------
    plane : ndarray of uint8, H×W
    reference : ndarray of uint8, H×W
        Of any size.
    out : ndarray of uint8, optional
        Receives the result; may be `plane` itself.

    Returns
    -------
    ndarray of uint8
        Has the shape of `plane`.

    Examples
    --------
    >>> import numpy as np, tlux
    >>> ramp = np.tile(np.arange(100, dtype=np.uint8), (100, 1))
    >>> int(tlux.match_histograms(ramp, ramp + 100).mean().round()) in range(145, 155)
    True
    """
    check_picture("plane", plane, (1,))
    check_picture("reference", reference, (1,))
    # The table expects the same number of samples in both.
    rows, columns = plane.shape
    wanted = source(reference if reference.shape == plane.shape else resize(reference, (rows, columns), "nearest"))
    plain = source(plane)
    table = np.empty(_LEVELS, np.uint8)
    model, record = gray_image(wanted), gray_image(plain)
    check(lib.TLUX_GetMatchTable(None, byref(model), byref(record), table.ctypes.data), "match_histograms")
    matched = changed_copy(plane, out)
    lib.TLUX_AdjustImageByTable(byref(gray_image(matched)), table.ctypes.data)
    return matched

"""Binary masks: any value but 0 means set."""

from __future__ import annotations

from ctypes import byref, c_uint32
from typing import Any, Optional, Tuple, TypeVar

import numpy as np
from numpy.typing import NDArray

from . import _records
from ._arrays import Array, check_picture, plane_of, result, source, whole
from ._errors import check
from ._library import lib

Mask = TypeVar("Mask", NDArray[np.uint8], NDArray[np.bool_])

_LABELLERS = {4: lib.TRegionLabel_RegionLabel4, 8: lib.TRegionLabel_RegionLabel8}
_MASK_TYPES = (np.uint8, np.bool_)
_LARGEST_RADIUS = 253


def _morph(function: Any, mask: Array, radius: int, out: Optional[Array]) -> Array:
    check_picture("mask", mask, (1,), *_MASK_TYPES)
    amount = whole("radius", radius, 1, _LARGEST_RADIUS)
    target = result(out, mask.shape, mask.dtype)
    # The library writes 255, which is not a valid bool: bool masks go through a byte array.
    work = target if mask.dtype == np.uint8 else np.empty(mask.shape, np.uint8)
    np.copyto(work, mask)
    function(*plane_of(work), mask.shape[1], mask.shape[0], amount, None)
    if work is not target:
        np.not_equal(work, 0, out=target)
    return target


def erosion(mask: Mask, radius: int, out: Optional[Mask] = None) -> Mask:
    """Clear the pixels that have a clear pixel, or the outside of the mask, within `radius` steps.

    Parameters
    ----------
    mask : ndarray of bool or uint8, H×W
    radius : int, 1 to 253
        Steps between neighbours, without diagonals.
    out : ndarray, optional
        Receives the result; may be `mask` itself.

    Returns
    -------
    ndarray
        Has the shape and type of `mask`; 0 and 255 if that is uint8.

    Examples
    --------
    >>> import numpy as np, tlux
    >>> tlux.erosion(np.ones((3, 5), bool), 1).astype(int)
    array([[0, 0, 0, 0, 0],
           [0, 1, 1, 1, 0],
           [0, 0, 0, 0, 0]])
    """
    return _morph(lib.TLUX_ErodeEx, mask, radius, out)


def dilation(mask: Mask, radius: int, out: Optional[Mask] = None) -> Mask:
    """Set the pixels that have a set pixel within `radius` steps.

    Parameters
    ----------
    mask : ndarray of bool or uint8, H×W
    radius : int, 1 to 253
        Steps between neighbours, without diagonals.
    out : ndarray, optional
        Receives the result; may be `mask` itself.

    Returns
    -------
    ndarray
        Has the shape and type of `mask`; 0 and 255 if that is uint8.

    Examples
    --------
    >>> import numpy as np, tlux
    >>> dot = np.zeros((3, 5), bool)
    >>> dot[1, 2] = True
    >>> tlux.dilation(dot, 1).astype(int)
    array([[0, 0, 1, 0, 0],
           [0, 1, 1, 1, 0],
           [0, 0, 1, 0, 0]])
    """
    return _morph(lib.TLUX_DilateEx, mask, radius, out)


def label(mask: Mask, connectivity: int = 8) -> Tuple[NDArray[np.uint32], int]:
    """Number the regions of a mask.

    Parameters
    ----------
    mask : ndarray of bool or uint8, H×W
    connectivity : {4, 8}
        Whether pixels are connected by an edge, or also by a corner.

    Returns
    -------
    labels : ndarray of uint32, H×W
        0 where the mask is clear; regions are numbered from 1, row by row in the order of their first pixels.
    count : int

    Examples
    --------
    >>> import numpy as np, tlux
    >>> labels, count = tlux.label(np.bool_([[1, 0, 1], [0, 1, 0]]), connectivity=4)
    >>> count, labels.tolist()
    (3, [[1, 0, 2], [0, 3, 0]])
    """
    check_picture("mask", mask, (1,), *_MASK_TYPES)
    if connectivity not in _LABELLERS:
        raise ValueError(f"connectivity must be 4 or 8, not {connectivity}")
    plain = source(mask)
    labels = np.empty(mask.shape, np.uint32)
    count = c_uint32()
    size = mask.shape[1], mask.shape[0]
    check(_LABELLERS[connectivity](None, *plane_of(plain), *size, *plane_of(labels), byref(count)), "label")
    return labels, count.value


def regionprops(labels: NDArray[np.uint32], count: Optional[int] = None) -> NDArray[np.void]:
    """Measure labelled regions.

    Parameters
    ----------
    labels : ndarray of uint32, H×W
        From `label`, or from elsewhere.
    count : int, optional
        Regions to measure; by default the largest label.

    Returns
    -------
    structured ndarray
        One record per region, label 1 first: ``label``, ``area`` in pixels, the box from ``left``, ``top`` to
        ``right``, ``bottom`` (exclusive), and ``centroid_x``, ``centroid_y``. 0 for a label without pixels.

    Examples
    --------
    >>> import numpy as np, tlux
    >>> regions = tlux.regionprops(np.uint32([[1, 1, 0], [0, 0, 2]]))
    >>> regions["area"], regions["centroid_x"]
    (array([2, 1], dtype=uint32), array([0.5, 2. ]))
    """
    check_picture("labels", labels, (1,), np.uint32)
    number = whole("the largest label, or count,", int(labels.max()) if count is None else count, 0, labels.size)
    plain = source(labels)
    if plain.ctypes.data % plain.itemsize or plane_of(plain)[1] % plain.itemsize:
        plain = plain.copy()
    regions = np.zeros(number, _records.REGION)
    size = labels.shape[1], labels.shape[0]
    check(lib.TLUX_TRegionLabel_Statistics(*plane_of(plain), *size, regions.ctypes.data, number), "regionprops")
    return regions

"""Requirements on arrays, and the library's records that describe them."""

from __future__ import annotations

import operator
from typing import Any, Optional, Tuple

import numpy as np
from numpy.typing import DTypeLike, NDArray

from . import _records

U8 = NDArray[np.uint8]
Array = NDArray[Any]
Plane = Tuple[int, int]
"""Address of the first sample, bytes from one row to the next."""

_LARGEST = 2**31 - 1


def whole(name: str, value: int, low: int, high: int) -> int:
    """The value as an integer within its range."""
    number = operator.index(value)
    if not low <= number <= high:
        raise ValueError(f"{name} must be {low} to {high}, not {number}")
    return number


def choice(name: str, value: str, known: dict[str, int]) -> int:
    if value not in known:
        raise ValueError(f"{name} must be {' or '.join(map(repr, known))}, not {value!r}")
    return known[value]


def check_samples(name: str, array: Array, *dtypes: DTypeLike) -> None:
    """Raises unless the argument is an array of one of the types."""
    if not isinstance(array, np.ndarray):
        raise ValueError(f"{name} must be a NumPy array, not {type(array).__name__}")
    if array.dtype not in dtypes:
        expected = " or ".join(np.dtype(dtype).name for dtype in dtypes)
        raise ValueError(f"{name} must have samples of type {expected}, not {array.dtype}")


def check_picture(name: str, array: Array, channels: Tuple[int, ...], *dtypes: DTypeLike) -> None:
    """Raises unless the argument is a picture; 1 among the channels means an array of two axes."""
    check_samples(name, array, *(dtypes or (np.uint8,)))
    found = 1 if array.ndim == 2 else array.shape[2] if array.ndim == 3 and array.shape[2] != 1 else 0
    if found not in channels or array.size == 0 or max(array.shape) > _LARGEST:
        expected = " or ".join("H×W" if n == 1 else f"H×W×{n}" for n in channels)
        raise ValueError(f"{name} must be {expected}, not {'×'.join(map(str, array.shape)) or 'a single number'}")


def has_plain_rows(array: Array) -> bool:
    """Whether the samples of each row are contiguous and the rows are in ascending order."""
    row = 1
    for extent, stride in zip(array.shape[:0:-1], array.strides[:0:-1]):
        if extent != 1 and stride != row * array.itemsize:
            return False
        row *= extent
    return array.shape[0] == 1 or row * array.itemsize <= array.strides[0] <= _LARGEST


def plane_of(array: Array) -> Plane:
    """The record of an array with plain rows."""
    row = array.itemsize * (array.size // array.shape[0])
    return array.ctypes.data, row if array.shape[0] == 1 else array.strides[0]


def view(name: str, array: Array, shape: Tuple[int, ...], writable: bool) -> Plane:
    """A plane of bytes that is used without a copy: it must have the right shape, type and strides."""
    check_samples(name, array, np.uint8)
    if array.shape != shape:
        raise ValueError(f"{name} must have the shape {shape}, not {array.shape}")
    if not has_plain_rows(array):
        raise ValueError(
            f"the samples of a row of {name} must lie side by side and its rows one below the other; "
            f"the strides are {array.strides}"
        )
    if writable and not array.flags.writeable:
        raise ValueError(f"{name} is read-only")
    return plane_of(array)


def source(array: Array, out: Optional[Array] = None) -> Array:
    """The array, or a copy if its strides do not suit the library or `out` shares its memory."""
    if has_plain_rows(array) and (out is None or not np.may_share_memory(array, out)):
        return array
    return array.copy(order="C")


def result(out: Optional[Array], shape: Tuple[int, ...], dtype: DTypeLike) -> Array:
    """A new array, or the caller's, which is checked."""
    if out is None:
        return np.empty(shape, dtype)
    check_samples("out", out, dtype)
    if out.shape != shape:
        raise ValueError(f"out must have the shape {shape}, not {out.shape}")
    if not out.flags.writeable:
        raise ValueError("out is read-only")
    if not has_plain_rows(out):
        raise ValueError(f"the samples of a row of out must lie side by side; its strides are {out.strides}")
    return out


def changed_copy(array: Array, out: Optional[Array]) -> Array:
    """`out` or a new array, filled with the array: for operations that work in place."""
    target = result(out, array.shape, array.dtype)
    if target is not array:
        np.copyto(target, array)
    return target


def image(fmt: int, width: int, height: int, *planes: Plane) -> _records.Image:
    record = _records.Image(format=fmt, width=width, height=height)
    for i, (address, pitch) in enumerate(planes):
        record.plane[i] = address
        record.pitch[i] = pitch
    return record


def gray_image(array: Array) -> _records.Image:
    return image(_records.GRAY, array.shape[1], array.shape[0], plane_of(array))

"""Blurs, some of which keep edges."""

from __future__ import annotations

import math
from typing import Any, Dict, Optional, TypeVar

import numpy as np
from numpy.typing import NDArray

from ._arrays import U8, changed_copy, check_picture, plane_of, result, source, whole
from ._errors import check
from ._library import lib

_BOX_BLURS: Dict[str, Any] = {
    "uint8": lib.TLUX_BoxBlur_Byte,
    "int8": lib.TLUX_BoxBlur_Int8,
    "int16": lib.TLUX_BoxBlur_Int16,
    "int32": lib.TLUX_BoxBlur_Int32,
}
_LARGEST_RADIUS = 2**30

Samples = TypeVar("Samples", bound=NDArray[Any])


def box_blur(plane: Samples, radius: int, out: Optional[Samples] = None) -> Samples:
    """Give every sample the mean of the (2·radius + 1)² samples around it; edge samples are repeated outward.

    Parameters
    ----------
    plane : ndarray of uint8, int8, int16 or int32, H×W
    radius : int, 0 to 180
        Does not affect the time.
    out : ndarray, optional
        Receives the result; may be `plane` itself.

    Returns
    -------
    ndarray
        Has the shape and type of `plane`.

    Examples
    --------
    >>> import numpy as np, tlux
    >>> tlux.box_blur(np.uint8([[0, 0, 9, 0, 0]]), 1)
    array([[0, 3, 3, 3, 0]], dtype=uint8)
    """
    check_picture("plane", plane, (1,), *_BOX_BLURS)
    amount = whole("radius", radius, 0, 180)  # beyond it the library's 65536 / (2·radius + 1)² is 0
    blurred: Samples = changed_copy(plane, out)  # type: ignore[assignment]
    address, pitch = plane_of(blurred)
    if pitch % blurred.itemsize:
        raise ValueError(f"the rows of out must be a whole number of samples apart, not {pitch} bytes")
    rows, columns = blurred.shape
    blur = _BOX_BLURS[blurred.dtype.name]
    check(blur(None, address, columns, rows, pitch // blurred.itemsize, amount, 0), "box_blur")
    return blurred


def guided_filter(
    picture: U8,
    radius: int,
    eps: int,
    guide: Optional[U8] = None,
    subsample: int = 1,
    out: Optional[U8] = None,
) -> U8:
    """Smooth a picture and keep the edges of a guide (He, Sun, Tang: Guided Image Filtering, 2013).

    Parameters
    ----------
    picture : ndarray of uint8, H×W, or H×W×3 with a gray guide
    radius : int
        The window extends this many pixels to each side. Does not affect the time.
    eps : int
        Regularisation in squared 8-bit values, at least 1: 10 keeps fine texture, 400 smooths all but strong edges.
    guide : ndarray of uint8, H×W or H×W×3, optional
        By default a gray picture guides itself.
    subsample : int, 1 to 16
        Above 1, the coefficients come from pictures reduced by this factor, which is faster; a quarter of the radius
        or less is a good choice. Only for a gray picture with a gray guide.
    out : ndarray of uint8, optional
        Receives the result.

    Returns
    -------
    ndarray of uint8
        Has the shape of `picture`.

    Examples
    --------
    >>> import numpy as np, tlux
    >>> noisy = np.uint8([[20, 24, 20, 24, 200, 204, 200, 204]] * 8)
    >>> tlux.guided_filter(noisy, radius=2, eps=100)[0].tolist()
    [21, 23, 21, 25, 199, 203, 201, 203]
    """
    check_picture("picture", picture, (1,) if guide is None else (1, 3))
    guide = picture if guide is None else guide
    check_picture("guide", guide, (1, 3))
    if guide.shape[:2] != picture.shape[:2]:
        raise ValueError(f"guide must have the rows and columns of picture, {picture.shape[:2]}, not {guide.shape[:2]}")
    if guide.ndim == 3 and picture.ndim == 3:
        raise ValueError("a picture of three channels needs a gray guide, H×W")
    by = whole("subsample", subsample, 1, 16)
    if by > 1 and (guide.ndim, picture.ndim) != (2, 2):
        raise ValueError("subsample must be 1 where picture or guide have three channels")
    numbers = [whole("radius", radius, 0, _LARGEST_RADIUS), whole("eps", eps, 1, 2**31 - 1)]
    smoothed = result(out, picture.shape, np.uint8)
    if by > 1:
        smooth = lib.TLUX_GuidedFilter1DS
        numbers.append(by)
    elif guide.ndim == 3:
        smooth = lib.GuidedFilter3D
    else:
        smooth = lib.TLUX_GuidedFilter1D if picture.ndim == 2 else lib.GuidedFilter1D_3C
    # Keeps it alive until the call is over.
    plain_guide, plain = source(guide, smoothed), source(picture, smoothed)
    planes = (*plane_of(plain_guide), *plane_of(plain), *plane_of(smoothed))
    check(smooth(None, *planes, picture.shape[1], picture.shape[0], *numbers), "guided_filter")
    return smoothed


def denoise_bilateral(
    plane: U8, radius: int, sigma_color: float, sigma_spatial: float, out: Optional[U8] = None
) -> U8:
    """Smooth a plane with the bilateral filter (Tomasi, Manduchi, 1998).

    Parameters
    ----------
    plane : ndarray of uint8, H×W
    radius : int, 0 to 64
        Of the round window; the time grows with its square. Twice `sigma_spatial` loses little.
    sigma_color : float
        In levels, above 0: much larger differences are edges.
    sigma_spatial : float
        In pixels, above 0.
    out : ndarray of uint8, optional
        Receives the result.

    Returns
    -------
    ndarray of uint8
        Has the shape of `plane`.

    Examples
    --------
    >>> import numpy as np, tlux
    >>> noisy = np.uint8([[20, 24, 20, 24, 200, 204, 200, 204]] * 8)
    >>> tlux.denoise_bilateral(noisy, radius=2, sigma_color=10, sigma_spatial=1)[4].tolist()
    [21, 22, 22, 23, 201, 202, 202, 203]
    """
    check_picture("plane", plane, (1,))
    amount = whole("radius", radius, 0, 64)
    for name, sigma in (("sigma_color", sigma_color), ("sigma_spatial", sigma_spatial)):
        if not (sigma > 0 and math.isfinite(sigma)):
            raise ValueError(f"{name} must be a number above 0, not {sigma}")
    smoothed = result(out, plane.shape, np.uint8)
    plain = source(plane, smoothed)
    rows, columns = plane.shape
    planes = (*plane_of(plain), *plane_of(smoothed))
    check(lib.BilateralFilter1D(None, *planes, columns, rows, amount, sigma_color, sigma_spatial), "denoise_bilateral")
    return smoothed

"""Whole pictures in one call."""

from __future__ import annotations

from typing import Optional, Tuple

import numpy as np

from ._arrays import U8, changed_copy, check_picture
from .frames import empty_frame, frame_to_rgb, rgb_to_frame
from .stream import DEFAULT_STRENGTH, Stream

_NEUTRAL = 128


def enhance(
    rgb: U8,
    strength: int = DEFAULT_STRENGTH,
    *,
    exact: bool = False,
    colour: Optional[int] = None,
    fine_windows: Optional[bool] = None,
    steady: Optional[int] = None,
    threads: Optional[int] = None,
    out: Optional[U8] = None,
) -> U8:
    """Make a picture of a high-contrast scene look right. A small mark is added.

    Parameters
    ----------
    rgb : ndarray of uint8, H×W×3, H×W×4 or H×W
        Red, green, blue, and alpha, which is kept; or gray. Of any size and any strides.
    strength : int
        Strength of the effect: 0 keeps the tones, 30 suits most pictures, 100 is strong.
    exact : bool
        The tones of the native run, to the byte, instead of the natural ones.
    colour, fine_windows, steady, threads
        As for `Stream`.
    out : ndarray of uint8, optional
        Receives the result; may be `rgb` itself.

    Returns
    -------
    ndarray of uint8
        Has the shape of `rgb`; `out` if it was given.

    Examples
    --------
    >>> import numpy as np, tlux
    >>> dark = np.tile(np.arange(90, dtype=np.uint8)[:, None], (70, 1, 3))
    >>> better = tlux.enhance(dark, strength=60)
    >>> better.shape, bool(better.mean() > dark.mean())
    ((70, 90, 3), True)
    """
    check_picture("rgb", rgb, (1, 3, 4))
    is_gray = rgb.ndim == 2
    luma, chroma = _gray_frame(rgb) if is_gray else rgb_to_frame(rgb)
    enhanced = changed_copy(rgb, out)  # with the alpha of the source
    with Stream(exact=exact, colour=colour, fine_windows=fine_windows, steady=steady, threads=threads) as stream:
        stream.run(luma, chroma, out=(luma, chroma), strength=strength)
    if is_gray:
        np.copyto(enhanced, luma[: rgb.shape[0], : rgb.shape[1]])
        return enhanced
    return frame_to_rgb(luma, chroma, out=enhanced)


def _gray_frame(gray: U8) -> Tuple[U8, U8]:
    """Repeats the last row and column, as the library does for odd pictures."""
    luma, chroma = empty_frame(*gray.shape)
    height, width = gray.shape
    luma[:height, :width] = gray
    luma[:height, width:] = gray[:, -1:]
    luma[height:] = luma[height - 1]
    chroma.fill(_NEUTRAL)
    return luma, chroma

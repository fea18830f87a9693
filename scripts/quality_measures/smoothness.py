"""How close natural tones are to the same steps in double precision, where a picture is smooth."""

import ctypes

import numpy as np
from tlux._library import lib

from .pictures import without_mark
from .steadiness import STRENGTH

RADIUS, REGULARISATION = 16, 20.0  # reference pixels, squared codes
ENLARGEMENT = 8
BLOCK, LARGEST_RANGE = 64, 3  # pixels, codes: what counts as smooth


def mapped(reference, gains):
    """The reference through its gains: multiplied in linear light, inverted where a gain darkens."""
    linear = np.array((ctypes.c_uint16 * 256).in_dll(lib, "TLUX_Degamma_Table")).astype(np.int64)
    coded = np.array((ctypes.c_uint8 * 4096).in_dll(lib, "TLUX_Gamma_Table8"))
    gains = gains.astype(np.int64)
    inversion = np.where(gains < 1024, 255, 0)
    applied = np.where(gains < 1024, (1 << 20) // np.maximum(gains, 1), gains)
    light = np.clip(applied * linear[reference ^ inversion] >> 10, 0, 4095)
    return (coded[light] ^ inversion).astype(float)


def window_means(plane):
    """Means over 2r x 2r windows, one sample more above and to the left, edges repeated."""
    padded = np.pad(plane, ((RADIUS, RADIUS - 1),) * 2, mode="edge")
    sums = np.pad(padded, ((1, 0),) * 2).cumsum(axis=0).cumsum(axis=1)
    side = 2 * RADIUS
    return (sums[side:, side:] - sums[:-side, side:] - sums[side:, :-side] + sums[:-side, :-side]) / side ** 2


def enlarged(plane):
    """Bilinear, top left samples aligned, the last row and column repeated."""
    for axis in (0, 1):
        plane = np.moveaxis(plane, axis, 0)
        following = np.concatenate((plane[1:], plane[-1:]))
        share = np.arange(ENLARGEMENT).reshape(1, -1, 1) / ENLARGEMENT
        plane = ((1 - share) * plane[:, None] + share * following[:, None]).reshape(-1, plane.shape[1])
        plane = np.moveaxis(plane, 0, axis)
    return plane


def coefficients(guide, target):
    """Slope and offset of the guided filter (He, Sun, Tang, "Guided image filtering", 2013), smoothed."""
    guide_mean, target_mean = window_means(guide), window_means(target)
    variance = window_means(guide * guide) - guide_mean ** 2
    covariance = window_means(guide * target) - guide_mean * target_mean
    slope = covariance / (variance + REGULARISATION)
    return window_means(slope), window_means(target_mean - slope * guide_mean)


def smooth_blocks(plane):
    """Corners of the blocks whose values differ by a few codes at most."""
    for top in range(0, plane.shape[0] - BLOCK + 1, BLOCK):
        for left in range(0, plane.shape[1] - BLOCK + 1, BLOCK):
            block = plane[top:top + BLOCK, left:left + BLOCK]
            if int(block.max()) - int(block.min()) <= LARGEST_RANGE:
                yield slice(top, top + BLOCK), slice(left, left + BLOCK)


def largest_difference(stream, y, uv):
    """Codes between a stream's luma and the same steps in double precision; 0 for a picture without smooth blocks."""
    stream.reset()
    result = without_mark(stream.run(y, uv, strength=STRENGTH)[0])
    report = stream.explain()
    slope, offset = coefficients(report.reference.astype(float), mapped(report.reference, report.gains))
    y = without_mark(y)
    rows = -(-y.shape[0] // ENLARGEMENT) + 1
    slope, offset = (enlarged(plane[:rows])[:y.shape[0], :y.shape[1]] for plane in (slope, offset))
    expected = np.clip(slope * y + offset, 0, 255)
    return max((float(np.abs(result[block] - expected[block]).max()) for block in smooth_blocks(y)), default=0.0)

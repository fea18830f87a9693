"""How a picture looks compared with its original. Each measure takes two RGB pictures of equal size."""

import numpy as np

from .pictures import linear_of

# Rec. 709 primaries, D65 (IEC 61966-2-1), rows X, Y, Z; each row divided by the white's.
XYZ = np.array([[0.4124, 0.3576, 0.1805], [0.2126, 0.7152, 0.0722], [0.0193, 0.1192, 0.9505]])
XYZ /= XYZ.sum(axis=1, keepdims=True)
MAX_PIXELS = 400_000  # pictures are thinned out to about this many


def thinned(rgb):
    step = max(1, int(np.sqrt(rgb.shape[0] * rgb.shape[1] / MAX_PIXELS)))
    return rgb[::step, ::step]


def luma(rgb):
    return rgb @ np.array([0.299, 0.587, 0.114])


def lab(rgb):
    """CIE 1976 L*a*b* (ISO/CIE 11664-4) of sRGB."""
    ratio = linear_of(rgb) @ XYZ.T
    f = np.where(ratio > (6 / 29) ** 3, np.cbrt(ratio), ratio / (3 * (6 / 29) ** 2) + 4 / 29)
    x, y, z = np.moveaxis(f, -1, 0)
    return 116 * y - 16, 500 * (x - y), 200 * (y - z)


def clipped(rgb):
    """Per cent of the pixels with a channel at 0 or 255."""
    return 100 * np.mean(((rgb == 0) | (rgb == 255)).any(axis=-1))


def lightness_order_error(before, after):
    """Per cent of the pairs of pixels whose order of lightness is reversed, on a grid of about 50 x 50.

    Lightness is the largest of R, G, B. Wang, Zheng, Hu, Li, "Naturalness preserved enhancement algorithm for
    non-uniform illumination images", 2013; there the count, here its share.
    """
    step = max(1, min(before.shape[:2]) // 50)
    old, new = (rgb[::step, ::step].max(axis=-1).ravel().astype(int) for rgb in (before, after))
    return 100 * np.mean((old[:, None] >= old) != (new[:, None] >= new))


def hue_shift(before, after):
    """Mean change of the hue angle in L*a*b*, in degrees, over pixels with colour (C* above 10) in both."""
    (_, a0, b0), (_, a1, b1) = lab(thinned(before)), lab(thinned(after))
    coloured = (np.hypot(a0, b0) > 10) & (np.hypot(a1, b1) > 10)
    if not coloured.any():
        return 0.0
    turn = np.degrees(np.arctan2(b1, a1) - np.arctan2(b0, a0))[coloured]
    return float(np.mean(np.abs((turn + 180) % 360 - 180)))


def chroma_ratio(before, after):
    """Mean C* after over mean C* before; 1 keeps the colourfulness of the original."""
    (_, a0, b0), (_, a1, b1) = lab(thinned(before)), lab(thinned(after))
    return float(np.hypot(a1, b1).mean() / max(np.hypot(a0, b0).mean(), 1e-6))


def halo_overshoot(before, after):
    """Codes of luma by which both sides of strong edges overshoot their surroundings; mean over edges.

    An edge is a step of at least 64 codes between the means of two adjacent windows of 8 pixels. Overshoot is how much
    further the window next to the edge moves away from it than the next window out.
    """
    total, count = 0.0, 0
    for axis in (0, 1):
        old, new = (window_means(luma(rgb), axis) for rgb in (before, after))
        rise = old[2:-1] - old[1:-2]
        moved = np.sign(rise) * np.stack([(new - old)[i:len(old) - 3 + i] for i in range(4)])
        away = np.maximum(moved[0] - moved[1], 0) + np.maximum(moved[2] - moved[3], 0)
        edges = np.abs(rise) >= 64
        total += away[edges].sum()
        count += 2 * edges.sum()
    return float(total / max(count, 1))


def window_means(plane, axis, length=8):
    """Means of windows of `length` pixels along one axis, that axis first."""
    plane = np.moveaxis(plane, axis, 0)
    whole = len(plane) // length * length
    return plane[:whole].reshape(-1, length, plane.shape[1]).mean(axis=1)


def noise(plane, where):
    """Standard deviation of the noise in the pixels of a mask. Immerkaer, "Fast noise variance estimation", 1996."""
    p = plane
    laplacian = (p[:-2, :-2] - 2 * p[:-2, 1:-1] + p[:-2, 2:] - 2 * p[1:-1, :-2] + 4 * p[1:-1, 1:-1] -
                 2 * p[1:-1, 2:] + p[2:, :-2] - 2 * p[2:, 1:-1] + p[2:, 2:])
    inner = where[1:-1, 1:-1]
    return float(np.sqrt(np.pi / 2) * np.abs(laplacian[inner]).mean() / 6) if inner.any() else 0.0


def shadow_noise_ratio(before, after):
    """Noise of luma in the shadows (luma below 48) relative to its mean there, after over before."""
    old, new = luma(before), luma(after)
    dark = old < 48
    if not dark[1:-1, 1:-1].any() or noise(old, dark) == 0:
        return 1.0
    return noise(new, dark) / max(new[dark].mean(), 1) / (noise(old, dark) / max(old[dark].mean(), 1))

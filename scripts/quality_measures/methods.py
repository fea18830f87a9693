"""What is compared with the library's tones: two peers that every image toolbox has."""

import numpy as np

from .appearance import luma


def gamma_to_mean(rgb, mean):
    """Every channel raised to one power that brings mean luma to the given one."""
    low, high = 0.1, 10.0
    small = rgb[::4, ::4] / 255
    for _ in range(30):
        power = (low * high) ** 0.5
        if luma(255 * small ** power).mean() > mean:
            low = power
        else:
            high = power
    return np.rint(255 * (np.arange(256) / 255) ** power).astype(np.uint8)[rgb]


def clahe(y):
    """Contrast-limited adaptive histogram equalization of luma, OpenCV's, 8 x 8 tiles, clip limit 2; None without it.

    Zuiderveld, "Contrast limited adaptive histogram equalization", 1994.
    """
    try:
        import cv2
    except ImportError:
        return None
    return cv2.createCLAHE(clipLimit=2.0, tileGridSize=(8, 8)).apply(y)

"""The methods compared: the library's tones and two peers that every image toolbox has."""

import ctypes

import numpy as np

from .appearance import luma

NV12 = 0x801
TONES = {"exact": 0, "natural": 1}


class Image(ctypes.Structure):
    _fields_ = [("format", ctypes.c_uint32), ("width", ctypes.c_int32), ("height", ctypes.c_int32),
                ("plane", ctypes.c_void_p * 4), ("pitch", ctypes.c_int32 * 4)]

    @classmethod
    def over(cls, y, uv):
        """The record of NV12 planes; both may be views with padded rows."""
        return cls(NV12, y.shape[1], y.shape[0], (y.ctypes.data, uv.ctypes.data), (y.strides[0], uv.strides[0]))


class Picture(ctypes.Structure):
    _fields_ = [("pixels", ctypes.c_void_p), ("pitch", ctypes.c_int64), ("width", ctypes.c_int32),
                ("height", ctypes.c_int32), ("layout", ctypes.c_uint32), ("reserved", ctypes.c_uint32)]

    @classmethod
    def over(cls, rgb):
        return cls(rgb.ctypes.data, rgb.strides[0], rgb.shape[1], rgb.shape[0], 0, 0)


class Options(ctypes.Structure):
    _fields_ = [("size", ctypes.c_uint32), ("range", ctypes.c_uint32), ("steady", ctypes.c_uint32),
                ("colour", ctypes.c_uint32), ("fineWindows", ctypes.c_uint32), ("threads", ctypes.c_uint32),
                ("parallelFor", ctypes.c_void_p), ("parallelContext", ctypes.c_void_p), ("workers", ctypes.c_uint32),
                ("reserved", ctypes.c_uint32)]


class Report(ctypes.Structure):
    _fields_ = [("size", ctypes.c_uint32), ("width", ctypes.c_int32), ("height", ctypes.c_int32),
                ("referencePitch", ctypes.c_int32), ("reference", ctypes.POINTER(ctypes.c_uint8)),
                ("scores", ctypes.POINTER(ctypes.c_int16)), ("gains", ctypes.POINTER(ctypes.c_uint16)),
                ("mean", ctypes.c_int32), ("anchor", ctypes.c_int32), ("isCut", ctypes.c_uint32),
                ("reserved", ctypes.c_uint32)]


class Library:
    def __init__(self, path):
        self.calls = ctypes.CDLL(str(path))

    def check(self, name, *arguments):
        code = getattr(self.calls, name)(*arguments)
        if code != 0:
            raise RuntimeError(f"{name} returned {code}")

    def frame_of(self, rgb):
        """Luma and interleaved chroma of an RGB picture."""
        height, width, _ = rgb.shape
        y, uv = np.empty((height, width), np.uint8), np.empty((height // 2, width), np.uint8)
        self.check("TLUX_PictureToFrame", ctypes.byref(Picture.over(rgb)), ctypes.byref(Image.over(y, uv)))
        return y, uv

    def rgb_of(self, y, uv):
        rgb = np.empty((*y.shape, 3), np.uint8)
        self.check("TLUX_FrameToPicture", ctypes.byref(Image.over(y, uv)), ctypes.byref(Picture.over(rgb)))
        return rgb


class Stream:
    """tlux with exact or natural tones, and optional settings."""

    def __init__(self, library, tones, **options):
        self.library = library
        record = Options()
        library.check("TLUX_InitStreamOptions", ctypes.byref(record), ctypes.sizeof(record), TONES[tones])
        for name, value in options.items():
            setattr(record, name, value)
        self.options = record
        self.handle = ctypes.c_void_p()
        library.check("TLUX_OpenStream", None, ctypes.byref(record), ctypes.byref(self.handle))

    def __del__(self):
        self.library.calls.TLUX_CloseStream(ctypes.byref(self.handle))

    def reset(self):
        self.library.calls.TLUX_ResetStream(self.handle)

    def run(self, y, uv, strength):
        """New planes from given ones."""
        out = np.empty_like(y), np.empty_like(uv)
        self.library.check("TLUX_RunStream", self.handle, ctypes.byref(Image.over(y, uv)),
                           ctypes.byref(Image.over(*out)), ctypes.c_uint32(strength))
        return out

    def report(self):
        """Reference luma and gains (Q10) of the latest frame."""
        record = Report(size=ctypes.sizeof(Report))
        self.library.check("TLUX_ReadStreamReport", self.handle, ctypes.byref(record))
        rows = np.ctypeslib.as_array(record.reference, (record.height, record.referencePitch))
        return rows[:, :record.width].copy(), np.ctypeslib.as_array(record.gains, (record.height, record.width)).copy()


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

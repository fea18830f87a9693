"""Records of the C interface, field by field as in the headers."""

from __future__ import annotations

from ctypes import Structure, c_char_p, c_int32, c_int64, c_uint32, c_uint64, c_void_p

import numpy as np

OK = 0
INVALID_PARAM = 2
NO_MEMORY = 4
THREAD = 8193

BGR24 = 0x301
BGR32 = 0x302
YCBCR444_P = 0x604
GRAY = 0x701
NV12 = 0x801
NV21 = 0x802

RGB = 0
RGBA = 1

TONES_EXACT = 0
TONES_NATURAL = 1

RANGE_FULL = 0
RANGE_LIMITED = 1


class Version(Structure):
    _fields_ = [
        ("major", c_int64),
        ("minor", c_int64),
        ("build", c_int64),
        ("revision", c_int64),
        ("version", c_char_p),
        ("build_date", c_char_p),
        ("notice", c_char_p),
    ]


class Image(Structure):
    _fields_ = [
        ("format", c_uint32),
        ("width", c_int32),
        ("height", c_int32),
        ("plane", c_void_p * 4),
        ("pitch", c_int32 * 4),
    ]


class Picture(Structure):
    _fields_ = [
        ("pixels", c_void_p),
        ("pitch", c_int64),
        ("width", c_int32),
        ("height", c_int32),
        ("layout", c_uint32),
        ("reserved", c_uint32),
    ]


class Rect(Structure):
    """Right and bottom are exclusive."""

    _fields_ = [("left", c_int32), ("top", c_int32), ("right", c_int32), ("bottom", c_int32)]


class Crop(Structure):
    """Right and bottom are the last column and row."""

    _fields_ = [("left", c_int32), ("top", c_int32), ("right", c_int32), ("bottom", c_int32)]


class MaskRect(Structure):
    _fields_ = [("left", c_uint32), ("top", c_uint32), ("right", c_uint32), ("bottom", c_uint32)]


class StreamOptions(Structure):
    _fields_ = [
        ("size", c_uint32),
        ("range", c_uint32),
        ("steady", c_uint32),
        ("colour", c_uint32),
        ("fine_windows", c_uint32),
        ("threads", c_uint32),
        ("parallel_for", c_void_p),
        ("parallel_context", c_void_p),
        ("workers", c_uint32),
        ("reserved", c_uint32),
    ]


class StreamReport(Structure):
    _fields_ = [
        ("size", c_uint32),
        ("width", c_int32),
        ("height", c_int32),
        ("reference_pitch", c_int32),
        ("reference", c_uint64),
        ("scores", c_uint64),
        ("gains", c_uint64),
        ("mean", c_int32),
        ("anchor", c_int32),
        ("is_cut", c_uint32),
        ("reserved", c_uint32),
    ]


REGION = np.dtype(
    [
        ("label", np.uint32),
        ("area", np.uint32),
        ("left", np.uint32),
        ("top", np.uint32),
        ("right", np.uint32),
        ("bottom", np.uint32),
        ("centroid_x", np.float64),
        ("centroid_y", np.float64),
    ]
)

"""The native library: which file it is, and the signatures of its functions."""

from __future__ import annotations

import ctypes
import os
from ctypes import POINTER, c_float, c_int32, c_uint32, c_void_p
from pathlib import Path

from ._records import Crop, Image, MaskRect, Picture, Rect, StreamOptions, StreamReport, Version

_NAME = "libtlux.so.1"
_MAJOR = 1

_image = POINTER(Image)
_picture = POINTER(Picture)
_options = POINTER(StreamOptions)
_plane = (c_void_p, c_int32)  # first byte, bytes from row to row
_size = (c_int32, c_int32)
_mask = (*_plane, c_uint32, c_uint32)

_RETURNS_NOTHING = None
_SIGNATURES: dict[str, tuple[object, tuple[object, ...]]] = {
    "TLUX_GetVersion": (POINTER(Version), ()),
    # rgb.h
    "TLUX_PictureToFrame": (c_uint32, (_picture, _image)),
    "TLUX_FrameToPicture": (c_uint32, (_image, _picture)),
    # stream.h
    "TLUX_InitStreamOptions": (c_uint32, (_options, c_uint32, c_uint32)),
    "TLUX_OpenStream": (c_uint32, (c_void_p, _options, POINTER(c_void_p))),
    "TLUX_ChangeStream": (c_uint32, (c_void_p, _options)),
    "TLUX_RunStream": (c_uint32, (c_void_p, _image, _image, c_uint32)),
    "TLUX_ResetStream": (_RETURNS_NOTHING, (c_void_p,)),
    "TLUX_ReadStreamReport": (c_uint32, (c_void_p, POINTER(StreamReport))),
    "TLUX_CloseStream": (_RETURNS_NOTHING, (POINTER(c_void_p),)),
    # resize.h, resample.h
    "asfImageResize_NN": (c_uint32, (_image, _image)),
    "asfImageResize_BL": (c_uint32, (_image, _image)),
    "ImageResize_Cubic_C1": (c_uint32, (c_void_p, *_size, c_int32, c_void_p, *_size, c_int32)),
    "TLUX_ScaleCropImage": (c_uint32, (_image, _image, POINTER(Crop), c_int32)),
    # box_blur.h, smoothing.h
    **{
        f"TLUX_BoxBlur_{samples}": (c_uint32, (c_void_p, c_void_p, *_size, c_int32, c_int32, c_int32))
        for samples in ("Byte", "Int8", "Int16", "Int32")
    },
    "TLUX_GuidedFilter1D": (c_uint32, (c_void_p, *_plane, *_plane, *_plane, *_size, c_int32, c_int32)),
    "TLUX_GuidedFilter1DS": (c_uint32, (c_void_p, *_plane, *_plane, *_plane, *_size, c_int32, c_int32, c_int32)),
    "GuidedFilter1D_3C": (c_uint32, (c_void_p, *_plane, *_plane, *_plane, *_size, c_int32, c_int32)),
    "GuidedFilter3D": (c_uint32, (c_void_p, *_plane, *_plane, *_plane, *_size, c_int32, c_int32)),
    "BilateralFilter1D": (c_uint32, (c_void_p, *_plane, *_plane, *_size, c_int32, c_float, c_float)),
    # equalization.h, histogram_match.h
    "HistogramMap": (_RETURNS_NOTHING, (_image, c_void_p, POINTER(Rect))),
    "AdaptiveHistogramEqualization": (_RETURNS_NOTHING, (c_void_p, _image, _image)),
    "TLUX_GetMatchTable": (c_uint32, (c_void_p, _image, _image, c_void_p)),
    "TLUX_AdjustImageByTable": (c_uint32, (_image, c_void_p)),
    # mask.h, region.h
    "TLUX_ErodeEx": (c_uint32, (*_mask, c_int32, POINTER(MaskRect))),
    "TLUX_DilateEx": (c_uint32, (c_void_p, c_uint32, c_uint32, c_uint32, c_int32, POINTER(MaskRect))),
    "TRegionLabel_RegionLabel4": (c_uint32, (c_void_p, *_mask, *_plane, POINTER(c_uint32))),
    "TRegionLabel_RegionLabel8": (c_uint32, (c_void_p, *_mask, *_plane, POINTER(c_uint32))),
    "TLUX_TRegionLabel_Statistics": (c_uint32, (*_mask, c_void_p, c_uint32)),
}


def _file() -> str:
    """The package's own library, or the installed one if it has none; TLUX_LIBRARY selects another."""
    wanted = os.environ.get("TLUX_LIBRARY", "")
    own = Path(__file__).with_name(_NAME)
    if wanted == "system" or not wanted and not own.is_file():
        return _NAME  # where the loader looks for libraries
    return wanted or str(own)


def _load(file: str) -> ctypes.CDLL:
    try:
        # Calls release the GIL.
        loaded = ctypes.CDLL(file)
    except OSError as error:
        raise ImportError(
            f"the tlux library cannot be loaded: {error}; the environment variable TLUX_LIBRARY may name a built one"
        ) from error
    for name, (result, arguments) in _SIGNATURES.items():
        try:
            function = getattr(loaded, name)
        except AttributeError:
            raise ImportError(f"{file} is too old for this package: it has no {name}") from None
        function.restype = result
        function.argtypes = arguments
    major: int = loaded.TLUX_GetVersion().contents.major
    if major != _MAJOR:
        raise ImportError(f"{file} has version {major} of the interface; this package is made for {_MAJOR}")
    return loaded


library_file = _file()
lib = _load(library_file)


def library_version() -> str:
    """Version of the native library in use.

    Returns
    -------
    str
        Major, minor and build, as in the name of the wheel.

    Examples
    --------
    >>> import tlux
    >>> tlux.library_version().split(".")[0]
    '1'
    """
    version = lib.TLUX_GetVersion().contents
    return f"{version.major}.{version.minor}.{version.build}"

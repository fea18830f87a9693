"""The stream: frames of a camera, a decoder or a player, one after the other."""

from __future__ import annotations

import threading
import weakref
from ctypes import byref, c_void_p, sizeof
from dataclasses import dataclass
from types import TracebackType
from typing import Any, Dict, Optional, Tuple, Type

import numpy as np
from numpy.typing import NDArray

from . import _records
from ._arrays import U8, choice, whole
from ._errors import check
from ._library import lib
from .frames import frame_record

DEFAULT_STRENGTH = 30
_RANGES = {"full": _records.RANGE_FULL, "limited": _records.RANGE_LIMITED}
_STRONGEST = 2**32 - 1


@dataclass(frozen=True)
class Report:
    """What a stream saw in its latest frame; the maps are an eighth of the frame's size.

    Attributes
    ----------
    reference : ndarray of uint8
        Luma of the reference frame, full range.
    scores : ndarray of int16
        Retinex score: how much brighter (above 0: darker) a pixel is than its surroundings.
    gains : ndarray of uint16
        Gain of each pixel, 1024 for 1.
    mean : int
        Mean log luminance of the frame: 1024·ln of linear light 0 to 4095.
    anchor : int
        Log luminance that scores are counted from, in the same unit.
    is_cut : bool
        Whether the frame did not follow the one before it.
    """

    reference: U8
    scores: NDArray[np.int16]
    gains: NDArray[np.uint16]
    mean: int
    anchor: int
    is_cut: bool


class _Handle:
    """A native stream, closed when the last reference to it goes."""

    def __init__(self, options: _records.StreamOptions) -> None:
        self.pointer = c_void_p()
        check(lib.TLUX_OpenStream(None, byref(options), byref(self.pointer)), "Stream")
        self.views: weakref.WeakSet[_Map] = weakref.WeakSet()

    def __del__(self) -> None:
        lib.TLUX_CloseStream(byref(self.pointer))


class _Map:
    """A stream's memory for NumPy; keeps the stream alive."""

    def __init__(self, handle: _Handle, address: int, shape: Tuple[int, int], samples: str, pitch: int) -> None:
        self.handle = handle
        read_only = True
        self.__array_interface__ = {
            "version": 3,
            "data": (address, read_only),
            "shape": shape,
            "typestr": samples,
            "strides": (pitch, int(samples[-1])),
        }
        handle.views.add(self)


def _options_of(
    exact: bool,
    range: Optional[str],
    steady: Optional[int],
    colour: Optional[int],
    fine_windows: Optional[bool],
    threads: Optional[int],
) -> _records.StreamOptions:
    options = _records.StreamOptions()
    tones = _records.TONES_EXACT if exact else _records.TONES_NATURAL
    check(lib.TLUX_InitStreamOptions(byref(options), sizeof(options), tones), "Stream")
    _set_options(options, range=range, steady=steady, colour=colour, fine_windows=fine_windows)
    if threads is not None:
        options.threads = whole("threads", threads, 0, 64)
    return options


def _set_options(
    options: _records.StreamOptions,
    range: Optional[str],
    steady: Optional[int],
    colour: Optional[int],
    fine_windows: Optional[bool],
) -> None:
    if range is not None:
        options.range = choice("range", range, _RANGES)
    if steady is not None:
        options.steady = whole("steady", steady, 0, 1000)
    if colour is not None:
        options.colour = whole("colour", colour, 0, 100)
    if fine_windows is not None:
        options.fine_windows = int(bool(fine_windows))


def _place(array: U8) -> Tuple[Any, ...]:
    return (array.ctypes.data, array.shape, array.strides)


def _overlap(first: U8, second: U8) -> bool:
    if not np.may_share_memory(first, second):
        return False
    return bool(np.shares_memory(first, second))


def _check_apart(source: Tuple[U8, U8], out: Tuple[U8, U8]) -> None:
    """Raises unless the output is the source itself, or shares no byte with it."""
    if _overlap(out[0], out[1]):
        raise ValueError("the luma and chroma of out share memory")
    if all(_place(mine) == _place(theirs) for mine, theirs in zip(source, out)):
        return
    if any(_overlap(mine, theirs) for mine in source for theirs in out):
        raise ValueError("out must be the source itself, or share no memory with it")


class Stream:
    """Optimize the dynamic range of frames.

    A stream works directly on the frames: neither input nor output is copied, and the GIL is released during the
    work. Threads that share a stream take turns; to process frames in parallel, give each thread its own stream.
    Close a stream, or use it in a ``with`` statement, to end its threads and free its memory.

    Parameters
    ----------
    exact : bool
        The tones of the native run, to the byte, instead of the natural ones. The options below start from one or
        the other.
    range : {'full', 'limited'}
        Luma 0 to 255, as in JPEG, or 16 to 235, as in most video.
    steady : int, 0 to 1000
        Frames over which the tones follow the scene. 0 treats each frame by itself.
    colour : int, 0 to 100
        How far chroma follows luma, in per cent.
    fine_windows : bool
        Whether the fit keeps the fractions of its means, which keeps smooth areas smooth.
    threads : int, 0 to 64
        Threads that work on a frame; 0 for as many as there are processors, 4 at most.

    Examples
    --------
    >>> import numpy as np, tlux
    >>> luma = np.tile(np.arange(64, dtype=np.uint8), (48, 1))
    >>> chroma = np.full((24, 32, 2), 128, np.uint8)
    >>> with tlux.Stream(exact=True) as stream:
    ...     brighter, _ = stream.run(luma, chroma, strength=60)
    ...     report = stream.explain()
    >>> bool(brighter.mean() > luma.mean()), report.gains.shape
    (True, (6, 8))
    """

    def __init__(
        self,
        *,
        exact: bool = False,
        range: Optional[str] = None,
        steady: Optional[int] = None,
        colour: Optional[int] = None,
        fine_windows: Optional[bool] = None,
        threads: Optional[int] = None,
    ) -> None:
        self._options = _options_of(exact, range, steady, colour, fine_windows, threads)
        self._handle: Optional[_Handle] = _Handle(self._options)
        self._size: Optional[Tuple[int, ...]] = None
        self._lock = threading.Lock()

    def run(
        self,
        luma: U8,
        chroma: U8,
        out: Optional[Tuple[U8, U8]] = None,
        *,
        strength: int = DEFAULT_STRENGTH,
        layout: str = "nv12",
    ) -> Tuple[U8, U8]:
        """Optimize one frame. A small mark is added.

        Parameters
        ----------
        luma : ndarray of uint8, H×W
            Even height and width. Rows may have any stride; the samples of a row must be contiguous.
        chroma : ndarray of uint8, H/2×W/2×2
            Rows likewise.
        out : pair of ndarrays, optional
            Planes of the same shapes that receive the result: ``(luma, chroma)`` to work in place, or memory
            that does not overlap the source. By default, new ones.
        strength : int
            Strength of the effect: 0 keeps the tones, 30 suits most pictures, 100 is strong.
        layout : {'nv12', 'nv21'}
            Order of a chroma pair: Cb, Cr, or Cr, Cb.

        Returns
        -------
        luma, chroma : ndarrays of uint8
            The result, or `out`.

        Raises
        ------
        ValueError
            For arrays that cannot be used without a copy; says what was expected and what was passed.
        MemoryError, tlux.Error
            The output is then a copy of the source, and the stream remains usable.

        Examples
        --------
        >>> import numpy as np, tlux
        >>> padded = np.full((48, 80), 60, np.uint8)
        >>> frame = padded[:, :64], np.full((24, 32, 2), 128, np.uint8)
        >>> with tlux.Stream() as stream:
        ...     stream.run(*frame, out=frame) is frame
        True
        """
        source = frame_record(luma, chroma, layout)
        amount = whole("strength", strength, 0, _STRONGEST)
        if out is None:
            out = (np.empty(luma.shape, np.uint8), np.empty(chroma.shape, np.uint8))
        if len(out) != 2 or out[0].shape != luma.shape:
            raise ValueError(f"out must be a luma and a chroma plane of the source's shapes, {luma.shape} first")
        target = frame_record(out[0], out[1], layout, writable=True, prefix="the output's ")
        _check_apart((luma, chroma), out)
        with self._lock:
            pointer = self._ready_for(luma.shape)
            check(lib.TLUX_RunStream(pointer, byref(source), byref(target), amount), "Stream.run")
        return out

    def explain(self, copy: bool = False) -> Report:
        """Report what the stream saw in its latest frame.

        Parameters
        ----------
        copy : bool
            By default the maps are read-only views of the stream's memory, which the next run overwrites. Copies
            last.

        Returns
        -------
        Report

        Raises
        ------
        ValueError
            Before the first frame.

        Examples
        --------
        >>> import numpy as np, tlux
        >>> with tlux.Stream() as stream:
        ...     _ = stream.run(np.full((32, 32), 60, np.uint8), np.full((16, 16, 2), 128, np.uint8))
        ...     report = stream.explain(copy=True)
        >>> report.is_cut, report.reference.shape
        (True, (4, 4))
        """
        report = _records.StreamReport(size=sizeof(_records.StreamReport))
        with self._lock:
            handle = self._opened()
            if lib.TLUX_ReadStreamReport(handle.pointer, byref(report)) != _records.OK:
                raise ValueError("the stream has not run yet, or its latest run failed")
            shape = (report.height, report.width)
            maps: Dict[str, Any] = {
                "reference": np.asarray(_Map(handle, report.reference, shape, "|u1", report.reference_pitch)),
                "scores": np.asarray(_Map(handle, report.scores, shape, "<i2", 2 * report.width)),
                "gains": np.asarray(_Map(handle, report.gains, shape, "<u2", 2 * report.width)),
            }
            if copy:
                maps = {name: array.copy() for name, array in maps.items()}
        return Report(**maps, mean=report.mean, anchor=report.anchor, is_cut=bool(report.is_cut))

    def change(
        self,
        *,
        range: Optional[str] = None,
        steady: Optional[int] = None,
        colour: Optional[int] = None,
        fine_windows: Optional[bool] = None,
    ) -> None:
        """Change how the stream works from the next frame on; options not given are unchanged.

        The parameters are those of the stream. The state of a steady stream is kept.

        Examples
        --------
        >>> import tlux
        >>> with tlux.Stream(steady=10) as stream:
        ...     stream.change(steady=30)
        """
        with self._lock:
            options = _records.StreamOptions.from_buffer_copy(self._options)
            _set_options(options, range, steady, colour, fine_windows)
            check(lib.TLUX_ChangeStream(self._opened().pointer, byref(options)), "Stream.change")
            self._options = options

    def reset(self) -> None:
        """Forget earlier frames: the next one counts as a cut.

        Examples
        --------
        >>> import tlux
        >>> with tlux.Stream(steady=10) as stream:
        ...     stream.reset()
        """
        with self._lock:
            lib.TLUX_ResetStream(self._opened().pointer)

    def close(self) -> None:
        """End the stream. Views of its reports stay readable; using it again raises ValueError.

        Examples
        --------
        >>> import tlux
        >>> tlux.Stream().close()
        """
        with self._lock:
            self._handle = None

    def __enter__(self) -> Stream:
        return self

    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        error: Optional[BaseException],
        trace: Optional[TracebackType],
    ) -> None:
        self.close()

    def _opened(self) -> _Handle:
        if self._handle is None:
            raise ValueError("the stream is closed")
        return self._handle

    def _ready_for(self, size: Tuple[int, ...]) -> c_void_p:
        """A stream frees memory when the size of frames changes. If views of that memory still exist, it is left to
        them, and a new stream takes over: frames of another size count as a cut anyway."""
        handle = self._opened()
        if size != self._size and handle.views:
            self._handle = handle = _Handle(self._options)
        self._size = size
        return handle.pointer

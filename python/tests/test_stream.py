"""The stream: the same bytes for any planes it can walk, a clear error for all others, no copies."""

from __future__ import annotations

import gc
import threading
import time
import tracemalloc
from concurrent.futures import ThreadPoolExecutor
from typing import Any, Callable, Dict, List

import numpy as np
import pytest
import tlux
from conftest import Frame, U8, frame
from hypothesis import given, settings
from hypothesis import strategies as st

SIZE = (96, 128)


def run(source: Frame, **options: Any) -> Frame:
    strength = options.pop("strength", 50)
    out = options.pop("out", None)
    layout = options.pop("layout", "nv12")
    with tlux.Stream(**options) as stream:
        return stream.run(*source, out=out, strength=strength, layout=layout)


def assert_equal(found: Frame, expected: Frame) -> None:
    for mine, theirs in zip(found, expected):
        np.testing.assert_array_equal(mine, theirs)


def padded(plane: U8, padding: int = 24) -> U8:
    """The same samples in rows that are longer; the bytes behind them are 7."""
    wide = np.full((plane.shape[0], plane[0].size + padding), 7, np.uint8)
    rows = wide[:, : plane[0].size]
    rows[...] = plane.reshape(plane.shape[0], -1)
    return np.lib.stride_tricks.as_strided(rows, plane.shape, (wide.shape[1], *plane.strides[1:]))


def sliced(plane: U8) -> U8:
    """Cut out of the middle of a larger array."""
    whole = np.zeros((plane.shape[0] + 6, plane.shape[1] + 10, *plane.shape[2:]), np.uint8)
    middle = whole[3:-3, 4:-6]
    middle[...] = plane
    return middle


def read_only(plane: U8) -> U8:
    view = plane.view()
    view.flags.writeable = False
    return view


@pytest.mark.parametrize("arrange", [padded, sliced, read_only])
def test_takes_planes_where_they_lie(arrange: Callable[[U8], U8]) -> None:
    source = frame(*SIZE)
    expected = run(source)
    luma, chroma = arrange(source[0]), arrange(source[1])
    assert np.shares_memory(luma, luma.view())
    assert_equal(run((luma, chroma)), expected)
    assert_equal((luma, chroma), source)


@pytest.mark.parametrize("arrange", [padded, sliced])
def test_writes_into_what_it_is_given_and_nothing_beside(arrange: Callable[[U8], U8]) -> None:
    source = frame(*SIZE)
    expected = run(source)
    out = arrange(np.zeros_like(source[0])), arrange(np.zeros_like(source[1]))
    bases = [plane.base for plane in out]
    assert run(source, out=out) is out
    assert_equal(out, expected)
    for plane, base in zip(out, bases):
        assert base is not None
        rim = np.array(base)
        if arrange is sliced:
            rim[3:-3, 4:-6] = 0
            assert not rim.any()


def test_works_in_place() -> None:
    source = frame(*SIZE)
    expected = run(source)
    run(source, out=source)
    assert_equal(source, expected)


@settings(deadline=None, max_examples=40)
@given(
    rows=st.integers(1, 40),
    columns=st.integers(1, 60),
    padding=st.integers(0, 9),
    strength=st.integers(0, 2**32 - 1),
    options=st.fixed_dictionaries(
        {
            "exact": st.booleans(),
            "range": st.sampled_from(["full", "limited"]),
            "colour": st.integers(0, 100),
            "fine_windows": st.booleans(),
            "threads": st.integers(1, 3),
        }
    ),
)
def test_padding_and_threads_change_nothing(
    rows: int, columns: int, padding: int, strength: int, options: Dict[str, Any]
) -> None:
    source = frame(2 * rows, 2 * columns)
    expected = run(source, strength=strength, **{**options, "threads": 1})
    apart = padded(source[0], padding), padded(source[1], padding + 3)
    assert_equal(run(apart, strength=strength, out=apart, **options), expected)


UNUSABLE: Dict[str, Callable[[U8], U8]] = {
    "reversed rows": lambda plane: plane[::-1],
    "reversed columns": lambda plane: plane[:, ::-1],
    "every second": lambda plane: np.repeat(plane, 2, axis=1)[:, ::2],
    "column by column": np.asfortranarray,
    "one row": lambda plane: np.broadcast_to(plane[:1], plane.shape),
}


@pytest.mark.parametrize("change", UNUSABLE)
@pytest.mark.parametrize("which", [0, 1])
def test_refuses_strides_that_would_need_a_copy(change: str, which: int) -> None:
    planes = list(frame(*SIZE))
    planes[which] = UNUSABLE[change](planes[which])
    with pytest.raises(ValueError, match="(luma|chroma) must lie side by side.*strides"):
        run((planes[0], planes[1]))


LUMA, CHROMA = frame(*SIZE)


@pytest.mark.parametrize(
    ("luma", "chroma", "message"),
    [
        (LUMA.astype(np.int8), CHROMA, "uint8, not int8"),
        (LUMA.astype(np.float32), CHROMA, "uint8, not float32"),
        (LUMA, CHROMA.astype(np.uint16), "chroma must have samples of type uint8"),
        (LUMA.tolist(), CHROMA, "not list"),
        (LUMA, None, "not NoneType"),
        (LUMA[:-1], CHROMA, "even"),
        (LUMA[:, :-1], CHROMA, "even"),
        (LUMA[:0], CHROMA[:0], "positive"),
        (LUMA[None], CHROMA, "two axes, not 3"),
        (LUMA, CHROMA[:-1], r"shape \(48, 64, 2\), not \(47, 64, 2\)"),
        (LUMA, CHROMA.reshape(48, 128), r"not \(48, 128\)"),
    ],
)
def test_says_what_is_wrong_with_planes(luma: Any, chroma: Any, message: str) -> None:
    with pytest.raises(ValueError, match=message):
        run((luma, chroma))


def test_says_what_is_wrong_with_the_output() -> None:
    luma, chroma = frame(*SIZE)
    other = np.empty_like(luma), np.empty_like(chroma)
    both = np.empty((SIZE[0] + 2, SIZE[1]), np.uint8)
    for out, message in [
        ((read_only(other[0]), other[1]), "the output's luma is read-only"),
        ((other[0], read_only(other[1])), "the output's chroma is read-only"),
        ((other[0][:-2], other[1]), "shapes"),
        ((luma, other[1]), "source itself, or share no memory"),
        ((other[0], chroma), "source itself, or share no memory"),
        ((other[0], other[0].reshape(-1)[: chroma.size].reshape(chroma.shape)), "share memory"),
    ]:
        with pytest.raises(ValueError, match=message):
            run((luma, chroma), out=out)
    with pytest.raises(ValueError, match="share no memory"):
        run((both[:-2], chroma), out=(both[2:], other[1]))


@pytest.mark.parametrize(
    ("name", "value"),
    [("range", "wide"), ("steady", 1001), ("colour", -1), ("threads", 65), ("strength", -1), ("strength", 2**32)]
    + [("layout", "i420")],
)
def test_refuses_options_out_of_range(name: str, value: Any) -> None:
    with pytest.raises(ValueError, match=name):
        run(frame(*SIZE), **{name: value})


def test_side_by_side_planes_of_one_array_are_no_overlap() -> None:
    source = frame(*SIZE)
    both = np.zeros((SIZE[0], 2 * SIZE[1]), np.uint8)
    out = both[:, SIZE[1] :], np.empty_like(source[1])
    both[:, : SIZE[1]] = source[0]
    assert_equal(run((both[:, : SIZE[1]], source[1]), out=out), run(source))


def test_allocates_nothing_of_the_size_of_a_frame() -> None:
    source = frame(1080, 1920)
    out = np.empty_like(source[0]), np.empty_like(source[1])
    with tlux.Stream() as stream:
        stream.run(*source, out=out)
        tracemalloc.start()
        try:
            stream.run(*source, out=out)
            stream.run(*source, out=source)
            peak = tracemalloc.get_traced_memory()[1]
        finally:
            tracemalloc.stop()
    assert peak < 20_000


def test_tells_what_it_saw() -> None:
    source = frame(70, 100)
    with tlux.Stream(steady=10) as stream:
        with pytest.raises(ValueError, match="not run"):
            stream.explain()
        stream.run(*source)
        report = stream.explain()
        assert report.is_cut
        assert report.reference.shape == report.scores.shape == report.gains.shape == (10, 14)
        dtypes = report.reference.dtype.name, report.scores.dtype.name, report.gains.dtype.name
        assert dtypes == ("uint8", "int16", "uint16")
        # An eighth of the frame's luma: dark to the left, bright to the right.
        assert abs(float(report.reference[:8, :12].mean()) - float(source[0][:64, :96].mean())) < 6
        # Dark regions are lifted.
        assert report.gains[:, :5].mean() > 1024
        assert not report.gains.flags.writeable
        with pytest.raises(ValueError, match="read-only"):
            report.gains[0, 0] = 1
        stream.run(*source)
        assert not stream.explain().is_cut
        stream.reset()
        stream.run(*source)
        assert stream.explain().is_cut


def test_views_of_a_report_outlive_what_they_come_from() -> None:
    stream = tlux.Stream()
    stream.run(*frame(64, 64))
    small = stream.explain()
    kept = stream.explain(copy=True)
    stream.run(*frame(640, 800))  # larger: the memory of a stream without views would move
    np.testing.assert_array_equal(small.gains, kept.gains)
    large = stream.explain()
    assert large.gains.shape == (80, 100)
    kept = stream.explain(copy=True)
    stream.close()
    del stream
    gc.collect()
    np.testing.assert_array_equal(large.scores, kept.scores)


def test_changes_on_the_way() -> None:
    source = frame(*SIZE)
    with tlux.Stream(colour=100, steady=0) as stream:
        stream.run(*source)
        stream.change(colour=0)
        changed = stream.run(*source, strength=80)
        with pytest.raises(ValueError, match="colour"):
            stream.change(colour=101)
    assert_equal(changed, run(source, colour=0, steady=0, strength=80))
    # At 0, chroma does not follow luma; the mark lies in the last rows.
    np.testing.assert_array_equal(changed[1][: SIZE[0] // 4], source[1][: SIZE[0] // 4])


def test_is_closed_for_good() -> None:
    stream = tlux.Stream()
    stream.close()
    stream.close()
    uses: List[Callable[[], object]] = [lambda: stream.run(*frame(*SIZE)), stream.explain, stream.reset, stream.change]
    for use in uses:
        with pytest.raises(ValueError, match="closed"):
            use()


def test_threads_may_share_a_stream() -> None:
    source = frame(*SIZE)
    expected = run(source)
    with tlux.Stream() as stream, ThreadPoolExecutor(4) as pool:
        for found in pool.map(lambda _: stream.run(*source, strength=50), range(40)):
            assert_equal(found, expected)


def test_other_threads_go_on_during_a_run() -> None:
    source = frame(3000, 4000)
    out = np.empty_like(source[0]), np.empty_like(source[1])
    ticks = 0
    is_over = threading.Event()

    def count() -> None:
        nonlocal ticks
        while not is_over.is_set():
            ticks += 1
            time.sleep(0)

    def ticks_in_a_run() -> int:
        before = ticks
        stream.run(*source, out=out)
        return ticks - before

    with tlux.Stream(threads=1) as stream:
        counter = threading.Thread(target=count)
        counter.start()
        # With the GIL held the other thread has a turn or two at the ends of most runs.
        median = sorted(ticks_in_a_run() for _ in range(15))[7]
        is_over.set()
        counter.join()
    assert median > 20

"""The toolkit: right by an independent formula, and the same for any strides, outputs and overlaps."""

from __future__ import annotations

from typing import Any, Callable, Dict

import numpy as np
import pytest
import tlux
from conftest import frame, picture, scene
from hypothesis import given, settings
from hypothesis import strategies as st
from hypothesis.extra import numpy as hnp
from numpy.typing import NDArray

Array = NDArray[Any]

PLANE = scene(45, 62)
COLOUR = picture(45, 62)
PALE = (PLANE // 2 + 100).astype(np.uint8)
MASK = (PLANE > 120).astype(np.uint8)

# Each takes one array and out=.
OPERATIONS: Dict[str, Any] = {
    "resize, nearest": (lambda a, **o: tlux.resize(a, (45, 62), "nearest", **o), PLANE),
    "resize, bilinear": (lambda a, **o: tlux.resize(a, (45, 62), "bilinear", **o), COLOUR),
    "resize, bicubic": (lambda a, **o: tlux.resize(a, (45, 62), **o), COLOUR),
    "box blur": (lambda a, **o: tlux.box_blur(a, 3, **o), PLANE),
    "box blur of 32 bits": (lambda a, **o: tlux.box_blur(a, 3, **o), PLANE.astype(np.int32) * -900),
    "guided filter": (lambda a, **o: tlux.guided_filter(a, 4, 100, **o), PLANE),
    "guided filter, reduced": (lambda a, **o: tlux.guided_filter(a, 8, 100, subsample=2, **o), PLANE),
    "guided filter by colour": (lambda a, **o: tlux.guided_filter(a, 4, 100, guide=COLOUR, **o), PLANE),
    "guided filter of colour": (lambda a, **o: tlux.guided_filter(a, 4, 100, guide=PLANE, **o), COLOUR),
    "bilateral": (lambda a, **o: tlux.denoise_bilateral(a, 3, 20, 1.5, **o), PLANE),
    "equalize": (tlux.equalize_hist, PLANE),
    "equalize tiles": (tlux.equalize_tiles, PLANE),
    "match": (lambda a, **o: tlux.match_histograms(a, PALE, **o), PLANE),
    "erosion": (lambda a, **o: tlux.erosion(a, 2, **o), MASK),
    "dilation": (lambda a, **o: tlux.dilation(a, 2, **o), MASK),
    "dilation of a bool": (lambda a, **o: tlux.dilation(a, 2, **o), MASK.astype(bool)),
}


@pytest.mark.parametrize("name", OPERATIONS)
def test_strides_and_outputs_change_nothing(name: str) -> None:
    operation, source = OPERATIONS[name]
    before = source.copy()
    expected = operation(source)
    assert expected.dtype == source.dtype
    assert not np.array_equal(expected, source) or name.startswith("resize")

    wide = np.zeros((source.shape[0], source.shape[1] + 9, *source.shape[2:]), source.dtype)
    wide[:, 3:-6] = source
    for same in (wide[:, 3:-6], np.asfortranarray(source), source[::-1].copy()[::-1]):
        np.testing.assert_array_equal(operation(same), expected)

    out = wide[:, 3:-6]
    assert operation(source, out=out) is out
    np.testing.assert_array_equal(out, expected)
    assert not wide[:, :3].any() and not wide[:, -6:].any()
    np.testing.assert_array_equal(source, before)

    overlapping = np.concatenate([source, source[:2]])
    operation(overlapping[:-2], out=overlapping[2:])
    np.testing.assert_array_equal(overlapping[2:], expected)
    in_place = source.copy()
    operation(in_place, out=in_place)
    np.testing.assert_array_equal(in_place, expected)

    read_only = np.empty_like(source)
    read_only.flags.writeable = False
    for bad, message in (
        (np.empty_like(source)[:-1], "shape"),
        (np.empty(source.shape, np.float64), "type"),
        (read_only, "read-only"),
        (np.empty_like(source)[:, ::-1], "side by side"),
    ):
        with pytest.raises(ValueError, match=rf"\bout\b.*{message}"):
            operation(source, out=bad)
    with pytest.raises(ValueError, match="float64"):
        operation(source.astype(np.float64))


masks = hnp.arrays(np.bool_, hnp.array_shapes(min_dims=2, max_dims=2, min_side=1, max_side=14))


@settings(deadline=None, max_examples=60)
@given(masks, st.integers(1, 5))
def test_morphology_goes_by_city_block_distance(mask: NDArray[np.bool_], radius: int) -> None:
    height, width = mask.shape
    rows, columns = np.mgrid[-radius : height + radius, -radius : width + radius]
    surrounded = np.pad(mask, radius)
    eroded, dilated = np.empty_like(mask), np.empty_like(mask)
    for y, x in np.ndindex(mask.shape):
        near = np.abs(rows - y) + np.abs(columns - x) <= radius
        eroded[y, x] = surrounded[near].all()
        dilated[y, x] = surrounded[near].any()
    np.testing.assert_array_equal(tlux.erosion(mask, radius), eroded)
    np.testing.assert_array_equal(tlux.dilation(mask, radius), dilated)
    as_bytes = np.where(mask, 3, 0).astype(np.uint8)
    np.testing.assert_array_equal(tlux.dilation(as_bytes, radius), np.where(dilated, 255, 0))


@settings(deadline=None, max_examples=60)
@given(masks, st.sampled_from([4, 8]))
def test_regions_hang_together_and_are_measured(mask: NDArray[np.bool_], connectivity: int) -> None:
    labels, count = tlux.label(mask, connectivity)
    np.testing.assert_array_equal(labels != 0, mask)
    # Neighbours share a label, and a region is what spreads from its first pixel.
    steps = [(y, x) for y in range(3) for x in range(3) if connectivity == 8 or 1 in (y, x)]
    firsts = [int(np.flatnonzero(labels == number)[0]) for number in range(1, count + 1)]
    assert firsts == sorted(firsts)
    regions = tlux.regionprops(labels, count)
    for number, first in enumerate(firsts, 1):
        region = np.zeros_like(mask)
        region.flat[first] = True
        while True:
            spread = np.pad(region, 1)
            near = [spread[y : y + mask.shape[0], x : x + mask.shape[1]] for y, x in steps]
            grown = np.logical_or.reduce(near) & mask
            if np.array_equal(grown, region):
                break
            region = grown
        np.testing.assert_array_equal(labels == number, region)
        rows, columns = np.nonzero(region)
        found = regions[number - 1]
        box = columns.min(), rows.min(), columns.max() + 1, rows.max() + 1
        assert (found["label"], found["area"]) == (number, len(rows))
        assert (found["left"], found["top"], found["right"], found["bottom"]) == box
        assert found["centroid_x"] == pytest.approx(columns.mean())
        assert found["centroid_y"] == pytest.approx(rows.mean())


@pytest.mark.parametrize("dtype", [np.uint8, np.int8, np.int16, np.int32])
def test_box_blur_is_the_mean_of_the_window(dtype: Any) -> None:
    plane = (scene(20, 30).astype(np.int32) - (0 if dtype == np.uint8 else 128)).astype(dtype)
    around = np.pad(plane.astype(np.float64), 2, mode="edge")
    mean = np.lib.stride_tricks.sliding_window_view(around, (5, 5)).mean(axis=(2, 3))
    assert np.abs(tlux.box_blur(plane, 2) - mean).max() <= 1


@settings(deadline=None, max_examples=30)
@given(st.integers(1, 50), st.integers(1, 70))
def test_resize_keeps_the_centres(rows: int, columns: int) -> None:
    def nearest(size: int, of: int) -> NDArray[np.intp]:
        return ((2 * np.arange(size) + 1) * of // (2 * size)).astype(np.intp)

    expected = COLOUR[nearest(rows, 45)][:, nearest(columns, 62)]
    np.testing.assert_array_equal(tlux.resize(COLOUR, (rows, columns), "nearest"), expected)
    with_alpha = np.dstack([COLOUR, PLANE])
    for method in ("bilinear", "bicubic"):
        by_channel = [tlux.resize(with_alpha[:, :, i], (rows, columns), method) for i in range(4)]
        np.testing.assert_array_equal(tlux.resize(with_alpha, (rows, columns), method), np.dstack(by_channel))


@pytest.mark.parametrize("factor", range(2, 9))
def test_reduce_brings_out_blue_before_red(factor: int) -> None:
    luma, chroma = frame(70, 100)
    for layout, blue in (("nv12", 0), ("nv21", 1)):
        y, cb, cr = tlux.reduce_frame(luma, chroma, factor, layout)
        assert y.shape == cb.shape == cr.shape == (70 // (2 * factor) * 2, 100 // (2 * factor) * 2)
        assert abs(float(cb.mean()) - float(chroma[:, :, blue].mean())) < 6
        assert abs(float(cr.mean()) - float(chroma[:, :, 1 - blue].mean())) < 6
    constant = np.full_like(luma, 80), np.tile(np.array([90, 170], np.uint8), (35, 50, 1))
    for layout, expected in (("nv12", (90, 170)), ("nv21", (170, 90))):
        _, cb, cr = tlux.reduce_frame(*constant, factor, layout)
        assert abs(int(cb[0, 0]) - expected[0]) <= 1 and abs(int(cr[0, 0]) - expected[1]) <= 1


def test_equalization_is_the_cumulative_histogram() -> None:
    counts = np.bincount(PLANE.ravel(), minlength=256).cumsum()
    np.testing.assert_array_equal(tlux.equalize_hist(PLANE), (counts / PLANE.size * 255.0)[PLANE].astype(np.uint8))


def test_matching_takes_a_reference_of_any_size() -> None:
    reference = (scene(90, 31) // 3 + 140).astype(np.uint8)
    matched = tlux.match_histograms(PLANE, reference)
    deciles = np.linspace(10, 90, 9)
    assert np.abs(np.percentile(matched, deciles) - np.percentile(reference, deciles)).max() <= 6


@pytest.mark.parametrize(
    "call",
    [
        lambda: tlux.box_blur(PLANE, -1),
        lambda: tlux.guided_filter(PLANE, 2, 0),
        lambda: tlux.guided_filter(COLOUR, 2, 10),
        lambda: tlux.guided_filter(COLOUR, 2, 10, guide=COLOUR),
        lambda: tlux.guided_filter(PLANE, 2, 10, guide=PLANE[:-1]),
        lambda: tlux.guided_filter(PLANE, 2, 10, guide=COLOUR, subsample=2),
        lambda: tlux.denoise_bilateral(PLANE, 65, 1, 1),
        lambda: tlux.denoise_bilateral(PLANE, 3, float("nan"), 1),
        lambda: tlux.resize(PLANE, (0, 5)),
        lambda: tlux.resize(PLANE, (2**20, 2**20)),
        lambda: tlux.resize(PLANE, (4, 5), "lanczos"),
        lambda: tlux.reduce_frame(*frame(16, 16), 9),
        lambda: tlux.reduce_frame(*frame(14, 14), 8),
        lambda: tlux.erosion(MASK, 0),
        lambda: tlux.dilation(MASK, 254),
        lambda: tlux.label(MASK, 6),
        lambda: tlux.regionprops(np.array([[2**32 - 1]], np.uint32)),
    ],
)
def test_refuses_numbers_out_of_range(call: Callable[[], object]) -> None:
    with pytest.raises(ValueError):
        call()

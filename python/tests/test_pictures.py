"""Pictures: any shape, size and strides, by way of the frame that the library makes of them."""

from __future__ import annotations

from typing import Any

import numpy as np
import pytest
import tlux
from conftest import U8, picture, scene
from hypothesis import given, settings
from hypothesis import strategies as st


def by_hand(rgb: U8, strength: int, **options: Any) -> U8:
    luma, chroma = tlux.rgb_to_frame(rgb)
    with tlux.Stream(**options) as stream:
        stream.run(luma, chroma, out=(luma, chroma), strength=strength)
    return tlux.frame_to_rgb(luma, chroma)[: rgb.shape[0], : rgb.shape[1]]


@settings(deadline=None, max_examples=30)
@given(st.integers(1, 70), st.integers(1, 70), st.integers(0, 200), st.booleans())
def test_is_the_stream_on_the_frame_of_the_picture(height: int, width: int, strength: int, exact: bool) -> None:
    rgb = picture(height, width)
    expected = by_hand(rgb, strength, exact=exact)
    np.testing.assert_array_equal(tlux.enhance(rgb, strength, exact=exact), expected)
    alpha = scene(height, width)
    with_alpha = tlux.enhance(np.dstack([rgb, alpha]), strength, exact=exact)
    np.testing.assert_array_equal(with_alpha[:, :, :3], expected)
    np.testing.assert_array_equal(with_alpha[:, :, 3], alpha)


def test_lifts_the_dark_and_leaves_its_input_alone() -> None:
    rgb = picture(150, 201)
    before = rgb.copy()
    better = tlux.enhance(rgb, 60)
    dark = rgb.max(axis=2) < 60
    assert better[dark].mean() > rgb[dark].mean() + 5
    np.testing.assert_array_equal(rgb, before)
    assert not np.array_equal(tlux.enhance(rgb, 60, exact=True), better)


@pytest.mark.parametrize(("height", "width"), [(64, 80), (65, 81), (1, 1)])
def test_takes_gray(height: int, width: int) -> None:
    gray = scene(height, width)
    colour = tlux.enhance(np.dstack([gray] * 3), 40)
    # Above the mark, a gray picture and one with equal channels are the same.
    rows = height // 2
    np.testing.assert_array_equal(tlux.enhance(gray, 40)[:rows], colour[:rows, :, 1])


def test_takes_any_strides() -> None:
    rgb = picture(60, 90)
    expected = tlux.enhance(rgb)
    padded = np.zeros((60, 100, 4), np.uint8)
    padded[:, 5:95, :3] = rgb
    for same in (
        padded[:, 5:95, :3],
        np.asfortranarray(rgb),
        rgb[::-1].copy()[::-1],
        rgb[:, ::-1].copy()[:, ::-1],
        rgb[:, :, ::-1].copy()[:, :, ::-1],
        np.frombuffer(rgb.tobytes(), np.uint8).reshape(rgb.shape),  # read-only
    ):
        np.testing.assert_array_equal(tlux.enhance(same), expected)


def test_writes_into_out() -> None:
    rgb = picture(60, 90)
    expected = tlux.enhance(rgb)
    wide = np.zeros((60, 100, 3), np.uint8)
    assert tlux.enhance(rgb, out=wide[:, 4:94]).base is wide
    np.testing.assert_array_equal(wide[:, 4:94], expected)
    assert not wide[:, :4].any() and not wide[:, 94:].any()
    shifted = np.concatenate([rgb, rgb[:1]])
    tlux.enhance(shifted[:-1], out=shifted[1:])  # overlaps its input
    np.testing.assert_array_equal(shifted[1:], expected)
    assert tlux.enhance(rgb, out=rgb) is rgb
    np.testing.assert_array_equal(rgb, expected)


@pytest.mark.parametrize(
    ("rgb", "message"),
    [
        (np.zeros((4, 4, 2), np.uint8), "H×W or H×W×3 or H×W×4, not 4×4×2"),
        (np.zeros((4, 4, 1), np.uint8), "not 4×4×1"),
        (np.zeros((0, 4, 3), np.uint8), "not 0×4×3"),
        (np.zeros(4, np.uint8), "not 4"),
        (np.zeros((4, 4, 3)), "uint8, not float64"),
        ([[0]], "not list"),
    ],
)
def test_says_what_is_wrong_with_a_picture(rgb: Any, message: str) -> None:
    with pytest.raises(ValueError, match=message):
        tlux.enhance(rgb)


def test_converts_both_orders_of_chroma() -> None:
    rgb = picture(31, 45)
    nv12, nv21 = tlux.rgb_to_frame(rgb), tlux.rgb_to_frame(rgb, "nv21")
    np.testing.assert_array_equal(nv12[1], nv21[1][:, :, ::-1])
    odd = np.empty_like(rgb)
    np.testing.assert_array_equal(tlux.frame_to_rgb(*nv21, layout="nv21", out=odd), tlux.frame_to_rgb(*nv12)[:31, :45])
    with pytest.raises(ValueError, match="does not suit"):
        tlux.frame_to_rgb(*nv12, out=np.empty((30, 45, 3), np.uint8))

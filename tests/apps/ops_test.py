"""The operations do what the library does with each channel of a picture, and what their names say."""

import ctypes
import itertools
import re
import shlex

import numpy as np
import tlux
from programs import (FAILED, UNREADABLE, USAGE, CommandTest, ffmpeg, pixels, planes, scene, with_exif_orientation,
                      write_png)

MASKS = ["erode", "dilate", "fill", "clean", "outline", "label"]
SIZED = {"resize": ["--to", "21x34"], "reduce": ["--by", "2"]}
OPERATIONS = [*SIZED, "flip", "blur", "gauss", "bilateral", "guided", "sharpen", "contrast", "equalize", "match",
              *MASKS]


def random_frame(width, height):
    """Luma, Cb and Cr of half the size."""
    noise = np.random.default_rng(1)
    return [noise.integers(0, 256, (height // n, width // n), np.uint8) for n in (1, 2, 2)]


def binomial(plane, passes):
    for _ in range(passes):
        rows, columns = plane.shape
        around = np.pad(plane.astype(int), 1, "edge")
        plane = (8 + sum((2 - abs(1 - y)) * (2 - abs(1 - x)) * around[y:y + rows, x:x + columns]
                         for y in range(3) for x in range(3)) >> 4).astype(np.uint8)
    return plane


def halved(plane):
    rows, columns = (side // 2 for side in plane.shape)
    return (plane.reshape(rows, 2, columns, 2).sum(axis=(1, 3), dtype=int) + 2 >> 2).astype(np.uint8)


def resized(method):
    return lambda plane, is_luma: tlux.resize(plane, (44, 26) if is_luma else (22, 13), method)


def luma_alone(change):
    return lambda plane, is_luma: change(plane) if is_luma else plane


REFERENCE = scene(31, 90)[:, :, 2] // 2 + 110
UNCHANGED = luma_alone(lambda plane: plane)
# What each channel becomes, by name and options.
CHANNELS = [
    ("blur", [], lambda p, is_luma: tlux.box_blur(p, 4 if is_luma else 2)),
    ("blur", ["--radius", 7], lambda p, is_luma: tlux.box_blur(p, 7 if is_luma else 4)),
    ("gauss", [], lambda p, _: binomial(p, 1)),
    ("gauss", ["--passes", 6], lambda p, is_luma: binomial(p, 6 if is_luma else 2)),
    ("bilateral", [], lambda p, is_luma: tlux.denoise_bilateral(p, *((5, 25, 2.5) if is_luma else (3, 25, 1.25)))),
    ("bilateral", ["-r", 3, "--range", 40, "--space", 2],
     lambda p, is_luma: tlux.denoise_bilateral(p, *((3, 40, 2) if is_luma else (2, 40, 1)))),
    ("guided", ["--fast", 2],
     lambda p, is_luma: tlux.guided_filter(p, *((8, 400) if is_luma else (4, 25)), subsample=2)),
    ("sharpen", ["-g", 1, "-t", 0], UNCHANGED), ("contrast", ["-g", 1], UNCHANGED),
    ("equalize", [], luma_alone(tlux.equalize_hist)),
    ("equalize", ["--method", "adaptive"], luma_alone(tlux.equalize_tiles)),
    ("match", ["--to", "reference.png"], luma_alone(lambda p: tlux.match_histograms(p, REFERENCE))),
    ("flip", [], lambda p, _: p[:, ::-1]), ("flip", ["--way", "upside-down"], lambda p, _: p[::-1]),
    ("flip", ["--way", "half-turn"], lambda p, _: p[::-1, ::-1]),
    *[("resize", ["--to", "40x30", "-m", method], UNCHANGED) for method in ("nearest", "bilinear", "bicubic")],
    *[("resize", ["--to", "26x44", "-m", method], resized(method)) for method in ("nearest", "bilinear", "bicubic")],
    ("resize", ["--to", "26x44"], resized("bicubic")),
]


class OpTest(CommandTest):
    def op(self, name, source, output, *options, warnings=0):
        return self.do("op", name, source, "-o", output, *options, warnings=warnings)

    def op_frame(self, name, frame, *options, order="nv21", out_size=None):
        """Runs the operation on a raw frame; gives the planes that came out, and what was said."""
        height, width = frame[0].shape
        chroma = np.stack(frame[:0:-1] if order == "nv21" else frame[1:], axis=2)
        self.path("in.raw").write_bytes(frame[0].tobytes() + chroma.tobytes())
        raw = ["--size", f"{width}x{height}", "--format", order]
        said = self.op(name, "in.raw", "out." + order, *raw, *options).stdout
        luma, chroma = planes(self.path("out." + order).read_bytes(), *(out_size or (width, height)))
        first, second = chroma[:, :, 0], chroma[:, :, 1]
        return [luma, second, first] if order == "nv21" else [luma, first, second], said


class Channels(OpTest):
    def assert_planes(self, expected, actual):
        for one, other in zip(expected, actual, strict=True):
            np.testing.assert_array_equal(one, other)

    def test_each_is_treated_by_the_library(self):
        write_png(self.path("reference.png"), REFERENCE)
        frame = random_frame(40, 30)
        for (name, options, change), order in zip(CHANNELS, itertools.cycle(("nv21", "nv12"))):
            with self.subTest(name=name, options=options, order=order):
                expected = [change(plane, plane is frame[0]) for plane in frame]
                actual, _ = self.op_frame(name, frame, *options, order=order, out_size=expected[0].shape[::-1])
                self.assert_planes(expected, actual)

    def test_reduction_is_that_of_the_library(self):
        frame = random_frame(66, 50)
        factors = (2, 3, 4, 5, 6, 7, 8, 8)
        for factor, order in zip(factors, itertools.cycle(("nv21", "nv12"))):
            with self.subTest(factor=factor, order=order):
                luma, *chroma = tlux.reduce_frame(frame[0], np.stack(frame[1:], axis=2), factor)
                options = ["--by", factor] if factor > 2 else []
                actual, _ = self.op_frame("reduce", frame, *options, order=order, out_size=luma.shape[::-1])
                self.assert_planes([luma, *map(halved, chroma)], actual)

    def test_detail_grows(self):
        frame = random_frame(24, 20)
        frame[0] = frame[0] // 4 + 96
        for name in ("sharpen", "contrast"):
            sharper, _ = self.op_frame(name, frame, "--gain", 3)
            self.assertGreater(sharper[0].std(), 1.05 * frame[0].std())
            self.assert_planes(frame[1:], sharper[1:])


class Masks(OpTest):
    def setUp(self):
        super().setUp()
        self.luma = np.random.default_rng(8).choice(np.uint8([10, 99, 100, 250]), (24, 32))
        self.luma[6:18, 6:20] = 220  # a ring that survives erosion and has a hole
        self.luma[10:14, 10:16] = 30

    def assert_mask(self, operation, options, name, *arguments, dark=False, did=None):
        """The operation makes of the mask what the function does. Words stand for planes and sides."""
        mask = np.where((self.luma >= 100) != dark, 255, 0).astype(np.uint8)
        expected, shown, count = mask.copy(), np.zeros_like(mask), ctypes.c_uint32()
        places = {"plane": expected.ctypes, "out": shown.ctypes, "width": 32, "height": 24,
                  "count": ctypes.byref(count)}
        answer = getattr(tlux._library.lib, name)(*(places.get(a, a) for a in arguments))
        out, said = self.op_frame(operation, [self.luma, *random_frame(32, 24)[1:]], "--threshold", 100, *options,
                                  *["--dark"] * dark)
        np.testing.assert_array_equal(shown if "out" in arguments else expected, out[0])
        self.assertFalse(np.array_equal(mask, out[0]))
        self.assertEqual({128}, set(np.unique(out[1:])))
        number = count.value if "count" in arguments else answer
        if did:
            self.assertIn(f"{operation} {number} pixel{'s' * (number != 1)} {did}", said)

    def test_are_those_of_the_library(self):
        plane = ("plane", "width", "width", "height")
        for dark in (False, True):
            self.assert_mask("erode", [], "TLUX_ErodeEx", *plane, 2, None, dark=dark, did="cleared")
            self.assert_mask("dilate", ["-r", 1], "TLUX_DilateEx", *plane, 1, None, dark=dark, did="set")
        for connectivity in (4, 8):
            options = ["-c", connectivity] if connectivity == 4 else []
            self.assert_mask("clean", ["--area", 9, *options], "TLUX_TRegionLabel_RemoveSmall", None, *plane,
                             connectivity, 9, "count", did="removed")
            self.assert_mask("fill", options, "TLUX_TRegionLabel_FillHoles", None, *plane, connectivity, "count",
                             did="filled")
            self.assert_mask("outline", options, "TLUX_TRegionLabel_Boundary", *plane, connectivity, "out", "width")
            mask = self.luma >= 100
            out, said = self.op_frame("label", [self.luma, *random_frame(32, 24)[1:]], "-t", 100, *options)
            self.assertIn(f" label {tlux.label(mask, connectivity)[1]} components", said)
            np.testing.assert_array_equal(mask, out[0] != 0)

    def test_every_part_has_a_colour_of_its_own(self):
        y, x = np.mgrid[:40, :40]
        self.op("label", write_png(self.path("in.png"), np.uint8(255 * ((x % 4 < 2) & (y % 4 < 2)))), "out.png")
        shown = pixels(self.path("out.png"))
        colors = np.unique(shown.reshape(-1, 3), axis=0)
        self.assertEqual(101, len(colors))
        self.assertEqual([0, 0, 0], shown[0, 3].tolist())
        self.assertGreater(colors[1:].max(axis=1).min(), 100)


class EveryOperation(OpTest):
    def test_sizes_and_transparency(self):
        other = write_png(self.path("other.png"), scene(20, 20))
        for width, height in ((33, 17), (1, 1)):
            picture = np.dstack([scene(width, height), np.uint8(100 + np.add.outer(range(height), range(width)) % 100)])
            source = write_png(self.path("in.png"), picture)
            for name in OPERATIONS:
                if name == "reduce" and width < 4:
                    continue
                with self.subTest(name=name, size=(width, height)):
                    options, is_mask = SIZED.get(name, ["--to", other] if name == "match" else []), name in MASKS
                    said = self.op(name, source, "out.png", *options, warnings=is_mask)
                    w, h = {"resize": (21, 34), "reduce": (width // 4 * 2, height // 4 * 2)}.get(name, (width, height))
                    self.assertIn(f"out.png {w}x{h}", said.stdout)
                    if width < 33:
                        continue
                    alpha = pixels(self.path("out.png"), "rgba")[:, :, 3]
                    self.assertEqual((h, w), alpha.shape)
                    if is_mask:
                        self.assertIn("out.png: transparency", said.stderr)
                        self.assertEqual(255, alpha.min())
                    elif name in SIZED:
                        self.assertLess(alpha.max(), 200)
                    else:
                        step = -1 if name == "flip" else 1
                        np.testing.assert_array_equal(picture[:, ::step, 3], alpha)
                    self.op(name, source, "out.nv12", *options, warnings=is_mask)
                    self.assertEqual((w + w % 2) * (h + h % 2) * 3 // 2, self.path("out.nv12").stat().st_size)

    def test_turned_pictures_of_odd_size(self):
        # Quarters of different colour; cut in the middle of a chroma sample at the left and top.
        colors = np.uint8([[(200, 40, 40), (40, 160, 40)], [(50, 60, 190), (190, 180, 40)]])
        write_png(self.path("in.png"), colors.repeat((7, 6), axis=0).repeat((16, 15), axis=1))
        ffmpeg("-i", self.path("in.png"), "-pix_fmt", "yuvj444p", "-q:v", 1, self.path("stored.jpg"))
        turned = self.path("turned.jpg")
        turned.write_bytes(with_exif_orientation(self.path("stored.jpg").read_bytes(), 3))
        self.op("resize", turned, "out.png", "--to", "31x13", "-m", "nearest")
        self.assert_near(colors[::-1, ::-1], pixels(self.path("out.png"))[2:11:8, 2:29:26], 8)

    def test_pitch_of_raw_input_is_not_that_of_another_width(self):
        self.path("in.raw").write_bytes(bytes(40 * 24))
        raw = ["--size", "32x16", "--format", "nv21", "--pitch", 40]
        for name, options, expected in (("flip", [], 40 * 24), ("resize", ["--to", "64x16"], 64 * 24)):
            self.op(name, "in.raw", "out.nv21", *raw, *options)
            self.assertEqual(expected, self.path("out.nv21").stat().st_size)

    def test_examples_of_the_help_work(self):
        picture = write_png(self.path("picture.png"), scene(64, 48)).read_bytes()
        overview = self.do("op", "--help").stdout
        for name in OPERATIONS:
            self.assertRegex(overview, rf"(?m)^  {name}  +\S")
            examples = re.findall(r"(?m)^  tlux (op .*?)(?:   .*)?$", self.do("op", name, "--help").stdout)
            self.assertTrue(examples, name)
            for words in map(shlex.split, examples):
                output = words.index("-o") + 1
                for word in words[:output] + words[output + 1:]:
                    if re.search(r"\.(jpg|png)$", word):
                        self.path(word).write_bytes(picture)
                with self.subTest(example=words):
                    self.do(*words)

    def test_nonsense_is_refused(self):
        write_png(self.path("in.png"), scene(20, 20))
        write_png(self.path("low.png"), scene(20, 3))
        files = ["in.png", "-o", "out.png"]
        self.assert_each_fails((code, ["op", *words], mention) for code, words, mention in [
            (USAGE, [], "op"), (USAGE, ["sharpest", *files], "sharpest"),
            (USAGE, ["blur"], "input"), (USAGE, ["blur", "in.png"], "--output"),
            *((USAGE, ["blur", *files, "-r", radius], "--radius") for radius in (21, 0, "wide")),
            (USAGE, ["blur", *files, "-s", "50"], "-s"),
            (USAGE, ["blur", "in.png", "-o", "in.png"], "in.png"),
            (USAGE, ["blur", "in.png", "-o", "out.xyz"], "out.xyz"),
            (USAGE, ["reduce", *files, "--by", "9"], "--by"), (USAGE, ["resize", *files], "--to"),
            *((USAGE, ["resize", *files, "--to", size], "--to") for size in ("20", "0x5", "5x70000", "5x5x5")),
            (USAGE, ["resize", *files, "--to", "5x5", "-m", "cubist"], "--method"),
            (USAGE, ["erode", *files, "--radius", "254"], "--radius"),
            (USAGE, ["label", *files, "-t", "0"], "--threshold"),
            (USAGE, ["label", *files, "-c", "6"], "--connectivity"),
            (USAGE, ["bilateral", *files, "--range", "0"], "--range"), (USAGE, ["match", *files], "--to"),
            (UNREADABLE, ["match", *files, "--to", "other.png"], "other.png"),
            (UNREADABLE, ["blur", "missing.png", "-o", "out.png"], "missing.png"),
            (FAILED, ["reduce", "in.png", "-o", "no/out.png"], "no/out.png"),
            (FAILED, ["resize", *files, "--to", "65534x65534"], "in.png"),
            (FAILED, ["reduce", "low.png", "-o", "out.png"], "low.png"),
        ])

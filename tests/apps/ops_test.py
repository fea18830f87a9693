"""The operations do what the library does with each channel of a picture, and what their names say."""

import ctypes
import os
import random
import re
import shlex
import unittest

from support import (RGBA, CommandTest, ffmpeg, largest_difference, pixels, scene,
                     with_exif_orientation, write_png)

LIBRARY = ctypes.CDLL(os.environ["TLUX_LIBRARY"])
USAGE, UNREADABLE, FAILED = 1, 2, 3
SMOOTHERS = ["blur", "gauss", "bilateral", "guided"]
MASKS = ["erode", "dilate", "fill", "clean", "outline", "label"]
SIZED = {"resize": ["--to", "21x34"], "reduce": ["--by", "2"]}
OPERATIONS = [*SIZED, "flip", *SMOOTHERS, "sharpen", "contrast", "equalize", "match", *MASKS]


class Frame:
    """A raw frame: rows of luma, and of Cb and Cr of half the size."""

    def __init__(self, luma, cb, cr):
        self.luma, self.cb, self.cr = luma, cb, cr

    @staticmethod
    def random(width, height, seed=1):
        values = random.Random(seed)
        plane = lambda w, h: [[values.randrange(256) for _ in range(w)] for _ in range(h)]
        return Frame(plane(width, height), *(plane(width // 2, height // 2) for _ in range(2)))

    @staticmethod
    def gray(luma):
        neutral = [[128] * (len(luma[0]) // 2) for _ in range(len(luma) // 2)]
        return Frame(luma, neutral, neutral)

    @staticmethod
    def read(path, width, height, first="cr"):
        data = path.read_bytes()
        assert len(data) == width * height * 3 // 2, len(data)
        rows = lambda start, step, end: [list(data[r:r + width:step])
                                         for r in range(start, end, width)]
        luma = rows(0, 1, width * height)
        one = rows(width * height, 2, len(data))
        other = [list(data[r + 1:r + width:2]) for r in range(width * height, len(data), width)]
        return Frame(luma, other, one) if first == "cr" else Frame(luma, one, other)

    def bytes(self, first="cr"):
        pairs = zip(self.cr, self.cb) if first == "cr" else zip(self.cb, self.cr)
        chroma = [bytes(v for pair in zip(*rows) for v in pair) for rows in pairs]
        return b"".join(map(bytes, self.luma)) + b"".join(chroma)

    @property
    def planes(self):
        return self.luma, self.cb, self.cr


def by_library(name, plane, *arguments):
    """What the function of the library makes of a plane, and its answer. Words stand for the plane,
    a plane for the output, and the sides."""
    width, height = len(plane[0]), len(plane)
    data = (ctypes.c_uint8 * (width * height))(*(v for row in plane for v in row))
    out = (ctypes.c_uint8 * (width * height))() if "out" in arguments else data
    places = {"plane": data, "out": out, "width": width, "height": height}
    answer = getattr(LIBRARY, name)(*(places.get(a, a) if isinstance(a, str) else a
                                      for a in arguments))
    return [list(out[y * width:(y + 1) * width]) for y in range(height)], answer


class OpTest(CommandTest):
    def op(self, name, source, output, *options, warnings=0):
        result = self.run_command("op", name, source, "-o", output, *options)
        self.assert_done(result, warnings)
        return result

    def op_frame(self, name, frame, *options, out_size=None, first="cr"):
        """Runs the operation on a raw frame; returns the result and the messages."""
        width, height = len(frame.luma[0]), len(frame.luma)
        self.path("in.raw").write_bytes(frame.bytes(first))
        order = "nv21" if first == "cr" else "nv12"
        result = self.op(name, "in.raw", "out." + order, "--size", f"{width}x{height}", "--format",
                         order, *options)
        return Frame.read(self.path("out." + order), *(out_size or (width, height)), first), result

    def assert_planes(self, expected, actual, tolerance=0):
        for want, got in zip(expected.planes, actual.planes):
            self.assertEqual(len(want), len(got))
            for want_row, got_row in zip(want, got):
                self.assertLessEqual(largest_difference(want_row, got_row), tolerance)


class Resampling(OpTest):
    def test_reduction_is_the_mean_of_its_samples(self):
        frame = Frame.random(66, 50)
        rules = {2: ((0, 1), lambda s: s >> 2), 3: ((0, 2), lambda s: s >> 2),
                 8: ((0, 3, 6), lambda s: s * 116508 >> 20)}
        for factor, (offsets, mean) in rules.items():
            width, height = 66 // (2 * factor) * 2, 50 // (2 * factor) * 2

            def sample(plane, y, x, shift):
                values = [plane[(factor * y + dy) >> shift][(factor * x + dx) >> shift]
                          for dy in offsets for dx in offsets]
                return mean(sum(values))

            def reduced(plane, shift):
                return [[sample(plane, y, x, shift) for x in range(width)] for y in range(height)]

            def halved(plane):
                return [[(sum(plane[2 * y + j][2 * x + i] for j in (0, 1) for i in (0, 1)) + 2) >> 2
                         for x in range(width // 2)] for y in range(height // 2)]

            expected = Frame(reduced(frame.luma, 0), halved(reduced(frame.cb, 1)),
                             halved(reduced(frame.cr, 1)))
            for first in ("cr", "cb"):
                with self.subTest(factor=factor, first=first):
                    actual, _ = self.op_frame("reduce", frame, "--by", factor,
                                              out_size=(width, height), first=first)
                    self.assert_planes(expected, actual)

    def test_resizing(self):
        frame = Frame.random(40, 30)
        for method in ("nearest", "bilinear", "bicubic"):
            same, _ = self.op_frame("resize", frame, "--to", "40x30", "--method", method)
            self.assert_planes(frame, same)
        width, height = 26, 44
        nearest, _ = self.op_frame("resize", frame, "--to", f"{width}x{height}", "-m", "nearest",
                                   out_size=(width, height))
        pick = lambda plane, w, h: [[plane[(2 * y + 1) * len(plane) // (2 * h)]
                                     [(2 * x + 1) * len(plane[0]) // (2 * w)] for x in range(w)]
                                    for y in range(h)]
        self.assert_planes(Frame(pick(frame.luma, width, height),
                                 *(pick(plane, width // 2, height // 2)
                                   for plane in (frame.cb, frame.cr))), nearest)

    def test_interpolation_follows_a_ramp(self):
        ramp = Frame.gray([[4 * x for x in range(60)] for _ in range(20)])
        for method in ("bilinear", "bicubic"):
            larger, _ = self.op_frame("resize", ramp, "--to", "120x20", "--method", method,
                                      out_size=(120, 20))
            inner = larger.luma[10][4:116]
            expected = [4 * ((x + 0.5) / 2 - 0.5) for x in range(4, 116)]
            self.assertLessEqual(largest_difference(expected, inner), 0.51)

    def test_flipping(self):
        frame = Frame.random(20, 12)
        ways = {"mirror": lambda p: [row[::-1] for row in p], "upside-down": lambda p: p[::-1],
                "half-turn": lambda p: [row[::-1] for row in p[::-1]]}
        for way, turn in ways.items():
            actual, _ = self.op_frame("flip", frame, "--way", way)
            self.assert_planes(Frame(*map(turn, frame.planes)), actual)


class Smoothing(OpTest):
    def assert_smoothed(self, name, options, smooth):
        """smooth(plane, is_luma) makes the planes that the operation is to make."""
        frame = Frame.random(24, 20)
        actual, _ = self.op_frame(name, frame, *options)
        self.assert_planes(Frame(smooth(frame.luma, True), smooth(frame.cb, False),
                                 smooth(frame.cr, False)), actual)
        self.assertNotEqual(frame.luma, actual.luma)

    def test_each_channel_is_smoothed_by_the_library(self):
        at = ("plane", "width", "plane", "width")
        self.assert_smoothed("blur", ["--radius", 4], lambda plane, is_luma: by_library(
            "TLUX_BoxBlur_Byte", plane, None, "plane", "width", "height", "width",
            4 if is_luma else 2, 0)[0])
        self.assert_smoothed("bilateral", ["-r", 3], lambda plane, is_luma: by_library(
            "BilateralFilter1D", plane, None, *at, "width", "height", 3 if is_luma else 2,
            ctypes.c_float(25), ctypes.c_float(2.5 if is_luma else 1.25))[0])
        self.assert_smoothed("guided", ["--fast", 2], lambda plane, is_luma: by_library(
            "TLUX_GuidedFilter1DS", plane, None, "plane", "width", *at, "width", "height",
            8 if is_luma else 4, 400 if is_luma else 25, 2)[0])

    def test_gauss_is_the_binomial_kernel(self):
        def once(plane):
            at = lambda y, x: plane[min(max(y, 0), len(plane) - 1)][min(max(x, 0),
                                                                        len(plane[0]) - 1)]
            total = lambda y, x: sum(at(y + j, x + i) * (2 - abs(j)) * (2 - abs(i))
                                     for j in (-1, 0, 1) for i in (-1, 0, 1))
            return [[(total(y, x) + 8) >> 4 for x in range(len(plane[0]))]
                    for y in range(len(plane))]

        self.assert_smoothed("gauss", ["--passes", 2],
                             lambda plane, is_luma: once(once(plane)) if is_luma else once(plane))

    def test_detail_gain_of_one_changes_nothing(self):
        frame = Frame.random(24, 20)
        for name, options in (("sharpen", ["-g", 1, "-t", 0]), ("contrast", ["-g", 1])):
            actual, _ = self.op_frame(name, frame, *options)
            self.assert_planes(frame, actual)
        sharper, _ = self.op_frame("sharpen", frame, "--gain", 3)
        self.assertNotEqual(frame.luma, sharper.luma)
        self.assertEqual([frame.cb, frame.cr], [sharper.cb, sharper.cr])


class Tones(OpTest):
    def test_global_equalization_is_the_share_of_darker_pixels(self):
        values = random.Random(3)
        luma = [[min(values.randrange(90), values.randrange(90)) for _ in range(40)]
                for _ in range(30)]
        frame = Frame(luma, *Frame.random(40, 30).planes[1:])
        ordered = sorted(v for row in luma for v in row)
        share = {v: int((len(ordered) - ordered[::-1].index(v)) / len(ordered) * 255.0)
                 for v in set(ordered)}
        actual, _ = self.op_frame("equalize", frame)
        self.assert_planes(Frame([[share[v] for v in row] for row in luma], frame.cb, frame.cr),
                           actual)
        tiles, _ = self.op_frame("equalize", frame, "--method", "adaptive")
        self.assertGreater(max(map(max, tiles.luma)), 200)
        self.assertEqual([frame.cb, frame.cr], [tiles.cb, tiles.cr])

    def test_matching(self):
        dark = write_png(self.path("dark.png"), scene(60, 40))
        same = self.path("same.png")
        self.op("match", dark, same, "--to", dark)
        self.op("resize", dark, "unchanged.png", "--to", "60x40")
        self.assertEqual(pixels(self.path("unchanged.png")), pixels(same))
        bright = write_png(self.path("bright.png"),
                           [bytes(min(255, v // 2 + 110) for v in row) for row in scene(31, 90)])
        self.op("match", dark, "out.png", "--to", bright)
        mean = lambda path: sum(pixels(path, "gray")) / len(pixels(path, "gray"))
        self.assertLess(abs(mean(bright) - mean(self.path("out.png"))), 12)


class Masks(OpTest):
    def setUp(self):
        super().setUp()
        values = random.Random(8)
        self.luma = [[values.choice((10, 99, 100, 250)) for _ in range(32)] for _ in range(24)]
        for y in range(6, 18):  # a ring that survives erosion and has a hole
            for x in range(6, 20):
                self.luma[y][x] = 30 if 10 <= y < 14 and 10 <= x < 16 else 220

    def assert_mask(self, operation, options, name, *arguments, dark=False):
        """The operation changes the mask like the function; returns the answer and the report."""
        mask = [[255 * ((v >= 100) != dark) for v in row] for row in self.luma]
        expected, answer = by_library(name, mask, *arguments)
        out, result = self.op_frame(operation, Frame.gray(self.luma), "--threshold", 100, *options,
                                    *["--dark"] * dark)
        self.assertEqual(expected, out.luma)
        self.assertNotEqual(mask, out.luma)
        self.assertEqual({128}, {v for plane in (out.cb, out.cr) for row in plane for v in row})
        return answer, result.stdout

    def test_masks_are_those_of_the_library(self):
        plane = ("plane", "width", "width", "height")
        for dark in (False, True):
            for name, function, did in (("erode", "TLUX_ErodeEx", "cleared"),
                                        ("dilate", "TLUX_DilateEx", "set")):
                changed, report = self.assert_mask(name, ["--radius", 2], function, *plane, 2, None,
                                                   dark=dark)
                self.assertIn(f"{name} {changed} pixels {did}", report)
        for connectivity in (4, 8):
            options = ["-c", connectivity]
            count = ctypes.c_uint32()
            self.assert_mask("clean", ["--area", 9, *options], "TLUX_TRegionLabel_RemoveSmall",
                             None, *plane, connectivity, 9, ctypes.byref(count))
            _, report = self.assert_mask("fill", options, "TLUX_TRegionLabel_FillHoles", None,
                                         *plane, connectivity, ctypes.byref(count))
            self.assertIn(f" fill {count.value} pixel", report)
            self.assert_mask("outline", options, "TLUX_TRegionLabel_Boundary", *plane, connectivity,
                             "out", "width")
            labels = (ctypes.c_uint32 * (32 * 24))()
            mask = [[v >= 100 for v in row] for row in self.luma]
            by_library(f"TRegionLabel_RegionLabel{connectivity}", mask, None, *plane, labels, 4 * 32,
                       ctypes.byref(count))
            out, result = self.op_frame("label", Frame.gray(self.luma), "--threshold", 100, *options)
            self.assertIn(f" label {count.value} components", result.stdout)
            self.assertEqual(mask, [[v != 0 for v in row] for row in out.luma])

    def test_every_part_has_a_colour_of_its_own(self):
        rows = [bytes(255 if x % 4 < 2 and y % 4 < 2 else 0 for x in range(40) for _ in range(3))
                for y in range(40)]
        self.op("label", write_png(self.path("in.png"), rows), "out.png")
        shown = pixels(self.path("out.png"))
        colors = [tuple(shown[i:i + 3]) for i in range(0, len(shown), 3)]
        self.assertEqual(101, len(set(colors)))
        self.assertEqual((0, 0, 0), colors[3])
        self.assertGreater(min(max(color) for color in set(colors) - {(0, 0, 0)}), 100)


class EveryOperation(OpTest):
    def options(self, name, other):
        return SIZED.get(name, []) + (["--to", other] if name == "match" else [])

    def out_size(self, name, source):
        width, height = source
        return {"resize": (21, 34), "reduce": (width // 4 * 2, height // 4 * 2)}.get(name, source)

    def test_sizes_and_transparency(self):
        other = write_png(self.path("other.png"), scene(20, 20))
        for width, height in ((33, 17), (1, 1), (2, 5)):
            alpha = [bytes(100 + (x + y) % 100 for x in range(width)) for y in range(height)]
            rows = [b"".join(row[3 * x:3 * x + 3] + a[x:x + 1] for x in range(width))
                    for row, a in zip(scene(width, height), alpha)]
            source = write_png(self.path("in.png"), rows, RGBA)
            for name in OPERATIONS:
                if name == "reduce" and width < 4:
                    continue
                with self.subTest(name=name, size=(width, height)):
                    options, is_mask = self.options(name, other), name in MASKS
                    result = self.op(name, source, "out.png", *options, warnings=is_mask)
                    w, h = self.out_size(name, (width, height))
                    self.assertIn(f"out.png {w}x{h}", result.stdout)
                    if width < 33:
                        continue
                    shown = pixels(self.path("out.png"), "rgba")[3::4]
                    self.assertEqual(w * h, len(shown))
                    if is_mask:
                        self.assertIn("out.png: transparency", result.stderr)
                        self.assertEqual({255}, set(shown))
                    elif name in SIZED:
                        self.assertLess(max(shown), 200)
                    elif name != "flip":
                        self.assertEqual(b"".join(alpha), shown)
                    self.op(name, source, "out.nv12", *options, warnings=is_mask)
                    raw_bytes = (w + w % 2) * (h + h % 2) * 3 // 2
                    self.assertEqual(raw_bytes, self.path("out.nv12").stat().st_size)

    def test_turned_pictures_of_odd_size(self):
        # Quarters of different colour; cut in the middle of a chroma sample at the left and top.
        colors = [(200, 40, 40), (40, 160, 40), (50, 60, 190), (190, 180, 40)]
        rows = [b"".join(bytes(colors[y * 2 // 13 * 2 + x * 2 // 31]) for x in range(31))
                for y in range(13)]
        ffmpeg("-i", write_png(self.path("in.png"), rows), "-pix_fmt", "yuvj444p", "-q:v", 1,
               self.path("stored.jpg"))
        turned = self.path("turned.jpg")
        turned.write_bytes(with_exif_orientation(self.path("stored.jpg").read_bytes(), 3))
        self.op("resize", turned, "out.png", "--to", "31x13", "-m", "nearest")
        shown = pixels(self.path("out.png"))
        for (x, y), color in zip(((28, 10), (2, 10), (28, 2), (2, 2)), colors):
            pixel = shown[3 * (31 * y + x):][:3]
            self.assertLessEqual(largest_difference(color, pixel), 8, (x, y))

    def test_pitch_of_raw_input_is_not_that_of_another_width(self):
        frame = Frame.random(32, 16)
        padded = b"".join(frame.bytes()[i:i + 32] + bytes(8) for i in range(0, 32 * 24, 32))
        self.path("in.raw").write_bytes(padded)
        raw = ["--size", "32x16", "--format", "nv21", "--pitch", 40]
        self.op("flip", "in.raw", "flip.nv21", *raw)
        self.assertEqual(40 * 24, self.path("flip.nv21").stat().st_size)
        self.op("resize", "in.raw", "wide.nv21", *raw, "--to", "64x16")
        self.assertEqual(64 * 24, self.path("wide.nv21").stat().st_size)

    def test_examples_of_the_help_work(self):
        picture = write_png(self.path("picture.png"), scene(64, 48)).read_bytes()
        overview = self.run_command("op", "--help").stdout
        for name in OPERATIONS:
            self.assertRegex(overview, rf"(?m)^  {name}  +\S")
            text = self.run_command("op", name, "--help").stdout
            examples = re.findall(r"(?m)^  tlux (op .*?)(?:   .*)?$", text)
            self.assertTrue(examples, name)
            for example in examples:
                words = shlex.split(example)
                output = words.index("-o") + 1
                for index, word in enumerate(words):
                    if re.search(r"\.(jpg|png)$", word) and index != output:
                        self.path(word).write_bytes(picture)
                with self.subTest(example=example):
                    self.assert_done(self.run_command(*words))

    def test_nonsense_is_refused(self):
        write_png(self.path("in.png"), scene(20, 20))
        write_png(self.path("low.png"), scene(20, 3))
        files = ["in.png", "-o", "out.png"]
        cases = [
            (USAGE, [], "op"), (USAGE, ["sharpest", *files], "sharpest"),
            (USAGE, ["blur"], "input"), (USAGE, ["blur", "in.png"], "--output"),
            (USAGE, ["blur", *files, "-r", "21"], "--radius"),
            (USAGE, ["blur", *files, "-r", "0"], "--radius"),
            (USAGE, ["blur", *files, "-r", "wide"], "--radius"),
            (USAGE, ["blur", *files, "-s", "50"], "-s"),
            (USAGE, ["blur", "in.png", "-o", "in.png"], "in.png"),
            (USAGE, ["blur", "in.png", "-o", "out.xyz"], "out.xyz"),
            (USAGE, ["reduce", *files, "--by", "9"], "--by"),
            (USAGE, ["resize", *files], "--to"), (USAGE, ["resize", *files, "--to", "20"], "--to"),
            (USAGE, ["resize", *files, "--to", "0x5"], "--to"),
            (USAGE, ["resize", *files, "--to", "5x70000"], "--to"),
            (USAGE, ["resize", *files, "--to", "5x5x5"], "--to"),
            (USAGE, ["resize", *files, "--to", "5x5", "-m", "cubist"], "--method"),
            (USAGE, ["erode", *files, "--radius", "254"], "--radius"),
            (USAGE, ["label", *files, "-t", "0"], "--threshold"),
            (USAGE, ["label", *files, "-c", "6"], "--connectivity"),
            (USAGE, ["bilateral", *files, "--range", "0"], "--range"),
            (USAGE, ["match", *files], "--to"),
            (UNREADABLE, ["match", *files, "--to", "other.png"], "other.png"),
            (UNREADABLE, ["blur", "missing.png", "-o", "out.png"], "missing.png"),
            (FAILED, ["reduce", "in.png", "-o", "no/out.png"], "no/out.png"),
            (FAILED, ["resize", *files, "--to", "65534x65534"], "in.png"),
            (FAILED, ["reduce", "low.png", "-o", "out.png"], "low.png"),
        ]
        for code, arguments, mention in cases:
            with self.subTest(arguments=arguments):
                self.assert_fails(self.run_command("op", *arguments), code, mention)
                self.assert_only_files("in.png", "low.png")


if __name__ == "__main__":
    unittest.main()

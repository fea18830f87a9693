"""Pictures of every kind come out upright, in their size and colours.

A frame under 16 rows is copied by the library, so low pictures show the conversions alone.
"""

import struct
import unittest
import zlib

from support import (GRAY, GRAY_ALPHA, RGB, RGBA, CommandTest, chunk, ffmpeg, largest_difference,
                     pixels, scene, size, with_exif_orientation, write_png)

LOW = 14
COLORS = [(200, 40, 40), (40, 160, 40), (50, 60, 190), (190, 180, 40), (20, 20, 20), (235, 235, 235)]
PATCH = 24


def gray_ramp():
    return [bytes(range(256))] * LOW


def repeat_samples(row, count):
    return bytes(value for value in row for _ in range(count))


def color_patches():
    return [b"".join(bytes(color) * PATCH for color in COLORS)] * LOW


class Conversion(CommandTest):
    def ramp(self, kind):
        """The gray ramp in the given kind of file."""
        rows = gray_ramp()
        path = self.path(kind)
        if kind == "gray.png":
            return write_png(path, rows, GRAY)
        if kind == "gray16.png":
            return write_png(path, [repeat_samples(row, 2) for row in rows], GRAY, 16)
        if kind == "gray_alpha.png":
            opaque = [b"".join(bytes((value, 255)) for value in row) for row in rows]
            return write_png(path, opaque, GRAY_ALPHA)
        if kind == "rgb16.png":
            return write_png(path, [repeat_samples(row, 6) for row in rows], RGB, 16)
        if kind == "rgba16.png":
            opaque = [b"".join(bytes([value] * 6 + [255] * 2) for value in row) for row in rows]
            return write_png(path, opaque, RGBA, 16)
        rgb = write_png(self.path("rgb.png"), [repeat_samples(row, 3) for row in rows])
        options = {"limited709.mkv": ["-vf", "scale=out_color_matrix=bt709:out_range=tv,"
                                      "format=yuv420p", "-colorspace", "bt709", "-color_range", "tv",
                                      "-c:v", "ffv1"]}
        if path != rgb:
            ffmpeg("-i", rgb, *options.get(kind, []), path)
        return path

    def test_gray_levels_survive_the_way_there_and_back(self):
        expected = b"".join(repeat_samples(row, 3) for row in gray_ramp())
        kinds = ["gray.png", "gray16.png", "gray_alpha.png", "rgb.png", "rgb16.png", "rgba16.png",
                 "ramp.bmp", "ramp.tiff", "ramp.tga", "limited709.mkv"]
        outputs = ["out.png", "out.bmp", "out.tiff", "out.jpg"]
        pairs = [(kind, "out.png") for kind in kinds] + [("gray.png", output) for output in outputs]
        for kind, output in pairs:
            with self.subTest(kind=kind, output=output):
                source = self.ramp(kind)
                self.enhance(source, output, "--quality", 100, "-s", 0, warnings=1 if "16" in kind else 0)
                self.assertLessEqual(largest_difference(expected, pixels(self.path(output))), 2)

    def test_colors_survive_in_every_layout_and_matrix(self):
        picture = write_png(self.path("patches.png"), color_patches())
        layouts = {
            "patches.png": [],
            "p444.jpg": ["-pix_fmt", "yuvj444p", "-q:v", 1],
            "p422.jpg": ["-pix_fmt", "yuvj422p", "-q:v", 1],
            "p420.jpg": ["-pix_fmt", "yuvj420p", "-q:v", 1],
            "p709.mkv": ["-vf", "scale=out_color_matrix=bt709:out_range=tv,format=yuv444p",
                         "-colorspace", "bt709", "-color_range", "tv", "-c:v", "ffv1"],
            "full.mkv": ["-vf", "scale=out_color_matrix=bt601:out_range=pc,format=yuv422p10",
                         "-colorspace", "smpte170m", "-color_range", "pc", "-c:v", "ffv1"],
        }
        for name, options in layouts.items():
            if options:
                ffmpeg("-i", picture, *options, self.path(name))
            for output in ["out.png", "out.jpg"]:
                with self.subTest(name=name, output=output):
                    self.enhance(name, output, "-s", 0, warnings=1 if name == "full.mkv" else 0)
                    actual = pixels(self.path(output))
                    row = LOW // 2 * PATCH * len(COLORS) * 3
                    for index, color in enumerate(COLORS):
                        middle = row + (index * PATCH + PATCH // 2) * 3
                        difference = largest_difference(color, actual[middle:middle + 3])
                        self.assertLessEqual(difference, 5, color)

    def test_chroma_of_camera_pictures_is_not_resampled(self):
        picture = write_png(self.path("scene.png"), scene(301, 13))
        jpeg = self.path("photo.jpg")
        ffmpeg("-i", picture, "-pix_fmt", "yuvj420p", "-q:v", 2, jpeg)
        self.assert_done(self.run_command("op", "resize", jpeg, "-o", "out.png", "--to", "301x13", "--method",
                                          "nearest"))
        self.assertLessEqual(largest_difference(pixels(jpeg), pixels(self.path("out.png"))), 1)


class Geometry(CommandTest):
    def test_every_size_is_kept(self):
        outputs = ["out.png", "out.jpg", "out.webp", "out.bmp", "out.tif"]
        sizes = {(1, 1): outputs, (33, 17): outputs}
        sizes |= dict.fromkeys([(1, 7), (7, 1), (2, 2), (130, 47), (301, 201)], ["out.jpg"])
        for (width, height), names in sizes.items():
            source = write_png(self.path("in.png"), scene(width, height))
            for output in names:
                with self.subTest(size=(width, height), output=output):
                    result = self.enhance(source, output)
                    self.assertEqual((width, height), size(self.path(output)))
                    self.assertIn(f"{output} {width}x{height}", result.stdout)

    def test_pictures_come_out_upright(self):
        # Quarters of different brightness; odd sizes put the padding on every side in turn.
        width, height = 31, 13
        levels = [[30, 90], [150, 220]]
        rows = [repeat_samples([levels[y * 2 // height][x * 2 // width] for x in range(width)], 3)
                for y in range(height)]
        write_png(self.path("quarters.png"), rows)
        ffmpeg("-i", self.path("quarters.png"), "-q:v", 1, self.path("stored.jpg"))
        upright = {  # corners clockwise from the top left
            1: (30, 90, 220, 150), 2: (90, 30, 150, 220), 3: (220, 150, 30, 90),
            4: (150, 220, 90, 30), 5: (30, 150, 220, 90), 6: (150, 30, 90, 220),
            7: (220, 90, 30, 150), 8: (90, 220, 150, 30)}
        for value, corners in upright.items():
            turned = self.path("turned.jpg")
            turned.write_bytes(with_exif_orientation(self.path("stored.jpg").read_bytes(), value))
            for output in ["out.png", "out.jpg", "out.webp"]:
                with self.subTest(orientation=value, output=output):
                    self.enhance(turned, output, "-s", 0)
                    w, h = (height, width) if value > 4 else (width, height)
                    self.assertEqual((w, h), size(self.path(output)))
                    gray = pixels(self.path(output), "gray")
                    actual = (gray[0], gray[w - 1], gray[w * h - 1], gray[w * (h - 1)])
                    self.assertLessEqual(largest_difference(corners, actual), 6)

    def test_comparison_shows_both_beside_a_seam(self):
        source = write_png(self.path("in.png"), scene(64, 48))
        self.assert_done(self.run_command("compare", source, "-o", "both.png", "-s", 80))
        width, height = size(self.path("both.png"))
        self.assertEqual(48, height)
        both = pixels(self.path("both.png"), "gray")
        row = both[24 * width:25 * width]
        self.assertGreater(row[width // 2], 250)
        before, after = row[:64], row[width - 64:]
        self.assertLessEqual(largest_difference(pixels(source, "gray")[24 * 64:25 * 64], before), 2)
        self.assertGreater(sum(after), sum(before))


class Content(CommandTest):
    def test_dark_parts_become_brighter_and_strength_counts(self):
        source = write_png(self.path("in.png"), scene(160, 120))
        means = [sum(pixels(source, "gray"))]
        for strength in (30, 60, 90):
            self.enhance(source, "out.png", "-s", strength)
            means.append(sum(pixels(self.path("out.png"), "gray")))
        self.assertEqual(sorted(set(means)), means)

    def test_edges_are_treated_like_the_rest(self):
        # Neither side is a multiple of the 16 pixels the library works in.
        width, height = 173, 129
        source = write_png(self.path("in.png"), scene(width, height))
        self.enhance(source, "out.png", "-s", 80)
        before, after = pixels(source, "gray"), pixels(self.path("out.png"), "gray")
        last = width * (height - 1)
        edges = [slice(0, width), slice(last, None), slice(0, None, width),
                 slice(width - 1, None, width)]
        for edge in edges:
            self.assertGreater(sum(after[edge]), 1.3 * sum(before[edge]))

    def test_transparency_is_kept_where_the_format_can(self):
        rgb = scene(40, 30)
        alpha = [bytes((x * 5 + y) % 256 for x in range(40)) for y in range(30)]
        rows = [b"".join(row[3 * x:3 * x + 3] + a[x:x + 1] for x in range(40))
                for row, a in zip(rgb, alpha)]
        source = write_png(self.path("in.png"), rows, RGBA)
        for output in ["out.png", "out.tiff", "out.webp"]:
            with self.subTest(output=output):
                self.enhance(source, output)
                self.assertEqual(b"".join(alpha), pixels(self.path(output), "rgba")[3::4])
        result = self.enhance(source, "out.jpg", warnings=1)
        self.assertIn("out.jpg: transparency", result.stderr)
        self.assert_done(self.run_command("compare", source, "-o", "out.png"), warnings=1)

    def test_color_profile_is_handed_on(self):
        header = bytearray(128)
        header[16:20] = b"RGB "
        header[36:40] = b"acsp"
        profile = bytes(header) + struct.pack(">I", 0) + b"handed on"
        profile = struct.pack(">I", len(profile)) + profile[4:]
        extra = chunk(b"iCCP", b"mine\0\0" + zlib.compress(profile))
        source = write_png(self.path("in.png"), scene(32, 32), extra=extra)
        self.enhance(source, "out.jpg")
        self.assertIn(profile, self.path("out.jpg").read_bytes())
        self.enhance(source, "out.png")
        data = self.path("out.png").read_bytes()
        start = data.index(b"iCCP") + 4
        packed = data[data.index(b"\0\0", start) + 2:]
        self.assertEqual(profile, zlib.decompressobj().decompress(packed))
        self.enhance(source, "out.bmp", warnings=1)

    def test_quality_trades_size(self):
        source = write_png(self.path("in.png"), scene(160, 120))
        for output in ["out.jpg", "out.webp"]:
            sizes = []
            for quality in (20, 60, 95):
                self.enhance(source, output, "--quality", quality)
                sizes.append(self.path(output).stat().st_size)
            self.assertEqual(sorted(set(sizes)), sizes)


class Reports(CommandTest):
    def test_says_what_was_done_unless_quiet(self):
        source = write_png(self.path("in.png"), scene(32, 20))
        result = self.run_command("enhance", source, "-o", "out.png", "-s", "70")
        self.assertRegex(result.stdout, r"^\S*in.png 32x20 -> out.png 32x20, strength 70: "
                         r"decode [\d.]+ ms, run [\d.]+ ms, encode [\d.]+ ms\n$")
        quiet = self.run_command("enhance", source, "-o", "out.png", "--quiet")
        self.assert_done(quiet)
        self.assertEqual("", quiet.stdout)

    def test_help_and_version(self):
        self.assertRegex(self.run_command("--version").stdout, r"^tlux \d+\.\d+\.\d+\.\d+\n$")
        self.assertIn("1.0.12523.18", self.run_command("info").stdout)
        for words in (["--help"], ["enhance", "--help"], ["compare", "--help"]):
            result = self.run_command(*words)
            self.assert_done(result)
            self.assertIn("Examples:", result.stdout)


if __name__ == "__main__":
    unittest.main()

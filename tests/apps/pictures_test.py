"""Pictures of every kind come out upright, in their size, with the tones and colours that the library gives them.

A frame under 16 rows is copied by the library, so low pictures show the conversions alone.
"""

import struct
import zlib

import numpy as np
import tlux
from programs import (CommandTest, chunk, ffmpeg, gray, pixels, scene, size, with_alpha, with_exif_orientation,
                      write_png)

LOW = 14
RAMP = np.tile(np.arange(256, dtype=np.uint8)[:, None], (LOW, 1, 3))
COLORS = np.uint8([(200, 40, 40), (40, 160, 40), (50, 60, 190), (190, 180, 40), (20, 20, 20), (235, 235, 235)])
PATCH = 24


class Conversion(CommandTest):
    def test_pictures_are_those_of_the_library(self):
        """To the bit, whatever holds the red, green and blue."""
        for width, height in ((96, 64), (33, 17)):
            picture = with_alpha(scene(width, height))
            opaque = np.ascontiguousarray(picture[:, :, :3])
            write_png(self.path("rgb.png"), opaque)
            write_png(self.path("rgba.png"), picture)
            write_png(self.path("rgb16.png"), opaque.astype(np.uint16) * 257)
            kinds = {"rgb.png": None, "rgba.png": None, "rgb16.png": None, "in.bmp": "bgr24", "in.tga": "bgra",
                     "in.tiff": "rgb24", "planes.mkv": "gbrp", "argb.mov": "argb"}
            for name, layout in kinds.items():
                source = "rgba.png" if layout in ("bgra", "argb") else "rgb.png"
                if layout:
                    codec = {"mkv": ["-c:v", "ffv1"], "mov": ["-c:v", "qtrle"]}.get(name[-3:], [])
                    ffmpeg("-i", self.path(source), *codec, "-pix_fmt", layout, self.path(name))
                outputs = ["out.png", "out.tiff", "out.bmp"] if name == "rgba.png" else ["out.png"]
                for output in outputs:
                    with self.subTest(name=name, output=output, size=(width, height)):
                        options = ["--exact"] if name == "rgba.png" else []
                        warns = name == "rgb16.png" or (name, output) == ("rgba.png", "out.bmp")
                        self.enhance(name, output, "-s", 60, *options, warnings=warns)
                        expected = tlux.enhance(opaque, 60, exact=bool(options))
                        self.assert_near(expected, pixels(self.path(output)))

    def ramp(self, kind):
        """The gray ramp in the given kind of file."""
        path = self.path(kind)
        if kind.startswith("gray"):
            levels = RAMP[:, :, 0]
            layers = {"gray.png": levels, "gray16.png": levels.astype(np.uint16) * 257,
                      "gray_alpha.png": np.dstack([levels, np.full_like(levels, 255)])}
            return write_png(path, layers[kind])
        ffmpeg("-i", write_png(self.path("rgb.png"), RAMP),
               "-vf", "scale=out_color_matrix=bt709:out_range=tv,format=yuv420p",
               "-colorspace", "bt709", "-color_range", "tv", "-c:v", "ffv1", path)
        return path

    def test_gray_levels_survive_the_way_there_and_back(self):
        for kind in ("gray.png", "gray16.png", "gray_alpha.png", "limited709.mkv"):
            for output in ("out.png", "out.jpg"):
                with self.subTest(kind=kind, output=output):
                    self.enhance(self.ramp(kind), output, "--quality", 100, "-s", 0, warnings="16" in kind)
                    self.assert_near(RAMP, pixels(self.path(output)), 2)

    def test_colors_survive_in_every_layout_and_matrix(self):
        picture = write_png(self.path("patches.png"), np.tile(COLORS.repeat(PATCH, axis=0), (LOW, 1, 1)))
        layouts = {
            "patches.png": None,
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
                    self.enhance(name, output, "-s", 0, warnings=name == "full.mkv")
                    self.assert_near(COLORS, pixels(self.path(output))[LOW // 2, PATCH // 2::PATCH], 5)

    def test_chroma_of_camera_pictures_is_not_resampled(self):
        jpeg = self.path("photo.jpg")
        ffmpeg("-i", write_png(self.path("in.png"), scene(301, 13)), "-pix_fmt", "yuvj420p", "-q:v", 2, jpeg)
        self.do("op", "resize", jpeg, "-o", "out.png", "--to", "301x13", "--method", "nearest")
        self.assert_near(pixels(jpeg), pixels(self.path("out.png")), 1)


class Geometry(CommandTest):
    def test_every_size_is_kept(self):
        outputs = ["out.png", "out.jpg", "out.webp", "out.bmp", "out.tif"]
        sizes = {(1, 1): outputs, (33, 17): outputs}
        sizes |= dict.fromkeys([(1, 7), (7, 1), (2, 2), (130, 47), (301, 201)], ["out.jpg"])
        for (width, height), names in sizes.items():
            source = write_png(self.path("in.png"), scene(width, height))
            for output in names:
                with self.subTest(size=(width, height), output=output):
                    self.assertIn(f"{output} {width}x{height}", self.enhance(source, output).stdout)
                    self.assertEqual((width, height), size(self.path(output)))

    def test_pictures_come_out_upright(self):
        # Quarters of different brightness; odd sizes put the padding on every side in turn.
        levels = np.uint8([[30, 90], [150, 220]])
        write_png(self.path("quarters.png"), levels.repeat((7, 6), axis=0).repeat((16, 15), axis=1))
        ffmpeg("-i", self.path("quarters.png"), "-pix_fmt", "yuvj420p", "-q:v", 1, self.path("stored.jpg"))
        flipped = np.fliplr(levels)
        upright = [levels, flipped, np.rot90(levels, 2), np.flipud(levels),
                   levels.T, np.rot90(levels, -1), np.rot90(levels, 2).T, np.rot90(levels)]
        for value, corners in enumerate(upright, 1):
            turned = self.path("turned.jpg")
            turned.write_bytes(with_exif_orientation(self.path("stored.jpg").read_bytes(), value))
            for output in ["out.png", "out.jpg", "out.webp"]:
                with self.subTest(orientation=value, output=output):
                    self.enhance(turned, output, "-s", 0)
                    shown = gray(self.path(output))
                    self.assertEqual((31, 13) if value > 4 else (13, 31), shown.shape)
                    self.assert_near(corners, shown[::shown.shape[0] - 1, ::shown.shape[1] - 1], 6)


class Content(CommandTest):
    def test_photos_become_brighter_up_to_their_edges_and_strength_counts(self):
        # Neither side is a multiple of the 16 pixels the library works in.
        ffmpeg("-i", write_png(self.path("in.png"), scene(173, 129)), "-q:v", 1, self.path("in.jpg"))
        shown = [gray(self.path("in.jpg")).astype(int)]
        for strength in (30, 60, 90):
            self.enhance("in.jpg", "out.jpg", "-s", strength)
            shown.append(gray(self.path("out.jpg")).astype(int))
        sums = [[part.sum() for part in (p, p[0], p[-1], p[:, 0], p[:, -1])] for p in shown]
        self.assertTrue((np.diff(sums, axis=0) > 0).all(), sums)
        self.assertTrue((np.divide(sums[3], sums[0])[1:] > 1.3).all(), sums)

    def test_transparency_is_kept_where_the_format_can(self):
        picture = with_alpha(scene(40, 30))
        source = write_png(self.path("in.png"), picture)
        for output in ["out.png", "out.tiff", "out.webp"]:
            with self.subTest(output=output):
                self.enhance(source, output)
                self.assert_near(picture[:, :, 3], pixels(self.path(output), "rgba")[:, :, 3])
        self.assertIn("out.jpg: transparency", self.enhance(source, "out.jpg", warnings=1).stderr)
        self.do("compare", source, "-o", "out.png", warnings=1)

    def test_color_profile_is_handed_on(self):
        profile = bytearray(128) + struct.pack(">I", 0) + b"handed on"
        profile[0:4], profile[16:20], profile[36:40] = struct.pack(">I", len(profile)), b"RGB ", b"acsp"
        extra = chunk(b"iCCP", b"mine\0\0" + zlib.compress(profile))
        source = write_png(self.path("in.png"), scene(32, 32), extra=extra)
        self.enhance(source, "out.jpg")
        self.assertIn(profile, self.path("out.jpg").read_bytes())
        self.enhance(source, "out.png")
        packed = self.path("out.png").read_bytes().split(b"iCCP", 1)[1].split(b"\0\0", 1)[1]
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
        write_png(self.path("in.png"), scene(32, 20))
        self.assertRegex(self.enhance("in.png", "out.png", "-s", "70").stdout,
                         r"^in.png 32x20 -> out.png 32x20, strength 70: "
                         r"decode [\d.]+ ms, run [\d.]+ ms, encode [\d.]+ ms\n$")
        self.assertEqual("", self.enhance("in.png", "out.png", "--quiet").stdout)

    def test_help_and_version(self):
        self.assertRegex(self.do("--version").stdout, r"^tlux \d+\.\d+\.\d+\.\d+\n$")
        self.assertIn("1.0.12523.18", self.do("info").stdout)

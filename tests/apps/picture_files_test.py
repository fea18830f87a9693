"""Files of pictures that need more than a plain decoder: other inks, light, pages, tiles, metadata."""

import json
import os
import struct

import numpy as np
from programs import UNREADABLE, USAGE, CommandTest, chunk, ffmpeg, gray, pixels, scene, tool, write_png

LOW = 14  # rows; the library copies frames this low, so that conversions alone are seen
GRAY, RGB, CMYK = 1, 2, 5  # TIFF photometric interpretations
MID_GRAY_LIGHT = 55  # of 255, shown as 128


def write_tiff(path, width, height, samples, data, photometric, bits=8, profile=b"", orientation=1):
    tags = {256: width, 257: height, 258: bits, 259: 1, 262: photometric, 273: 0, 274: orientation,
            277: samples, 278: height, 279: len(data)}
    count = len(tags) + (1 if profile else 0)
    start = 8 + 2 + 12 * count + 4
    tags[273] = start
    entries = [struct.pack("<HHII", tag, 4, 1, value) for tag, value in tags.items()]
    if profile:
        entries.append(struct.pack("<HHII", 34675, 7, len(profile), start + len(data)))
    path.write_bytes(b"II*\0" + struct.pack("<IH", 8, count) + b"".join(entries) + bytes(4) + data + profile)
    return path


def icc_profile(space, tags):
    """The least that a profile needs: tags is a map of four letters to data."""
    offset = 128 + 4 + 12 * len(tags)
    table = body = b""
    for name, data in tags.items():
        data += bytes(-len(data) % 4)
        table += name + struct.pack(">II", offset + len(body), len(data))
        body += data
    header = bytearray(128)
    header[0:4] = struct.pack(">I", offset + len(body))
    header[8:12] = bytes([2, 0x40, 0, 0])
    header[12:16], header[16:20], header[36:40] = b"prtr", space, b"acsp"
    header[20:24] = b"Lab " if space == b"CMYK" else b"XYZ "
    header[68:80] = struct.pack(">III", 0xF6D6, 0x10000, 0xD32D)  # D50
    return bytes(header) + struct.pack(">I", len(tags)) + table + body


def linear_gray_profile():
    white = b"XYZ \0\0\0\0" + struct.pack(">III", 0xF6D6, 0x10000, 0xD32D)
    return icc_profile(b"GRAY", {b"wtpt": white, b"kTRC": b"curv" + bytes(8)})


def dim_paper_profile():
    """Inks on paper of lightness 50: each node of the table is 50 without black, 0 with it."""
    straight = bytes(range(256))
    nodes = b"".join(bytes([0 if node & 1 else 128, 128, 128]) for node in range(16))
    matrix = struct.pack(">9I", *[65536 if i % 4 == 0 else 0 for i in range(9)])
    table = b"mft1" + bytes(4) + bytes([4, 3, 2, 0]) + matrix + straight * 4 + nodes + straight * 3
    white = b"XYZ \0\0\0\0" + struct.pack(">III", 0xF6D6, 0x10000, 0xD32D)
    return icc_profile(b"CMYK", {b"wtpt": white, b"A2B0": table})


class Tiff(CommandTest):
    def test_every_way_of_storing_shows_the_same_picture(self):
        source = write_png(self.path("in.png"), scene(160, LOW))
        plain = self.path("plain.tif")
        ffmpeg("-i", source, "-compression_algo", "raw", plain)
        self.enhance(source, "plain.png", "-s", 0)
        expected = gray(self.path("plain.png"))
        tiled = ["-t", "-w", 64, "-l", 16]
        ways = {"tiles": [*tiled, "-c", "zip"], "jpeg": ["-c", "jpeg:r:95"], "jpeg tiles": [*tiled, "-c", "jpeg:95"],
                "planes": ["-p", "separate", "-c", "lzw"], "tiles of planes": [*tiled, "-p", "separate"],
                "strips": ["-r", 3, "-c", "zip"], "big endian": ["-B"]}
        for name, options in ways.items():
            with self.subTest(name):
                tool("tiffcp", *options, plain, self.path("in.tif"))
                self.enhance("in.tif", "out.png", "-s", 0)
                self.assert_near(expected, gray(self.path("out.png")), 12 if "jpeg" in name else 2)

    def test_warns_of_what_is_not_taken(self):
        picture = write_png(self.path("in.png"), scene(40, 30))
        ffmpeg("-i", picture, self.path("page.tif"))
        tool("tiffcp", self.path("page.tif"), self.path("page.tif"), self.path("pages.tif"))
        self.assertIn("2 pages", self.enhance("pages.tif", "out.png", warnings=1).stderr)
        ffmpeg("-i", picture, "-pix_fmt", "rgb48le", self.path("deep.tif"))
        self.assertIn("16 bits", self.enhance("deep.tif", "out.png", warnings=1).stderr)

    def test_orientation_is_honoured(self):
        for orientation, expected in ((1, (10, 200)), (6, (10, 10)), (8, (200, 200)), (3, (200, 10))):
            rows = bytes([10] * 20 + [200] * 20) * LOW
            write_tiff(self.path("in.tif"), 40, LOW, 1, rows, GRAY, orientation=orientation)
            self.enhance("in.tif", "out.png", "-s", 0)
            with self.subTest(orientation):
                self.assert_near(expected, gray(self.path("out.png"))[0, [0, -1]], 2)


class Color(CommandTest):
    def middle(self, source, **options):
        self.enhance(source, "out.png", "-s", 0, **options)
        return pixels(self.path("out.png"))[LOW // 2, 10]

    def test_light_and_inks_become_what_displays_show(self):
        black = bytes([0, 0, 0, 127]) * 20 * LOW
        light = bytes([MID_GRAY_LIGHT]) * 20 * LOW
        files = {  # with the level it should be shown at, and the warnings
            "linear gray": (write_tiff(self.path("gray.tif"), 20, LOW, 1, light, GRAY, profile=linear_gray_profile()), 128, 0),
            "dim paper": (write_tiff(self.path("inks.tif"), 20, LOW, 4, black, CMYK, profile=dim_paper_profile()), 60, 0),
            "no profile": (write_tiff(self.path("plain.tif"), 20, LOW, 4, black, CMYK), 128, 1),
        }
        write_png(self.path("light.png"), np.full((LOW, 20, 3), MID_GRAY_LIGHT, np.uint8))
        ffmpeg("-i", self.path("light.png"), "-pix_fmt", "gbrpf32le", self.path("light.exr"))
        files["exr"] = (self.path("light.exr"), 128, 1)
        for name, (path, level, warnings) in files.items():
            with self.subTest(name):
                self.assert_near([level] * 3, self.middle(path, warnings=warnings), 2)

    def test_what_decodes_to_nothing_is_noticed(self):
        filler = chunk(b"fiLl", os.urandom(200_000))
        source = write_png(self.path("in.png"), np.zeros((400, 400, 3), np.uint8), extra=filler)
        self.assertIn("single colour", self.enhance(source, "out.png", warnings=1).stderr)


TAGS = {"DateTimeOriginal": "2024:05:06 07:08:09", "Copyright": "A. Person", "GPSLatitude": 48.5, "Title": "Harbour",
        "Keywords": "boat", "Comment": "mine", "XResolution": 300, "YResolution": 300}
WRITTEN = {"Title": "XMP-dc:Title", "Keywords": "IPTC:Keywords"}


class Metadata(CommandTest):
    def photo(self, name):
        """With everything a photo may tell, stored on its side, and from another day."""
        path = self.path(name)
        if not self.path("plain.png").exists():
            write_png(self.path("plain.png"), scene(64, 48))
        ffmpeg("-i", self.path("plain.png"), path)
        tags = [f"-{WRITTEN.get(tag, tag)}={value}" for tag, value in TAGS.items()]
        tool("exiftool", "-q", "-overwrite_original", *tags, "-GPSLatitudeRef=N", "-ResolutionUnit=inches",
            "-Orientation#=6", path)
        os.utime(path, (1_000_000_000, 1_000_000_000))
        return path

    def tags(self, path):
        return json.loads(tool("exiftool", "-j", "-n", path))[0]

    def test_goes_along_from_kind_to_kind(self):
        # Where a comment has no place of its own, it becomes one inside the EXIF data.
        losses = {"webp": {"Comment", "Keywords"}, "tif": {"Comment"}, "avif": {"Comment", "Keywords"},
                  "jxl": {"Comment", "Keywords"}}
        pairs = [("jpg", kind) for kind in ("jpg", "png", "webp", "tif", "avif", "jxl")]
        pairs += [(kind, "jpg") for kind in ("png", "webp", "tif")]
        for source, kind in pairs:
            with self.subTest(source=source, output=kind):
                photo, output = self.photo("in." + source), self.path("out." + kind)
                self.assertEqual(0, self.run_command("enhance", photo, "-o", output).returncode)
                before, after = self.tags(photo), self.tags(output)
                expected = {tag: before[tag] for tag in set(TAGS) - losses.get(kind, set()) if tag in before}
                self.assertGreater(len(expected), 4)
                self.assertEqual(expected, {tag: after.get(tag) for tag in expected})
                self.assertEqual(1, after.get("Orientation", 1))
                self.assertEqual((48, 64), (after["ImageWidth"], after["ImageHeight"]))
                self.assertEqual(1_000_000_000, output.stat().st_mtime)
                self.enhance(photo, "bare." + kind, "--strip")
                bare = self.tags(self.path("bare." + kind))
                self.assertEqual(set(), set(TAGS) & set(bare) - {"XResolution", "YResolution"})
                self.assertNotEqual(1_000_000_000, self.path("bare." + kind).stat().st_mtime)

    def test_names_the_parts_it_leaves_behind(self):
        photo = self.photo("in.jpg")
        content = photo.read_bytes()
        for part, sign in (("gain map", b'hdrgm:Version="1.0"'), ("motion part", b"MotionPhoto_Data")):
            photo.write_bytes(content + sign)
            self.assertIn(part, self.enhance(photo, "out.jpg", warnings=1).stderr)


class Input(CommandTest):
    def setUp(self):
        super().setUp()
        write_png(self.path("in.png"), scene(160, 120))
        ffmpeg("-i", self.path("in.png"), self.path("in.jpg"))

    def test_heic(self):
        tool("heif-enc", "-q", 90, self.path("in.png"), "-o", self.path("in.heic"))
        self.enhance("in.heic", "out.png", "-s", 0)
        self.enhance("in.png", "plain.png", "-s", 0)
        self.assert_near(gray(self.path("plain.png")), gray(self.path("out.png")), 24)

    def test_pictures_come_by_standard_input(self):
        self.enhance("in.jpg", "named.png", "--strip")
        expected = self.path("named.png").read_bytes()
        for arguments in (["-", "-o", "out.png"], ["/dev/stdin", "-o", "out.png"], ["-", "-o", "-", "--as", "png"]):
            with self.subTest(arguments):
                result = self.run_command("enhance", "--strip", "-q", *arguments, text=False,
                                          input=self.path("in.jpg").read_bytes())
                self.assertEqual(expected, result.stdout or self.path("out.png").read_bytes())
        for source in ("-", "in.jpg"):
            with self.path("in.jpg").open("rb") as stream:
                self.assert_fails(self.run_command("enhance", source, "-o", "-", stdin=stream), USAGE, "--as")

    def test_damaged_photos_are_taken_unless_strict(self):
        content = self.path("in.jpg").read_bytes()
        cut = self.path("cut.jpg")
        cut.write_bytes(content[:-len(content) // 5])
        self.assertIn("is damaged", self.enhance(cut, "out.png", "-s", 0, warnings=1).stderr)
        self.enhance("in.jpg", "whole.png", "-s", 0)
        upper = [gray(self.path(name))[:50] for name in ("whole.png", "out.png")]
        self.assert_near(*upper, 8)  # tones depend on the whole picture
        self.assert_fails(self.run_command("enhance", cut, "-o", "out.png", "--strict"), UNREADABLE, "is damaged")

    def test_what_is_none_is_called_so(self):
        self.path("text").write_text("no picture\n" * 100)
        header = chunk(b"IHDR", struct.pack(">IIBBBBB", 20000, 20000, 8, 0, 0, 0, 0))
        self.path("huge.png").write_bytes(b"\x89PNG\r\n\x1a\n" + header + chunk(b"IDAT", b"") + chunk(b"IEND", b""))
        self.assert_each_fails((UNREADABLE, ["enhance", name, "-o", "out.png"], mention) for name, mention in (
            ("text", "is not a picture or video"), ("huge.png", "268 megapixels")))


class Output(CommandTest):
    def test_every_kind_shows_the_same_picture(self):
        source = write_png(self.path("in.png"), scene(161, LOW))
        self.enhance(source, "once.png", "-s", 0)
        self.enhance("once.png", "twice.png", "-s", 0)
        before = gray(self.path("twice.png"))
        for kind in ("jpg", "avif", "heic", "jxl", "webp", "tif"):
            for chroma in ("420", "444"):
                with self.subTest(kind=kind, chroma=chroma):
                    self.enhance(source, "out." + kind, "--quality", 95, "--chroma", chroma, "-s", 0)
                    self.enhance("out." + kind, "again.png", "-s", 0)
                    self.assert_near(before, gray(self.path("again.png")), 10)

    def test_jpeg_is_progressive_with_the_chroma_asked_for(self):
        source = write_png(self.path("in.png"), scene(64, 48))
        for chroma, sampling in (("420", b"\x22"), ("444", b"\x11")):
            self.enhance(source, "out.jpg", "--chroma", chroma)
            content = self.path("out.jpg").read_bytes()
            frame = content.index(b"\xff\xc2")  # start of a progressive frame
            self.assertEqual(sampling, content[frame + 11:frame + 12])
            self.assertNotIn(b"Lavc", content)

"""The page that explains a run shows what the library did, and stands by itself."""

import base64
import ctypes
from html.parser import HTMLParser

import numpy as np
import tlux
from programs import (FAILED, UNREADABLE, USAGE, CommandTest, difference, ffmpeg, pixels, planes, scene, size,
                      with_exif_orientation, write_png)
from raw_frames_test import raw_frame

PICTURES = ["before.jpg", "after.jpg", "reference.png", "score.png", "gain.png", "mapped.png"]
VOID = {"meta", "img", "path", "rect", "stop"}  # elements without an end, or closed at once


class Page(HTMLParser):
    """Tables, pictures and headings of a page; fails where its elements are not well nested."""

    def __init__(self, path):
        super().__init__()
        self.open, self.images, self.links, self.ids = [], [], [], []
        self.headings, self.rows, self.text = [], [], ""
        self.feed(path.read_text(encoding="utf-8"))
        self.close()
        assert not self.open, self.open

    def handle_starttag(self, tag, attrs):
        attributes = dict(attrs)
        self.links += [attributes[name] for name in ("src", "href") if name in attributes]
        if "id" in attributes:
            self.ids.append(attributes["id"])
        if tag == "img":
            self.images.append(attributes)
        if tag == "tr":
            self.rows.append([])
        if tag in ("td", "th"):
            self.rows[-1].append("")
        if tag not in VOID:
            self.open.append(tag)

    def handle_startendtag(self, tag, attrs):
        pass

    def handle_endtag(self, tag):
        assert self.open.pop() == tag, tag

    def handle_data(self, data):
        self.text += data
        if self.open and self.open[-1] in ("h1", "h3"):
            self.headings.append(data)
        if self.rows and ("td" in self.open or "th" in self.open):
            self.rows[-1][-1] += data


def mapped(report):
    """Codes lifted in linear light; where the gain is below 1, the inverted ones by its reciprocal."""
    to_light = np.array((ctypes.c_uint16 * 256).in_dll(tlux._library.lib, "TLUX_Degamma_Table"), int)
    to_code = np.array((ctypes.c_uint8 * 4096).in_dll(tlux._library.lib, "TLUX_Gamma_Table8"))
    gains = report.gains.astype(int)
    inversion = np.where(gains < 1024, 255, 0)
    factor = np.where(gains < 1024, 1024 * 1024 // np.maximum(gains, 1), gains)
    return to_code[np.minimum(factor * to_light[report.reference ^ inversion] // 1024, 4095)] ^ inversion


class Explain(CommandTest):
    def explain(self, source, *options):
        self.do("explain", source, "-d", "why", *options)
        self.assertEqual(sorted([*PICTURES, "explain.html"]), self.files("why"))
        return Page(self.path("why/explain.html"))

    def check_pictures(self, page):
        """The pictures in the page are those in the files, in their sizes."""
        self.assertEqual(len(PICTURES), len(page.images))
        for name, image in zip(PICTURES, page.images):
            kind, content = image["src"].split(";base64,")
            self.assertEqual("data:image/" + ("jpeg" if name.endswith("jpg") else "png"), kind)
            file = self.path("why") / name
            self.assertEqual(file.read_bytes(), base64.b64decode(content, validate=True))
            self.assertEqual((int(image["width"]), int(image["height"])), size(file))

    def test_page_stands_by_itself(self):
        write_png(self.path("in.png"), scene(240, 160))
        page = self.explain("in.png", "-s", 70)
        self.check_pictures(page)
        self.assertTrue(all(link.startswith("data:image/") for link in page.links))
        self.assertNotIn("script", self.path("why/explain.html").read_text().lower())
        self.assertEqual(len(page.ids), len(set(page.ids)))
        self.assertIn("What tlux saw in in.png", page.headings)
        self.assertIn("240×160 pixels, strength 70, reference frame of 30×20", page.text)
        for name in ("Before", "After", "Luma histogram", "Reference frame", "Score", "Gain curve",
                     "Gain map", "Mapped reference", "Effective tone curve"):
            self.assertEqual(1, page.headings.count(name), name)

    def test_maps_are_those_of_the_library(self):
        for layout, width, height, strength in [("nv21", 320, 240, 50), ("nv12", 64, 48, 100),
                                                ("nv12", 16, 16, 30), ("nv21", 640, 32, 0)]:
            with self.subTest(layout=layout, size=(width, height), strength=strength):
                frame = raw_frame(width, height, width)
                self.path("in.raw").write_bytes(frame)
                self.explain("in.raw", "-s", strength, "--exact", "--size", f"{width}x{height}", "--format", layout)
                with tlux.Stream(exact=True) as stream:
                    stream.run(*planes(frame, width, height), strength=strength, layout=layout)
                    report = stream.explain()
                    for name, expected in (("reference", report.reference), ("mapped", mapped(report))):
                        self.assert_near(np.dstack([expected] * 3), pixels(self.path(f"why/{name}.png")))

    def test_before_and_after_are_those_of_enhance(self):
        # Neither side is a multiple of 16, and the picture lies on its side in the file.
        ffmpeg("-i", write_png(self.path("in.png"), scene(203, 149)), "-q:v", 1, self.path("in.jpg"))
        self.path("turned.jpg").write_bytes(with_exif_orientation(self.path("in.jpg").read_bytes(), 6))
        self.check_pictures(self.explain("turned.jpg", "-s", 90))
        for name, strength in (("before", 0), ("after", 90)):
            self.enhance("turned.jpg", "expected.png", "-s", strength)
            shown = pixels(self.path(f"why/{name}.jpg"))
            self.assertLess(difference(pixels(self.path("expected.png")), shown).mean(), 3)

    def test_heat_maps_tell_dark_from_bright(self):
        write_png(self.path("in.png"), np.uint8([20, 230]).repeat(128)[None, :, None].repeat(128, 0).repeat(3, 2))
        for strength in (0, 80):
            self.explain("in.png", "-s", strength)
            for name in ("score.png", "gain.png"):
                with self.subTest(strength=strength, name=name):
                    shown = pixels(self.path("why") / name).astype(int)
                    if (strength, name) == (0, "gain.png"):
                        self.assertEqual(1, len(np.unique(shown.reshape(-1, 3), axis=0)))
                        continue
                    left, right = shown[0, 0], shown[-1, -1]
                    self.assertGreater(left[0], left[2] + 40)
                    self.assertGreater(right[2], right[0] + 40)

    def test_table_tells_time_and_memory(self):
        write_png(self.path("in.png"), scene(320, 240))
        rows = self.explain("in.png").rows
        self.assertEqual(4, len(rows))
        first, later, memory = (float(row[1].split()[0]) for row in rows[1:])
        self.assertGreater(first, 0)
        self.assertGreater(later, 0)
        # 65536 gains of two bytes and some planes of 40·30 pixels.
        self.assertTrue(128 < memory < 4096, memory)

    def test_names_are_shown_as_they_are(self):
        write_png(self.path('a<b>&"c".png'), scene(33, 17))
        page = self.explain('a<b>&"c".png')
        self.assertIn('What tlux saw in a<b>&"c".png', "".join(page.headings))

    def test_large_pictures_stay_small_in_the_page(self):
        ffmpeg("-f", "lavfi", "-i", "mandelbrot=size=2600x1300", "-frames:v", 1, self.path("in.png"))
        page = self.explain("in.png")
        self.check_pictures(page)
        self.assertEqual((1200, 600), size(self.path("why/after.jpg")))
        self.assertLess(self.path("why/explain.html").stat().st_size, 4 << 20)

    def test_failures_are_told(self):
        write_png(self.path("in.png"), scene(40, 30))
        self.path("text.png").write_text("no picture")
        self.path("file").touch()
        ffmpeg("-i", self.path("in.png"), self.path("before.jpg"))
        self.assert_each_fails((code, ["explain", *words.split()], mention) for words, code, mention in [
            ("in.png", USAGE, "--folder"), ("in.png -d why -s 101", USAGE, "--strength"),
            ("in.png -d why --quality 9", USAGE, "--quality"), ("before.jpg -d .", USAGE, "before.jpg"),
            ("in.png -d why --size 20x20", USAGE, "--format"), ("none.png -d why", UNREADABLE, "none.png"),
            ("text.png -d why", UNREADABLE, "text.png"), ("in.png -d file", FAILED, "file"),
            ("in.png -d file/why", FAILED, "file/why")])

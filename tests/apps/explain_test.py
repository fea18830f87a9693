"""The page that explains a run shows what the library did, and stands by itself."""

import base64
import os
import subprocess
import unittest
from html.parser import HTMLParser

from raw_frames_test import raw_frame
from support import CommandTest, ffmpeg, pixels, scene, size, with_exif_orientation, write_png

MAPPED_REFERENCE = os.environ["TLUX_MAPPED_REFERENCE"]
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


class Explain(CommandTest):
    def explain(self, source, *options):
        self.assert_done(self.run_command("explain", source, "-d", "why", *options))
        self.assertEqual(sorted([*PICTURES, "explain.html"]),
                         sorted(path.name for path in self.path("why").iterdir()))
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

    def test_mapped_reference_is_that_of_the_formulas(self):
        for name, width, height, strength in [("nv21", 320, 240, 50), ("nv12", 64, 48, 100),
                                              ("nv12", 16, 16, 30), ("nv21", 640, 32, 0)]:
            with self.subTest(name=name, size=(width, height), strength=strength):
                source = self.path("in.raw")
                source.write_bytes(raw_frame(width, height, width))
                self.explain(source, "-s", strength, "--exact", "--size", f"{width}x{height}",
                             "--format", name)
                subprocess.run([MAPPED_REFERENCE, str(width), str(height), str(strength), source,
                                self.path("expected")], check=True, timeout=60)
                self.assertEqual((width // 16 * 2, height // 16 * 2),
                                 size(self.path("why/mapped.png")))
                shown = pixels(self.path("why/mapped.png"))
                self.assertEqual(self.path("expected").read_bytes(), shown[::3])
                self.assertEqual(shown[::3], shown[1::3])

    def test_before_and_after_are_those_of_enhance(self):
        # Neither side is a multiple of 16, and the picture is stored rotated.
        write_png(self.path("in.png"), scene(203, 149))
        ffmpeg("-i", self.path("in.png"), "-q:v", 1, self.path("in.jpg"))
        turned = self.path("turned.jpg")
        turned.write_bytes(with_exif_orientation(self.path("in.jpg").read_bytes(), 6))
        page = self.explain(turned, "-s", 90)
        self.check_pictures(page)
        self.enhance(turned, "after.png", "-s", 90)
        self.assertEqual((149, 203), size(self.path("why/after.jpg")))
        expected, shown = pixels(self.path("after.png")), pixels(self.path("why/after.jpg"))
        difference = sum(abs(a - b) for a, b in zip(expected, shown)) / len(expected)
        self.assertLess(difference, 3)

    def test_heat_maps_tell_dark_from_bright(self):
        width, height = 256, 128
        rows = [bytes([20] * 3 * (width // 2) + [230] * 3 * (width // 2))] * height
        write_png(self.path("in.png"), rows)
        for strength in (0, 80):
            self.explain("in.png", "-s", strength)
            for name in ("score.png", "gain.png"):
                data = pixels(self.path("why") / name)
                left, right = data[:3], data[-3:]
                with self.subTest(strength=strength, name=name):
                    if strength == 0 and name == "gain.png":
                        self.assertEqual(1, len({data[i:i + 3] for i in range(0, len(data), 3)}))
                        continue
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
        cases = [(["in.png"], 1, "--folder"), (["in.png", "-d", "why", "-s", "101"], 1, "--strength"),
                 (["in.png", "-d", "why", "--quality", "9"], 1, "--quality"),
                 (["before.jpg", "-d", "."], 1, "before.jpg"),
                 (["in.png", "-d", "why", "--size", "20x20"], 1, "--format"),
                 (["none.png", "-d", "why"], 2, "none.png"),
                 (["text.png", "-d", "why"], 2, "text.png"),
                 (["in.png", "-d", "file"], 3, "file"),
                 (["in.png", "-d", "file/why"], 3, "file/why")]
        for arguments, code, mention in cases:
            with self.subTest(arguments=arguments):
                self.assert_fails(self.run_command("explain", *arguments), code, mention)
        self.assert_only_files("in.png", "text.png", "file", "before.jpg")


if __name__ == "__main__":
    unittest.main()

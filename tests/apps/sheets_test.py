"""Contact sheets and comparisons show what enhance makes, in its place."""

import numpy as np
from programs import FAILED, UNREADABLE, USAGE, CommandTest, gray, pixels, scene, write_png

BACKGROUND = 36


def runs(flags):
    """(start, length) of each run of true flags."""
    edges = np.flatnonzero(np.diff(np.concatenate([[0], flags, [0]])))
    return [(start, end - start) for start, end in zip(edges[::2], edges[1::2])]


class Sweep(CommandTest):
    def sheet(self, *options, output="sheet.png"):
        said = self.do("sweep", "in.png", "-o", output, *options).stdout
        return said, pixels(self.path(output))

    def tiles_of(self, sheet, width, height):
        """Left top corners of what is as high as a tile, found by looking."""
        filled = (sheet != BACKGROUND).any(axis=2)
        return [(left, top) for top, rows in runs(filled.any(axis=1)) if rows >= height
                for left, columns in runs(filled[top + height // 2]) if columns == width]

    def test_tiles_are_what_enhance_makes(self):
        for width, height, columns in [(173, 129, 2), (96, 131, 3), (320, 48, 1)]:
            with self.subTest(size=(width, height)):
                write_png(self.path("in.png"), scene(width, height))
                said, sheet = self.sheet("--strengths", "0,35,100", "--columns", columns)
                self.assertIn("strengths 0, 35, 100", said)
                corners = self.tiles_of(sheet, width, height)
                self.assertEqual(columns, len({left for left, _ in corners}))
                for strength, (left, top) in zip((0, 35, 100), corners, strict=True):
                    self.enhance("in.png", "one.png", "-s", strength)
                    self.assert_near(pixels(self.path("one.png")), sheet[top:top + height, left:left + width])

    def test_each_tile_has_its_own_label_below(self):
        width, height = 200, 100
        write_png(self.path("in.png"), np.zeros((height, width, 3), np.uint8))
        _, sheet = self.sheet("--strengths", "0,100", "--columns", 2)
        (left, top), (right, _) = self.tiles_of(sheet, width, height)
        labels = [sheet[top + height:, x:x + width] for x in (left, right)]
        (one,), (other,) = (runs((label != BACKGROUND).any(axis=(1, 2))) for label in labels)
        self.assertEqual(one[0], other[0])
        for label, (_, length) in zip(labels, (one, other)):
            self.assertGreater(label.max(), 200)
            self.assertGreaterEqual(length, 10)
        self.assertFalse(np.array_equal(*labels))

    def test_large_pictures_are_scaled_to_the_tile(self):
        write_png(self.path("in.png"), scene(300, 201))
        _, sheet = self.sheet("--strengths", "50", "--tile-width", 100)
        (left, top), = self.tiles_of(sheet, 100, 67)
        self.enhance("in.png", "one.png", "-s", 50)
        one = pixels(self.path("one.png"))
        for x, y in [(20, 20), (50, 40), (90, 60)]:
            self.assertLess(abs(sheet[top + y, left + x].mean() - one[3 * y:3 * y + 3, 3 * x:3 * x + 3].mean()), 12)

    def test_any_picture_size_makes_a_sheet(self):
        for width, height in [(1, 1), (17, 3), (15, 15)]:
            write_png(self.path("in.png"), scene(width, height))
            for output in ("sheet.jpg", "sheet.png", "sheet.webp"):
                with self.subTest(size=(width, height), output=output):
                    self.sheet(output=output)

    def test_nonsense_is_refused(self):
        write_png(self.path("in.png"), scene(20, 20))
        self.assert_each_fails((code, ["sweep", *words.split()], mention) for words, code, mention in [
            *((f"in.png -o out.png {option}", USAGE, option.split()[0]) for option in (
                "--strengths 0,101", "--strengths a", "--tile-width 0", "--columns 0", "-s 50")),
            ("in.png -o in.png", USAGE, "in.png"), ("in.png -o out.nv21", USAGE, "out.nv21"),
            ("none.png -o out.png", UNREADABLE, "none.png"), ("in.png -o no/out.png", FAILED, "no/out.png")])


class Compare(CommandTest):
    def compare(self, output, *options):
        self.do("compare", "in.png", "-o", output, *options)
        return pixels(self.path(output))

    def test_shows_both_beside_a_seam_or_a_half_of_each(self):
        for width, height in [(160, 48), (173, 49)]:
            with self.subTest(size=(width, height)):
                write_png(self.path("in.png"), scene(width, height))
                self.enhance("in.png", "after.bmp", "-s", 90)
                before, after = pixels(self.path("in.png")), pixels(self.path("after.bmp"))
                both, halves = self.compare("both.bmp", "-s", 90), self.compare("halves.bmp", "--split", "-s", 90)
                self.assertGreater(both[:, both.shape[1] // 2].min(), 250)
                shown = gray(self.path("both.bmp"))
                self.assert_near(gray(self.path("in.png")), shown[:, :width], 2)
                self.assert_near(gray(self.path("after.bmp"))[:, 8:], shown[:, 8 - width:], 2)
                self.assertEqual(before.shape, halves.shape)
                middle = width // 2
                self.assertGreater(halves[:8, middle].min(), 240)
                # Chroma of the seam reaches a few pixels into both halves.
                self.assert_near(both[:, :middle - 8], halves[:, :middle - 8])
                self.assert_near(after[:, middle + 8:], halves[:, middle + 8:])

    def test_labels_stand_in_the_top_corners(self):
        write_png(self.path("in.png"), np.zeros((100, 320, 3), np.uint8))
        for options in ([], ["--split"]):
            with self.subTest(options=options):
                plain, labelled = self.compare("plain.png", *options), self.compare("out.png", "--labels", *options)
                differs = (plain != labelled).any(axis=2)
                self.assertTrue(differs[20, :100].any() and differs[20, -100:].any())
                self.assertFalse(differs[45:].any())

    def test_small_pictures_go_without_labels(self):
        write_png(self.path("in.png"), scene(40, 20))
        self.do("compare", "in.png", "-o", "out.png", "--labels", warnings=1)

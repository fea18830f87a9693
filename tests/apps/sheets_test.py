"""Contact sheets and comparisons show what enhance makes, in its place."""

import unittest

from support import CommandTest, pixels, scene, size, write_png

BACKGROUND = 36


class Picture:
    """RGB pixels by rows and columns."""

    def __init__(self, path):
        self.width, self.height = size(path)
        self.data = pixels(path)

    def row(self, y, left=0, width=None):
        start = 3 * (y * self.width + left)
        return self.data[start:start + 3 * (self.width - left if width is None else width)]

    def part(self, left, top, width, height):
        return b"".join(self.row(y, left, width) for y in range(top, top + height))

    def is_background(self, y):
        return set(self.row(y)) == {BACKGROUND}


def runs(flags):
    """(start, length) of each run of true flags."""
    found = []
    for index, flag in enumerate([*flags, False]):
        if flag and (index == 0 or not flags[index - 1]):
            start = index
        elif not flag and index and flags[index - 1]:
            found.append((start, index - start))
    return found


class Sweep(CommandTest):
    def sheet(self, *options, source="in.png", output="sheet.png"):
        result = self.run_command("sweep", source, "-o", output, *options)
        self.assert_done(result)
        return result, Picture(self.path(output))

    def tiles_of(self, sheet, width, height):
        """Left top corners of what is as high as a tile, found by looking."""
        rows = [run for run in runs([not sheet.is_background(y) for y in range(sheet.height)])
                if run[1] >= height]
        corners = []
        for top, _ in rows:
            middle = sheet.row(top + height // 2)
            filled = [middle[3 * x:3 * x + 3] != bytes([BACKGROUND] * 3) for x in range(sheet.width)]
            corners += [(left, top) for left, length in runs(filled) if length == width]
        return corners

    def test_tiles_are_what_enhance_makes(self):
        for width, height, columns in [(173, 129, 2), (96, 131, 3), (320, 48, 1)]:
            with self.subTest(size=(width, height)):
                write_png(self.path("in.png"), scene(width, height))
                strengths = [0, 35, 100]
                result, sheet = self.sheet("--strengths", "0,35,100", "--columns", columns)
                self.assertIn("strengths 0, 35, 100", result.stdout)
                corners = self.tiles_of(sheet, width, height)
                self.assertEqual(len(strengths), len(corners))
                self.assertEqual(columns, len({left for left, _ in corners}))
                for strength, (left, top) in zip(strengths, corners):
                    self.enhance("in.png", "one.png", "-s", strength)
                    self.assertEqual(pixels(self.path("one.png")),
                                     sheet.part(left, top, width, height))

    def test_each_tile_has_its_own_label_below(self):
        width, height = 200, 100
        write_png(self.path("in.png"), [bytes(3 * width)] * height)
        _, sheet = self.sheet("--strengths", "0,100", "--columns", 2)
        corners = self.tiles_of(sheet, width, height)
        texts = []
        for left, top in corners:
            below = sheet.part(left, top + height, width, sheet.height - top - height)
            self.assertGreater(max(below), 200)
            rows = [set(below[3 * width * y:3 * width * (y + 1)]) != {BACKGROUND}
                    for y in range(len(below) // (3 * width))]
            (start, length), = runs(rows)
            self.assertGreaterEqual(length, 10)
            texts.append(start)
            texts.append(below)
        self.assertEqual(texts[0], texts[2])
        self.assertNotEqual(texts[1], texts[3])

    def test_large_pictures_are_scaled_to_the_tile(self):
        write_png(self.path("in.png"), scene(300, 201))
        _, sheet = self.sheet("--strengths", "50", "--tile-width", 100)
        (left, top), = self.tiles_of(sheet, 100, 67)
        self.enhance("in.png", "one.png", "-s", 50)
        one = Picture(self.path("one.png"))
        for x, y in [(20, 20), (50, 40), (90, 60)]:
            block = one.part(3 * x, 3 * y, 3, 3)
            mean = sum(block) / len(block)
            shown = sheet.part(left + x, top + y, 1, 1)
            self.assertLess(abs(sum(shown) / 3 - mean), 12)

    def test_any_picture_size_makes_a_sheet(self):
        for width, height in [(1, 1), (17, 3), (15, 15)]:
            write_png(self.path("in.png"), scene(width, height))
            for output in ("sheet.jpg", "sheet.png", "sheet.webp"):
                with self.subTest(size=(width, height), output=output):
                    self.sheet(output=output)

    def test_nonsense_is_refused(self):
        write_png(self.path("in.png"), scene(20, 20))
        cases = [(["--strengths", "0,101"], "--strengths"),
                 (["--strengths", "a"], "--strengths"), (["--tile-width", "0"], "--tile-width"),
                 (["--columns", "0"], "--columns"), (["-s", "50"], "-s"), (["-o", "in.png"], "in.png"),
                 (["-o", "out.nv21"], "out.nv21")]
        for options, mention in cases:
            with self.subTest(options=options):
                output = [] if "-o" in options else ["-o", "out.png"]
                self.assert_fails(self.run_command("sweep", "in.png", *output, *options), 1, mention)
        self.assert_fails(self.run_command("sweep", "none.png", "-o", "out.png"), 2, "none.png")
        self.assert_fails(self.run_command("sweep", "in.png", "-o", "no/out.png"), 3, "no/out.png")
        self.assert_only_files("in.png")


class Compare(CommandTest):
    def test_split_shows_a_half_of_each(self):
        for width, height in [(160, 48), (173, 49)]:
            with self.subTest(size=(width, height)):
                write_png(self.path("in.png"), scene(width, height))
                self.assert_done(self.run_command("compare", "in.png", "-o", "halves.bmp", "--split",
                                                  "-s", 90))
                self.enhance("in.png", "after.bmp", "-s", 90)
                self.assert_done(self.run_command("compare", "in.png", "-o", "both.bmp", "-s", 90))
                halves, after, both = (Picture(self.path(name + ".bmp"))
                                       for name in ("halves", "after", "both"))
                self.assertEqual((width, height), (halves.width, halves.height))
                middle = width // 2
                self.assertGreater(min(halves.part(middle, 0, 1, 8)), 240)
                # Chroma of the seam reaches a few pixels into both halves.
                self.assertEqual(both.part(0, 0, middle - 8, height),
                                 halves.part(0, 0, middle - 8, height))
                self.assertEqual(after.part(middle + 8, 0, width - middle - 8, height),
                                 halves.part(middle + 8, 0, width - middle - 8, height))

    def test_labels_stand_in_the_top_corners(self):
        write_png(self.path("in.png"), [bytes([0, 0, 0] * 320)] * 100)
        for options in ([], ["--split"]):
            with self.subTest(options=options):
                for name, labels in (("plain.png", []), ("labelled.png", ["--labels"])):
                    self.assert_done(self.run_command("compare", "in.png", "-o", name, *options,
                                                      *labels))
                plain, labelled = Picture(self.path("plain.png")), Picture(self.path("labelled.png"))
                self.assertNotEqual(plain.row(20, 0, 100), labelled.row(20, 0, 100))
                right = plain.width - 100
                self.assertNotEqual(plain.row(20, right), labelled.row(20, right))
                self.assertEqual(plain.part(0, 45, plain.width, 55),
                                 labelled.part(0, 45, plain.width, 55))

    def test_small_pictures_go_without_labels(self):
        write_png(self.path("in.png"), scene(40, 20))
        self.assert_done(self.run_command("compare", "in.png", "-o", "out.png", "--labels"), warnings=1)


if __name__ == "__main__":
    unittest.main()

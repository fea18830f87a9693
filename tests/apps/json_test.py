"""What --json prints: one line for each result, of the shape that the documentation gives."""

import json
import re

import numpy as np
from programs import SOURCE_DIR, CommandTest, scene, write_png

PAGE = (SOURCE_DIR / "docs/command.md").read_text()
TIMES = {"decode", "run", "encode"}


def documented(schema):
    """The members that the table of the page names for a shape."""
    row = re.search(rf"(?m)^\| `{re.escape(schema)}` \|.*$", PAGE)
    return set(re.findall(r"`(\w+)`", row[0].split("|", 2)[2]))


class Json(CommandTest):
    def reports(self, *arguments, code=0):
        result = self.run_command(*arguments, "--json")
        self.assertEqual(code, result.returncode, result)
        return [json.loads(line) for line in result.stdout.splitlines()]

    def test_every_shape_is_the_documented_one(self):
        write_png(self.path('od"d\n.png'), scene(64, 48))
        for arguments in (["enhance", 'od"d\n.png', "-o", "out.png"],
                          ["enhance", 'od"d\n.png', "-o", "out.mkv", "--codec", "ffv1"],
                          ["explain", 'od"d\n.png', "-d", "why"], ["info"],
                          ["op", "label", 'od"d\n.png', "-o", "parts.png"],
                          ["op", "blur", 'od"d\n.png', "-o", "soft.png"],
                          ["bench", "--size", "64x48", "--seconds", "0"]):
            with self.subTest(arguments=arguments):
                [report] = self.reports(*arguments)
                command = arguments[0]
                self.assertEqual(f"tlux.{command}.1", report["schema"])
                self.assertLessEqual(set(report), documented(report["schema"]))
                if "input" in report:
                    self.assertEqual('od"d\n.png', report["input"])
                    self.assertEqual((64, 48), (report["width"], report["height"]))
                if "milliseconds" in report:
                    self.assertLessEqual(TIMES, set(report["milliseconds"]))

    def test_numbers_are_those_of_the_work(self):
        write_png(self.path("in.png"), np.tile(np.uint8([0, 255]).repeat(8), (32, 3)))
        [report] = self.reports("op", "label", "in.png", "-o", "out.png")
        self.assertEqual(3, report["components"])

    def test_every_input_has_its_line(self):
        for name in ("a.png", "b.png"):
            write_png(self.path(name), scene(20, 20))
        self.path("done").mkdir()
        self.path("done/b.png").touch()
        reports = self.reports("enhance", "a.png", "missing.png", "b.png", "-d", "done",
                               "--skip-existing", code=2)
        by_input = {report["input"]: report for report in reports}
        self.assertEqual({"a.png", "missing.png", "b.png"}, set(by_input))
        self.assertEqual(1, by_input["a.png"]["frames"])
        self.assertTrue(by_input["b.png"]["skipped"])
        self.assertEqual(2, by_input["missing.png"]["exitStatus"])
        self.assertIn("no such file", by_input["missing.png"]["error"])
        for report in reports:
            self.assertLessEqual(set(report), documented("tlux.enhance.1"))

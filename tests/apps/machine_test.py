"""What the command reports about the machine it runs on."""

import json
import re

from programs import USAGE, CommandTest


class Machine(CommandTest):
    def test_info(self):
        result = self.do("info")
        self.assertRegex(result.stdout, r"(?m)^Processor +(AVX-512|AVX2|SSE2|NEON), \d+ threads")
        sizes = re.findall(r"(?m)^Pool +(\d+) bytes for frames of (\d+)x(\d+)$", result.stdout)
        self.assertIn(("1920", "1080"), [(width, height) for _, width, height in sizes])
        # A reference frame of an eighth of the size, some planes of it, and the gain table.
        for pool, width, height in (map(int, row) for row in sizes):
            self.assertGreater(pool, 131072 + width * height // 64)
            self.assertLess(pool, 2**20 + width * height)

    def test_bench_table(self):
        header, row = self.do("bench", "--size", "64x48", "--seconds", "0").stdout.splitlines()
        self.assertEqual(["frame", "run", "frames/s", "copy", "ratio"], header.split())
        self.assertRegex(row, r"^ +64x48 +[\d.]+ ms +[\d.]+ +[\d.]+ ms +[\d.]+$")

    def test_bench_json(self):
        report = json.loads(self.do("bench", "--json", "--size", "320x240", "--seconds", "0", "-s", "70").stdout)
        self.assertEqual(70, report["strength"])
        [measured] = report["results"]
        self.assertEqual((320, 240), (measured["width"], measured["height"]))
        self.assertGreaterEqual(measured["runs"], 5)
        self.assertAlmostEqual(1000, measured["milliseconds"] * measured["framesPerSecond"], delta=2)
        self.assertGreater(measured["copyMilliseconds"], 0)

    def test_bench_nonsense(self):
        self.assert_each_fails((USAGE, ["bench", f"{option}={value}"], option) for option, value in (
            ("--size", "63x48"), ("--size", "0x0"), ("--size", "wide"), ("--strength", "101"), ("--seconds", "-1"),
            ("--seconds", "long")))

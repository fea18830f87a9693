"""The commands of docs/command.md, each block in a folder that holds what it names."""

import re
import shutil

from programs import SOURCE_DIR, CommandTest, scene, write_png

BLOCKS = re.findall(r"^```sh\n(.*?)^```$", (SOURCE_DIR / "docs/command.md").read_text(), re.MULTILINE | re.DOTALL)


class CommandPage(CommandTest):
    def setUp(self):
        super().setUp()
        self.path("holiday").mkdir()
        write_png(self.path("photo.png"), scene(160, 96))
        clip = ["-f", "lavfi", "-i", "testsrc=size=160x96:rate=10:duration=0.5", "-pix_fmt", "yuv420p"]
        raw = ["-f", "lavfi", "-i", "testsrc=size=320x240:rate=2:duration=1", "-pix_fmt", "nv21", "-f", "rawvideo"]
        for arguments in (["-i", "photo.png", "photo.jpg"], [*clip, "clip.mp4"], [*raw, "frames.nv21"]):
            self.run_tool("ffmpeg", *arguments)
        shutil.copy(self.path("photo.jpg"), self.path("holiday/beach.jpg"))
        shutil.copy(self.path("clip.mp4"), self.path("holiday/waves.mp4"))

    def test_every_block_runs_and_makes_what_it_names(self):
        self.assertGreater(len(BLOCKS), 4)
        for block in BLOCKS:
            with self.subTest(block):
                result = self.run_blocks(block)
                self.assertEqual(0, result.returncode, result.stderr)
                for output in re.findall(r" -[od] ([\w.]+)|(better\.mkv)", block):
                    self.assertTrue(self.path(max(output)).exists(), output)
        self.assertEqual(["beach.jpg", "waves.mp4"], self.files("enhanced"))

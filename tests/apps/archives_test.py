"""The commands of docs/archives.md for one machine: everything is enhanced, and what failed alone is done again."""

import re

from programs import SOURCE_DIR, CommandTest, scene, write_png

PAGE = SOURCE_DIR / "docs/archives.md"
PICTURES = ["archive/2024/it's late.png", "archive/2024/two  spaces.png", "archive/last.png"]
BROKEN = "archive/2024/broken.png"


class Archives(CommandTest):
    TOOLS = ("parallel",)

    def test_goes_on_where_it_stopped(self):
        make_list, enhance, list_missing = re.findall(r"^```sh\n(.*?)^```$", PAGE.read_text(),
                                                      re.MULTILINE | re.DOTALL)
        for name in PICTURES:
            self.path(name).parent.mkdir(parents=True, exist_ok=True)
            write_png(self.path(name), scene(48, 32))
        self.path(BROKEN).write_bytes(b"no picture")
        self.assertEqual(0, self.run_blocks(make_list).returncode)

        self.assertEqual(1, self.run_blocks(enhance).returncode)
        self.assertEqual(BROKEN + "\n", self.run_blocks(list_missing).stdout)
        results = {name: self.path("better/" + name).stat().st_mtime_ns for name in PICTURES}

        write_png(self.path(BROKEN), scene(48, 32))
        self.assertEqual(0, self.run_blocks(enhance).returncode)
        self.assertEqual("", self.run_blocks(list_missing).stdout)
        for name, time in results.items():
            self.assertEqual(time, self.path("better/" + name).stat().st_mtime_ns, name)

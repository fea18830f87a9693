"""The commands of docs/archives.md for one machine: everything is enhanced, and what failed alone is done again."""

import os
import re
import shutil
import subprocess
import unittest
from pathlib import Path

from support import COMMAND, CommandTest, scene, write_png

PAGE = Path(os.environ["TLUX_SOURCE_DIR"]) / "docs/archives.md"
PICTURES = ["archive/2024/it's late.png", "archive/2024/two  spaces.png", "archive/last.png"]
BROKEN = "archive/2024/broken.png"


@unittest.skipUnless(shutil.which("parallel"), "GNU parallel is not installed")
class Archives(CommandTest):
    def shell(self, command):
        path = f"{Path(COMMAND).parent}{os.pathsep}{os.environ['PATH']}"
        return subprocess.run(["sh", "-euc", command], cwd=self.folder, env={**os.environ, "PATH": path},
                              capture_output=True, text=True, timeout=300, check=False)

    def test_goes_on_where_it_stopped(self):
        make_list, enhance, list_missing = re.findall(r"^```sh\n(.*?)^```$", PAGE.read_text(),
                                                      re.MULTILINE | re.DOTALL)
        for name in PICTURES:
            self.path(name).parent.mkdir(parents=True, exist_ok=True)
            write_png(self.path(name), scene(48, 32))
        self.path(BROKEN).write_bytes(b"no picture")
        self.assertEqual(0, self.shell(make_list).returncode)

        self.assertEqual(1, self.shell(enhance).returncode)
        self.assertEqual(BROKEN + "\n", self.shell(list_missing).stdout)
        results = {name: self.path("better/" + name).stat().st_mtime_ns for name in PICTURES}

        write_png(self.path(BROKEN), scene(48, 32))
        self.assertEqual(0, self.shell(enhance).returncode)
        self.assertEqual("", self.shell(list_missing).stdout)
        for name, time in results.items():
            self.assertEqual(time, self.path("better/" + name).stat().st_mtime_ns, name)


if __name__ == "__main__":
    unittest.main()

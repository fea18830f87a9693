"""Every fenced block of the README and the other pages works.

C and C++ compile without a warning, CMake configures against an installed copy, shell commands run. Commands that
build or test the whole project are the steps of .ci/run; of these the scripts, presets and targets are looked up.
"""

import json
import os
import re
import shlex
import subprocess
import tempfile
import unittest
from pathlib import Path

SOURCE = Path(os.environ["TLUX_SOURCE_DIR"])
BUILD = Path(os.environ["TLUX_BUILD_DIR"])
CC, CXX = os.environ["CC"], os.environ["CXX"]
PAGES = sorted([*SOURCE.glob("*.md"), *SOURCE.glob("docs/*.md"), *SOURCE.glob("examples/**/*.md")])
FENCE = re.compile(r"^```(\w*)\n(.*?)^```$", re.MULTILINE | re.DOTALL)


# Their commands run in tests/apps/archives_test.py and command_page_test.py and in tests/plugins/page_test.py;
# scripts/python.sh runs what is Python.
RUN_ELSEWHERE = ("archives.md", "command.md", "video-pipelines.md")


def blocks(language):
    for page in PAGES:
        if language == "sh" and page.name in RUN_ELSEWHERE:
            continue
        text = page.read_text()
        for match in FENCE.finditer(text):
            if match[1] == language:
                yield f"{page.relative_to(SOURCE)}:{text.count(chr(10), 0, match.start()) + 1}", match[2]


def run(command, **options):
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, **options)


def is_step_of_ci(command):
    words = shlex.split(command, comments=True)
    return (words[0].startswith(("scripts/", ".ci/", "build/bench/"))
            or words[0] in ("cmake", "ctest") and "--preset" in words)


class Docs(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.work = tempfile.TemporaryDirectory()
        cls.root = Path(cls.work.name)
        cls.prefix = cls.root / "prefix"
        subprocess.run(["cmake", "--install", BUILD, "--prefix", cls.prefix], check=True, stdout=subprocess.DEVNULL)

    @classmethod
    def tearDownClass(cls):
        cls.work.cleanup()

    def check(self, where, result):
        self.assertEqual(result.returncode, 0, f"{where}\n{result.stdout}")

    def test_languages_are_known(self):
        for page in PAGES:
            for match in FENCE.finditer(page.read_text()):
                self.assertIn(match[1], ("c", "cpp", "cmake", "python", "sh", "text"), page)

    def test_code_compiles(self):
        for language, compiler, name in (("c", [CC, "-std=c99"], "c"), ("cpp", [CXX, "-std=c++20"], "c++")):
            for where, code in blocks(language):
                with self.subTest(where):
                    self.check(where, run([*compiler, "-x", name, "-Wall", "-Wextra", "-Werror", "-c", "-",
                                           "-o", "/dev/null", f"-I{SOURCE}/include"], input=code))

    def test_cmake_configures(self):
        for number, (where, code) in enumerate(blocks("cmake")):
            with self.subTest(where):
                project = self.root / f"cmake{number}"
                (project / "third_party").mkdir(parents=True)
                (project / "third_party/tlux").symlink_to(SOURCE)
                (project / "main.c").write_text("int main(void) { return 0; }\n")
                (project / "CMakeLists.txt").write_text(
                    f"cmake_minimum_required(VERSION 3.25)\nproject(app C)\nadd_executable(app main.c)\n{code}")
                self.check(where, run(["cmake", "-G", "Ninja", "-S", project, "-B", project / "build", f"-DCMAKE_C_COMPILER={CC}",
                                       f"-DCMAKE_CXX_COMPILER={CXX}", f"-DCMAKE_PREFIX_PATH={self.prefix}"]))

    def test_commands_run(self):
        presets = json.loads((SOURCE / "CMakePresets.json").read_text())
        names = {preset["name"] for kind in presets if kind.endswith("Presets") for preset in presets[kind]
                 if not preset.get("hidden")}
        groups = set(re.findall(r"^    (\w+)\) echo", (SOURCE / "scripts/install_deps.sh").read_text(), re.MULTILINE))
        for number, (where, text) in enumerate(blocks("sh")):
            with self.subTest(where):
                lines = [line for line in text.replace("\\\n", " ").splitlines() if line.strip()]
                steps = [step for line in lines if is_step_of_ci(line) for step in line.split("&&")]
                for step in steps:
                    words = shlex.split(step, comments=True)
                    if "--preset" in words:
                        self.assertIn(words[words.index("--preset") + 1], names, where)
                    elif words[0].startswith("build/bench/"):
                        self.assertIn(f"add_executable({Path(words[0]).name} ", (SOURCE / "bench/CMakeLists.txt").read_text())
                    else:
                        self.assertTrue(os.access(SOURCE / words[0], os.X_OK), f"{where}: {words[0]}")
                        if words[0] == "scripts/install_deps.sh":
                            self.assertLessEqual(set(words[1:]), groups, where)
                folder = self.root / f"sh{number}"
                (folder / "build").mkdir(parents=True)
                for preset in ("release", "android"):
                    (folder / "build" / preset).symlink_to(BUILD)
                (folder / "examples").symlink_to(SOURCE / "examples")
                script = "\n".join(line for line in lines if not is_step_of_ci(line))
                self.check(where, run(["sh", "-euc", script], cwd=folder,
                                      env={**os.environ, "PREFIX": str(self.prefix)}))

    def test_every_group_of_functions_has_a_subsystem(self):
        placed = set(re.findall(r"@addtogroup (\w+)\n \*  @ingroup subsystem_", (SOURCE / "docs/reference.dox").read_text()))
        for header in SOURCE.glob("include/tlux/*.h"):
            for group in re.findall(r"@defgroup (\w+)", header.read_text()):
                self.assertIn(group, placed, f"{header.name}: add the group to docs/reference.dox")

    def test_pages_name_every_preset_and_option(self):
        building = (SOURCE / "docs/building.md").read_text()
        presets = json.loads((SOURCE / "CMakePresets.json").read_text())["configurePresets"]
        for name in (preset["name"] for preset in presets if not preset.get("hidden")):
            self.assertIn(f"`{re.sub('(?<=[at]san-).*', '…', name)}`", building)
        cmake = (SOURCE / "CMakeLists.txt").read_text()
        for option in re.findall(r"^(?:option\(|set\()(TLUX_\w+)", cmake, re.MULTILINE):
            self.assertIn(f"`{option}`", building)

    def test_links_lead_somewhere(self):
        for page in PAGES:
            for target in re.findall(r"\]\(([^)#:]+)\)", page.read_text()):
                self.assertTrue((page.parent / target).exists(), f"{page.relative_to(SOURCE)}: {target}")
            for place in re.findall(r"`((?:src|tests|scripts|bench|fuzz|include|cmake)/[\w/.]+)", page.read_text()):
                self.assertTrue((SOURCE / place).exists(), f"{page.relative_to(SOURCE)}: {place}")


if __name__ == "__main__":
    unittest.main()

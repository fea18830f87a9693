#!/usr/bin/env python3
"""Prints the version from CMakeLists.txt."""

import re
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent


def version():
    return re.search(r"^  VERSION ([0-9.]+)$", (ROOT / "CMakeLists.txt").read_text(), re.MULTILINE)[1]


if __name__ == "__main__":
    print(version())

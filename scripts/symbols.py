#!/usr/bin/env python3
"""Updates debian/libtlux1.symbols from the exports lists. usage: scripts/symbols.py [--check]

Each name keeps the version that introduced it; a new one gets the version in CMakeLists.txt. A removed name is an error
as long as the library is libtlux.so.1. --check writes nothing and fails if the file is out of date.
"""

import re
import sys
from pathlib import Path

from version import ROOT, version

FILE = ROOT / "debian/libtlux1.symbols"
NODE = "TLUX_1"
HEADER = "libtlux.so.1 libtlux1 #MINVER#\n* Build-Depends-Package: libtlux-dev\n"


def exported():
    lists = ROOT.glob("src/*/exports.list")
    return {line for file in lists for line in file.read_text().splitlines() if re.match("[A-Za-z_]", line)} | {NODE}


def main():
    known = dict(re.findall(rf"^ (\w+)@{NODE} (\S+)$", FILE.read_text() if FILE.exists() else "", re.MULTILINE))
    names = exported()
    gone = sorted(set(known) - names)
    if gone:
        sys.exit(f"{FILE.name}: gone, which needs a new major version: {', '.join(gone)}")
    text = HEADER + "".join(f" {name}@{NODE} {known.get(name, version())}\n" for name in sorted(names))
    if "--check" not in sys.argv[1:]:
        FILE.write_text(text)
    elif not FILE.exists() or FILE.read_text() != text:
        sys.exit(f"{FILE.name} differs from src/*/exports.list: run scripts/symbols.py")


if __name__ == "__main__":
    main()

#!/usr/bin/env python3
"""Fills in the recipes of packaging/ for a source archive. usage: scripts/recipes.py ARCHIVE FOLDER

The version comes from CMakeLists.txt, addresses from packaging/source.conf, checksums from the archive. Each
packaging/SYSTEM/NAME.in becomes FOLDER/SYSTEM/NAME.
"""

import hashlib
import re
import sys
from pathlib import Path

from version import ROOT, version


def addresses():
    lines = (ROOT / "packaging/source.conf").read_text().splitlines()
    found = dict(line.split("=", 1) for line in lines if line and not line.startswith("#"))
    return {name: value.replace("@VERSION@", version()) for name, value in found.items()}


def main():
    archive, folder = map(Path, sys.argv[1:])
    content = archive.read_bytes()
    known = {**addresses(), "VERSION": version(), "SHA256": hashlib.sha256(content).hexdigest(),
             "SHA512": hashlib.sha512(content).hexdigest()}
    for template in sorted((ROOT / "packaging").glob("*/*.in")):
        target = folder / template.parent.name / template.stem
        target.parent.mkdir(parents=True, exist_ok=True)
        target.write_text(re.sub("@([A-Z0-9_]+)@", lambda match: known[match[1]], template.read_text()))


if __name__ == "__main__":
    main()

#!/usr/bin/env python3
"""Writes the contents and dependencies of the release files, as SPDX 2.3. usage: scripts/sbom.py TIME FOLDER >FILE

TIME is the time of the release (2026-01-31T12:00:00Z). Dependencies are read from the build files; one that KNOWN does
not describe is an error.
"""

import hashlib
import json
import re
import sys
from pathlib import Path

from recipes import addresses
from version import ROOT, version

FFMPEG = ("https://ffmpeg.org", "LGPL-2.1-or-later")
KNOWN = {
    "CLI11": ("https://github.com/CLIUtils/CLI11", "BSD-3-Clause"),
    "Threads": None,  # the C library
    "distributed": ("https://distributed.dask.org", "BSD-3-Clause"),
    "exiv2": ("https://exiv2.org", "GPL-2.0-or-later"),
    "fmt": ("https://fmt.dev", "MIT"),
    "frei0r.h": ("https://frei0r.dyne.org", "GPL-2.0-or-later"),
    "gstreamer-video-1.0": ("https://gstreamer.freedesktop.org", "LGPL-2.1-or-later"),
    "lcms2": ("https://www.littlecms.com", "MIT"),
    "libavcodec": FFMPEG,
    "libavfilter": FFMPEG,
    "libavformat": FFMPEG,
    "libavutil": FFMPEG,
    "libswscale": FFMPEG,
    "libheif": ("https://github.com/strukturag/libheif", "LGPL-3.0-or-later"),
    "libjpeg": ("https://libjpeg-turbo.org", "IJG AND BSD-3-Clause AND Zlib"),
    "libtiff-4": ("http://www.simplesystems.org/libtiff", "libtiff"),
    "numpy": ("https://numpy.org", "BSD-3-Clause"),
    "wasi-libc": ("https://github.com/WebAssembly/wasi-libc", "Apache-2.0 WITH LLVM-exception AND MIT"),
}


def of_cmake(file):
    """What find_package, find_path and pkg_check_modules look for."""
    text = (ROOT / file).read_text()
    names = re.findall(r"^ *find_package\((\w+)", text, re.MULTILINE)
    names += re.findall(r"^ *find_path\(\w+ ([\w.]+)", text, re.MULTILINE)
    for modules in re.findall(r"pkg_check_modules\(\w+ ([^)]*)\)", text):
        names += [word.split(">=")[0] for word in modules.split() if not word.isupper() and word != "IMPORTED_TARGET"]
    return sorted(set(names) - {"PkgConfig"})


def of_python(key):
    line = re.search(rf"^{key} = \[(.*)\]$", (ROOT / "python/pyproject.toml").read_text(), re.MULTILINE)[1]
    return sorted(re.findall(r'"([\w-]+)', line))


def of_npm():
    return sorted(json.loads((ROOT / "web/package.json").read_text()).get("dependencies", {}))


def pairs(kind, names):
    return [(kind, name) for name in names]


def needs(file):
    """Pairs of the relationship and the name."""
    if file.name.endswith(".tar.gz"):  # the library has no dependencies, and front ends are optional
        found = of_cmake("apps/CMakeLists.txt") + of_cmake("plugins/CMakeLists.txt")
        return pairs("OPTIONAL_DEPENDENCY_OF", found)
    if file.suffix == ".whl":
        return [*pairs("RUNTIME_DEPENDENCY_OF", of_python("dependencies")),
                *pairs("OPTIONAL_DEPENDENCY_OF", of_python("archive"))]
    return [*pairs("STATIC_LINK", ["wasi-libc"]), *pairs("RUNTIME_DEPENDENCY_OF", of_npm())]


def identifier(name):
    return "SPDXRef-" + re.sub("[^A-Za-z0-9.-]", "-", name)


def relationship(first, kind, second):
    return {"spdxElementId": first, "relationshipType": kind, "relatedSpdxElement": second}


def main():
    time, folder = sys.argv[1], Path(sys.argv[2])
    homepage = addresses()["HOMEPAGE"]
    packages, relationships, needed = [], [], set()
    for file in sorted(path for path in folder.iterdir() if path.suffix in (".gz", ".whl", ".tgz", ".html")):
        own = identifier(file.name)
        packages.append({
            "SPDXID": own, "name": "tlux", "versionInfo": version(), "packageFileName": file.name,
            "downloadLocation": homepage, "filesAnalyzed": False, "supplier": "NOASSERTION",
            "licenseConcluded": "NOASSERTION", "licenseDeclared": "LicenseRef-All-Rights-Reserved",
            "copyrightText": "Copyright the tlux authors. All rights reserved.",
            "checksums": [{"algorithm": "SHA256", "checksumValue": hashlib.sha256(file.read_bytes()).hexdigest()}]})
        relationships.append(relationship("SPDXRef-DOCUMENT", "DESCRIBES", own))
        for kind, name in needs(file):
            if KNOWN[name] is None:
                continue
            needed.add(name)
            pair = (own, identifier(name)) if kind == "STATIC_LINK" else (identifier(name), own)
            relationships.append(relationship(pair[0], kind, pair[1]))
    for name in sorted(needed):
        address, licence = KNOWN[name]
        packages.append({"SPDXID": identifier(name), "name": name, "downloadLocation": address, "filesAnalyzed": False,
                         "licenseConcluded": "NOASSERTION", "licenseDeclared": licence, "copyrightText": "NOASSERTION"})
    json.dump({
        "spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT", "name": f"tlux-{version()}",
        "documentNamespace": f"{homepage}/spdx/tlux-{version()}-{time}",
        "creationInfo": {"created": time, "creators": ["Tool: scripts/sbom.py"]},
        "hasExtractedLicensingInfos": [{
            "licenseId": "LicenseRef-All-Rights-Reserved", "name": "All rights reserved",
            "extractedText": "All rights reserved. A licence is available only from the owner."}],
        "packages": packages, "relationships": relationships}, sys.stdout, indent=2)
    print()


if __name__ == "__main__":
    main()

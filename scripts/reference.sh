#!/bin/sh
# Makes the reference of the public headers, any warning being an error: build/reference/html/index.html
set -eu
cd "$(dirname "$0")/.."
scripts/install_deps.sh docs
mkdir -p build
doxygen docs/Doxyfile

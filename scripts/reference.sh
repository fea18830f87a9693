#!/bin/sh
# Builds the reference of the public headers, build/reference/html/index.html. Warnings are errors.
set -eu
cd "$(dirname "$0")/.."
scripts/install_deps.sh docs
mkdir -p build
doxygen docs/Doxyfile

#!/bin/sh
# Builds the command and runs it on the example photograph; the results go to out/.
# usage: scripts/demo.sh [STRENGTH]
set -eu
cd "$(dirname "$0")/.."
strength=${1:-30}
photo=examples/images/night-bridge-lamps.jpg
enhanced=out/night-bridge-lamps-enhanced.png
comparison=out/night-bridge-lamps-compare.png

scripts/install_deps.sh build app
# Leaves out the tests, which need more packages.
cmake --preset release -DTLUX_BUILD_TESTS=OFF >/dev/null
cmake --build --preset release --target tlux_command

mkdir -p out
build/release/apps/tlux enhance "$photo" -o "$enhanced" --strength "$strength"
build/release/apps/tlux compare "$photo" -o "$comparison" --strength "$strength"
echo "enhanced picture:   $PWD/$enhanced"
echo "before and after:   $PWD/$comparison"

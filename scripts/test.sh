#!/bin/sh
# Installs what is missing, builds and runs the tests. usage: scripts/test.sh [PRESET…]   (default: release)
set -eu
cd "$(dirname "$0")/.."
scripts/install_deps.sh build test app
for preset in "${@:-release}"; do
  cmake --preset "$preset"
  cmake --build --preset "$preset"
  ctest --preset "$preset"
done

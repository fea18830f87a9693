#!/bin/sh
# Installs what is missing, builds and runs the tests. usage: scripts/test.sh [PRESET]   (default: release)
set -eu
cd "$(dirname "$0")/.."
preset=${1:-release}
case $preset in
  aarch64) scripts/install_deps.sh build aarch64 ;;
  aarch64-clang) scripts/install_deps.sh build aarch64 clang ;;
  *clang) scripts/install_deps.sh build test app clang ;;
  *) scripts/install_deps.sh build test app ;;
esac
cmake --preset "$preset"
cmake --build --preset "$preset"
ctest --preset "$preset"

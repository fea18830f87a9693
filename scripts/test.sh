#!/bin/sh
# Installs missing packages, builds and runs the tests. usage: scripts/test.sh [PRESET]   (default: release)
set -eu
cd "$(dirname "$0")/.."
preset=${1:-release}
options=
case $preset in
  # If the plug-ins' hosts are installed, none of their tests may be skipped.
  release)
    scripts/install_deps.sh build test app pipelines
    options='-DTLUX_GSTREAMER=ON -DTLUX_FREI0R=ON'
    ;;
  aarch64) scripts/install_deps.sh build aarch64 ;;
  aarch64-clang) scripts/install_deps.sh build aarch64 clang ;;
  *clang) scripts/install_deps.sh build test app clang ;;
  *) scripts/install_deps.sh build test app ;;
esac
if [ "$preset" = asan-gcc ] && ! grep -qw avx2 /proc/cpuinfo; then
  echo "$0: this processor has no AVX2, so the AVX2 code is not tested under the sanitizers" >&2
  options=-DTLUX_AVX2=OFF
fi
cmake --preset "$preset" $options
cmake --build --preset "$preset"
ctest --preset "$preset"

#!/bin/sh
# Installs missing Debian packages. usage: scripts/install_deps.sh GROUP…
#   build  GCC and the build tools        test   tests of the library and the command
#   app    libraries of the command       bench  benchmarks and the peers they measure
#   clang  Clang and its sanitizers       lint   formatter and static checks
#   aarch64  GCC for AArch64, an emulator, and sources and tools for the tests
#   docs   generator of the reference
#   pipelines  GStreamer, frei0r and hosts for testing the plug-ins
#   java   test of the camera example for Android
#   abi    comparison of the interface with its baseline
#   count  instruction counter
#   quality  measurement of picture quality
#   python   the Python package, its tests, archives on many machines
#   packages  Debian packages, release files, and their checks
#   recipes   tests of the recipes for other package managers
#   web    WebAssembly compiler, Node if missing, and a browser for the tests
set -eu

usage() {
  echo "usage: install_deps.sh build|test|app|bench|clang|aarch64|lint|docs|pipelines|java|abi|count|quality|python|packages|recipes|web …" >&2
  exit 1
}

# The package, unless its command is installed already.
missing_command() {
  command -v "$1" >/dev/null || echo "$2"
}

packages_of() {
  case $1 in
    build) echo g++ cmake ninja-build pkg-config ;;
    test) echo libgtest-dev python3 python3-numpy ffmpeg libtiff-tools libheif-examples libimage-exiftool-perl parallel groff-base mandoc zsh fish ;;
    app) echo libavformat-dev libavcodec-dev libswscale-dev libavutil-dev libcli11-dev libfmt-dev libavfilter-dev libjpeg-dev libtiff-dev liblcms2-dev libexiv2-dev libheif-dev fonts-dejavu-core ;;
    bench) echo python3 libbenchmark-dev libopencv-dev libopencv-contrib-dev libyuv-dev gstreamer1.0-opencv ;;
    clang) echo clang libclang-rt-dev ;;
    aarch64) echo g++-aarch64-linux-gnu qemu-user googletest python3 ;;
    lint) echo git clang-format clang-tidy ;;
    docs) echo doxygen ;;
    pipelines) echo libgstreamer1.0-dev libgstreamer-plugins-base1.0-dev gstreamer1.0-tools gstreamer1.0-plugins-base gstreamer1.0-plugins-good gstreamer1.0-plugins-bad gstreamer1.0-plugins-ugly gstreamer1.0-libav gstreamer1.0-rtsp gir1.2-gst-rtsp-server-1.0 python3-gi frei0r-plugins-dev melt ffmpeg ;;
    java) echo default-jdk-headless ;;
    abi) echo abigail-tools ;;
    count) echo valgrind ;;
    quality) echo python3-numpy ffmpeg ;;
    python) echo python3-numpy python3-build python3-setuptools python3-wheel python3-pip python3-venv python3-pytest python3-hypothesis python3-mypy python3-distributed python3-cloudpickle python3-psutil ;;
    web) echo cmake ninja-build clang lld llvm wasi-libc libc++-dev-wasm32 libclang-rt-dev-wasm32 chromium $(missing_command node nodejs) $(missing_command npm npm) ;;
    packages) echo build-essential git debhelper dh-python pybuild-plugin-pyproject python3-setuptools python3-wheel python3-numpy lintian autopkgtest man-db cmake ninja-build ffmpeg $(missing_command npm npm) ;;
    recipes) echo rpm rpmlint makepkg pacman-package-manager libarchive-tools ruby ;;
    *) echo "install_deps.sh: unknown group '$1'" >&2; usage ;;
  esac
}

is_installed() {
  [ "$(dpkg-query -W -f '${db:Status-Abbrev}' "$1" 2>/dev/null)" = 'ii ' ]
}

[ $# -gt 0 ] || usage
missing=
for group; do
  packages=$(packages_of "$group")
  for package in $packages; do
    is_installed "$package" || missing="$missing $package"
  done
done
[ -n "$missing" ] || exit 0
if ! command -v apt-get >/dev/null; then
  echo "install_deps.sh: this is not a Debian system; install the equivalents of these packages:$missing" >&2
  exit 1
fi

as_root=
[ "$(id -u)" -eq 0 ] || as_root=sudo
echo "installing:$missing"
$as_root apt-get update -qq
$as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends $missing

#!/bin/sh
# Makes the files of a release as a dry run, builds the Debian packages from its source archive, and checks them: with
# lintian, for vector code, and with debian/tests on the installed packages, which are then removed. Works in
# build/packages. usage: scripts/packages.sh [--all]
# --all builds the packages a second time elsewhere, which must give the same bytes, builds the RPM and Arch packages,
# and checks the other recipes. Without it the command is optimised less, and there are no debug symbols.
set -eu
cd "$(dirname "$0")/.."
all=
[ "${1:-}" != --all ] || all=yes
version=$(scripts/version.py)
files=$PWD/build/release-files
work=$PWD/build/packages
archive=$files/tlux-$version.tar.gz

fail() {
  echo "packages.sh: $*" >&2
  exit 1
}

# Builds the Debian packages in an empty folder, using only Debian's tools.
build_debian() {
  mkdir -p "$1"
  cp "$archive" "$1/tlux_$version.orig.tar.gz"
  tar -xzf "$archive" -C "$1"
  git archive --format=tar --prefix="tlux-$version/debian/" HEAD:debian | tar -x -C "$1"
  (cd "$1/tlux-$version" && PATH=/usr/sbin:/usr/bin:/sbin:/bin dpkg-buildpackage -us -uc >../build.log 2>&1) || {
    tail -n 40 "$1/build.log" >&2
    fail "dpkg-buildpackage failed, see $1/build.log"
  }
}

# A different folder, language, time zone and umask must give the same packages.
check_reproducible() {
  (export LC_ALL=C.UTF-8 TZ=Asia/Kathmandu && umask 077 && build_debian "$work/debian-again")
  for package in "$work"/debian/*.deb; do
    cmp "$package" "$work/debian-again/${package##*/}" || fail "${package##*/} differs when it is built again"
  done
}

# The binaries must contain code for each level that the library chooses from on x86-64.
check_vectors() {
  [ "$(uname -m)" = x86_64 ] || return 0
  mkdir -p "$work/unpacked"
  for package in libtlux1 gstreamer1.0-tlux frei0r-tlux tlux; do
    dpkg-deb -x "$work/debian/${package}_$version"-*.deb "$work/unpacked/$package"
    file=$(find "$work/unpacked/$package" -type f -size +256k \( -name '*.so*' -o -name tlux \))
    objdump -d --no-show-raw-insn "$file" >"$work/unpacked/$package.s"
    for register in ymm zmm; do
      count=$(grep -c "%$register" "$work/unpacked/$package.s") || true
      [ "$count" -gt 1000 ] || fail "$package has $count instructions with %$register"
    done
  done
}

# Runs debian/tests; the packages stay installed only meanwhile.
run_tests() {
  as_root=
  [ "$(id -u)" -eq 0 ] || as_root=sudo
  packages=$(sed -n 's/^Package: //p' debian/control)
  trap '$as_root env DEBIAN_FRONTEND=noninteractive apt-get purge -y -qq $packages >/dev/null' EXIT
  $as_root autopkgtest -B --output-dir="$work/autopkgtest" "$work"/debian/*.deb "$work/debian/tlux-$version/" -- null \
    >"$work/autopkgtest.log" 2>&1 || {
    tail -n 40 "$work/autopkgtest.log" >&2
    fail "a test of debian/tests failed, see $work/autopkgtest"
  }
  cat "$work/autopkgtest/summary"
}

scripts/install_deps.sh build app pipelines packages
scripts/release.sh --dry-run
rm -rf "$work"
options="nocheck parallel=$(nproc)"
export DEB_BUILD_OPTIONS="$options"
if [ -z "$all" ]; then
  export DEB_BUILD_OPTIONS="$options noautodbgsym" DEB_CXXFLAGS_STRIP='-g -O2' DEB_CXXFLAGS_APPEND=-O1
fi
build_debian "$work/debian"
lintian --allow-root --fail-on error,warning --suppress-tags initial-upload-closes-no-bugs "$work"/debian/*.changes
check_vectors
run_tests
if [ -n "$all" ]; then
  check_reproducible
  scripts/recipes.sh
fi

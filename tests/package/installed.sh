#!/bin/sh
# Installs the build into an empty folder, moves it, and builds consumers against it: through CMake
# and pkg-config, in C and C++, with the shared and the static library.
# usage: installed.sh BUILD_DIR CC CXX VERSION COMMAND     (COMMAND empty: the build has none)
set -eu
build=$1 cc=$2 cxx=$3 version=$4 command=$5
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/first" >/dev/null
mv "$work/first" "$work/tlux"
prefix=$work/tlux
pc=$(find "$prefix" -name tlux.pc)
lib=$(dirname "$(dirname "$pc")")
LD_LIBRARY_PATH=$lib
export LD_LIBRARY_PATH

fail() {
  echo "$*" >&2
  exit 1
}

# A program that computes a picture says what it got; all must say the same.
sum=
check_sum() {
  got=$("$1")
  [ -n "$got" ] && [ "$got" = "${sum:=$got}" ] || fail "$1 printed '$got', not '$sum'"
}
needs() { readelf -d "$1" | grep -q "NEEDED.*\[$2"; }

[ "$(readlink "$lib/libtlux.so")" = "libtlux.so.${version%%.*}" ] || fail "libtlux.so points elsewhere"
[ -f "$lib/libtlux.so.$version" ] || fail "no libtlux.so.$version"
if grep -r -l -e "$build" -e "$work/first" "$lib/cmake" "$pc"; then fail "paths of the build installed"; fi

for language in C CXX; do
  cmake -G Ninja --no-warn-unused-cli -S "$here/consumer" -B "$work/$language" -DCONSUMER_LANGUAGE=$language \
    -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
  cmake --build "$work/$language" >/dev/null
done
check_sum "$work/C/consumer_tlux"
check_sum "$work/C/consumer_static"
needs "$work/C/consumer_tlux" libtlux.so. || fail "tlux::tlux is not the shared library"
! needs "$work/C/consumer_static" libtlux.so || fail "tlux::static is not the static library"
! needs "$work/C/consumer_static" libstdc++ || fail "the static library brought the C++ runtime"
[ "$("$work/CXX/consumer_tlux")" = "$version" ] || fail "version of the library is not $version"
[ "$("$work/CXX/consumer_static")" = "$version" ] || fail "version of the library is not $version"

PKG_CONFIG_PATH=$(dirname "$pc")
export PKG_CONFIG_PATH
[ "$(pkg-config --modversion tlux)" = "$version" ] || fail "tlux.pc has another version"
"$cc" "$here/consumer/main.c" $(pkg-config --cflags --libs tlux) -o "$work/shared"
"$cc" -static "$here/consumer/main.c" $(pkg-config --static --cflags --libs tlux) -o "$work/static"
"$cxx" "$here/consumer/main.cpp" $(pkg-config --cflags --libs tlux) -o "$work/cxx"
check_sum "$work/shared"
check_sum "$work/static"
[ "$("$work/cxx")" = "$version" ] || fail "version of the library is not $version"

if [ -n "$command" ]; then "$prefix/bin/tlux" --help >/dev/null; fi

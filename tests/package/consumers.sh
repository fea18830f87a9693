#!/bin/sh
# Builds programs against the installed copy that CMake, pkg-config and the loader find: in C and C++, with the shared
# and the static library.
# usage: consumers.sh CC CXX VERSION
set -eu
cc=$1 cxx=$2 version=$3
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

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

lib=$(pkg-config --variable=libdir tlux)
[ "$(readlink "$lib/libtlux.so")" = "libtlux.so.${version%%.*}" ] || fail "libtlux.so points elsewhere"
[ -f "$lib/libtlux.so.$version" ] || fail "no libtlux.so.$version"

for language in C CXX; do
  cmake -G Ninja --no-warn-unused-cli -S "$here/consumer" -B "$work/$language" -DCONSUMER_LANGUAGE=$language \
    -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" >/dev/null
  cmake --build "$work/$language" >/dev/null
done
check_sum "$work/C/consumer_tlux"
check_sum "$work/C/consumer_static"
needs "$work/C/consumer_tlux" libtlux.so. || fail "tlux::tlux is not the shared library"
! needs "$work/C/consumer_static" libtlux.so || fail "tlux::static is not the static library"
! needs "$work/C/consumer_static" libstdc++ || fail "the static library brought the C++ runtime"
[ "$("$work/CXX/consumer_tlux")" = "$version" ] || fail "version of the library is not $version"
[ "$("$work/CXX/consumer_static")" = "$version" ] || fail "version of the library is not $version"

[ "$(pkg-config --modversion tlux)" = "$version" ] || fail "tlux.pc has another version"
"$cc" "$here/consumer/main.c" $(pkg-config --cflags --libs tlux) -o "$work/shared"
"$cc" -static "$here/consumer/main.c" $(pkg-config --static --cflags --libs tlux) -o "$work/static"
"$cxx" "$here/consumer/main.cpp" $(pkg-config --cflags --libs tlux) -o "$work/cxx"
check_sum "$work/shared"
check_sum "$work/static"
[ "$("$work/cxx")" = "$version" ] || fail "version of the library is not $version"

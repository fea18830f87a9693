#!/bin/sh
# Builds a parent project that takes the library in with add_subdirectory.
# usage: subproject.sh SOURCE_DIR CC CXX
set -eu
source=$1 cc=$2 cxx=$3
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake -S "$here/parent" -B "$work" -G Ninja -DTLUX_SOURCE_DIR="$source" \
  -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" >"$work/log" || { cat "$work/log" >&2; exit 1; }
cmake --build "$work" >/dev/null
[ -n "$("$work/consumer_tlux")" ]
[ "$("$work/consumer_tlux")" = "$("$work/consumer_static")" ]
# A parent that builds everything static gets the static library under the usual name.
if ! readelf -d "$work/consumer_tlux" | grep -q 'NEEDED.*libtlux'; then
  echo "tlux::tlux is not the shared library" >&2
  exit 1
fi
cmake -S "$here/parent" -B "$work" -DBUILD_SHARED_LIBS=OFF >/dev/null
cmake --build "$work" >/dev/null
if readelf -d "$work/consumer_tlux" | grep -q 'NEEDED.*libtlux'; then
  echo "BUILD_SHARED_LIBS=OFF: tlux::tlux is the shared library" >&2
  exit 1
fi
if ctest --test-dir "$work" -N | grep -q 'Test *#'; then
  echo "tests of the library showed up in the parent" >&2
  exit 1
fi
# Nothing of the library is installed with the parent.
cmake --install "$work" --prefix "$work/installed" >/dev/null
[ ! -e "$work/installed" ] || { echo "the parent installs the library" >&2; exit 1; }

#!/bin/sh
# Whether the library's sources are compiled with -O3 in the build types of packagers, after flags of their own.
# usage: optimised.sh SOURCE_DIR CC CXX
set -eu
source=$1 cc=$2 cxx=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

for type in None Release RelWithDebInfo MinSizeRel; do
  cmake -S "$source" -B "$work/$type" -G Ninja -DCMAKE_BUILD_TYPE=$type -DTLUX_BUILD_TESTS=OFF \
    -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_CXX_FLAGS='-g -O2' \
    -DCMAKE_EXPORT_COMPILE_COMMANDS=ON >"$work/log" || { cat "$work/log" >&2; exit 1; }
  commands=$work/$type/compile_commands.json
  kernels=$(grep -c '"command".*/src/[a-z_]*/[a-z_0-9]*\.cpp' "$commands")
  # The last one of a command line is in force.
  optimised=$(grep '"command"' "$commands" | sed 's/.*\( -O[0-9a-z]*\).*/\1/' | grep -c -e '-O3' || true)
  if [ "$kernels" -lt 50 ] || [ "$optimised" -lt "$kernels" ]; then
    echo "build type $type: $optimised of $kernels sources are compiled with -O3" >&2
    exit 1
  fi
done

#!/bin/sh
# Counts the instructions of a run of 1920 × 1080 on all threads, and fails if there are 3 % more than the figure in
# bench/instructions.txt or, for the AArch64 build under an emulator, in bench/instructions_aarch64.txt.
# usage: scripts/instructions.sh [aarch64] [--pin]   (--pin: records a new figure)
# Runs on one core, since threads that wait for work also count. Disables AVX2, in the library and in the C library, so
# the count is the same on every x86-64 processor; it is valid for the compiler named in the file. The first frame of an
# engine, which computes its gain table, is not counted.
set -eu
cd "$(dirname "$0")/.."
processor=x86-64
if [ "${1:-}" = aarch64 ]; then
  processor=aarch64
  shift
fi

if [ $processor = aarch64 ]; then
  pinned=bench/instructions_aarch64.txt
  build=build/aarch64 # that of the tests
  compiler="aarch64-linux-gnu-g++ -static" # the emulator needs no libraries then
  scripts/install_deps.sh build aarch64
  cmake --preset aarch64 >/dev/null
  gcc -shared -fPIC -O2 bench/count_instructions.c -o $build/count_instructions.so
else
  pinned=bench/instructions.txt
  build=build/instructions
  compiler=g++
  scripts/install_deps.sh build count
  cmake -S . -B $build -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_C_COMPILER=gcc -DCMAKE_CXX_COMPILER=g++ \
    -DTLUX_AVX2=OFF -DTLUX_BUILD_TESTS=OFF >/dev/null
fi
cmake --build $build --target tlux_static
$compiler -std=c++20 -O2 -Iinclude bench/run_once.cpp $build/src/libtlux.a -lm -o $build/run_once

# Instructions of a program that makes $1 runs.
count() {
  if [ $processor = aarch64 ]; then
    taskset -c 0 qemu-aarch64 -plugin $build/count_instructions.so $build/run_once "$1" 2>&1 |
      sed -n 's/^instructions: //p'
  else
    GLIBC_TUNABLES=glibc.cpu.hwcaps=-AVX512F,-AVX512VL,-AVX2,-AVX,-ERMS,-AVX_Fast_Unaligned_Load \
      taskset -c 0 valgrind --tool=callgrind --callgrind-out-file=/dev/null $build/run_once "$1" 2>&1 |
      sed -n 's/.*Collected : *\([0-9]*\)$/\1/p'
  fi
}

one=$(count 1)
three=$(count 3)
if [ -z "$one" ] || [ -z "$three" ]; then
  echo "the instructions were not counted" >&2
  exit 1
fi
counted=$(((three - one) / 2))
if [ "${1:-}" = --pin ]; then
  printf '%s instructions a run, GCC %s\n' "$counted" "$($compiler -dumpfullversion)" >$pinned
fi
read -r expected _ <$pinned
echo "$counted instructions a run on $processor; pinned: $(cat $pinned)"
if [ $((counted * 100)) -gt $((expected * 103)) ]; then
  echo "more than 3 % above the pinned figure" >&2
  exit 1
fi

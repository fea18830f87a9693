#!/bin/sh
# Counts the instructions of a run of 1920 × 1080 on all threads, and fails if there are 3 % more than the figure in
# bench/instructions.txt. usage: scripts/instructions.sh [--pin]   (--pin: records a new figure)
# Runs on one core, since threads that wait for work also count. Disables AVX2, in the library and in the C library, so
# the count is the same on every x86-64 processor; it is valid for the compiler named in the file. The first frame of an
# engine, which computes its gain table, is not counted.
set -eu
cd "$(dirname "$0")/.."
pinned=bench/instructions.txt
build=build/instructions

scripts/install_deps.sh build count
cmake -S . -B $build -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_C_COMPILER=gcc -DCMAKE_CXX_COMPILER=g++ \
  -DTLUX_AVX2=OFF -DTLUX_BUILD_TESTS=OFF >/dev/null
cmake --build $build --target tlux_static
g++ -std=c++20 -O2 -Iinclude bench/run_once.cpp $build/src/libtlux.a -lm -o $build/run_once

# Instructions of a program that makes $1 runs.
count() {
  GLIBC_TUNABLES=glibc.cpu.hwcaps=-AVX512F,-AVX512VL,-AVX2,-AVX,-ERMS,-AVX_Fast_Unaligned_Load \
    taskset -c 0 valgrind --tool=callgrind --callgrind-out-file=/dev/null $build/run_once "$1" 2>&1 |
    sed -n 's/.*Collected : *\([0-9]*\)$/\1/p'
}

one=$(count 1)
three=$(count 3)
counted=$(((three - one) / 2))
if [ "${1:-}" = --pin ]; then
  printf '%s instructions a run, GCC %s\n' "$counted" "$(g++ -dumpfullversion)" >$pinned
fi
read -r expected _ <$pinned
echo "$counted instructions a run; pinned: $(cat $pinned)"
if [ $((counted * 100)) -gt $((expected * 103)) ]; then
  echo "more than 3 % above the pinned figure" >&2
  exit 1
fi

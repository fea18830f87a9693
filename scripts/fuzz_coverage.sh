#!/bin/sh
# Replays the seeds and the inputs found by fuzzing, and reports how much of src/ they reach.
set -eu
cd "$(dirname "$0")/.."
scripts/install_deps.sh build clang
folder=build/fuzz-coverage
cmake --preset fuzz -B $folder -DTLUX_SANITIZE= \
  -DCMAKE_CXX_FLAGS='-fprofile-instr-generate -fcoverage-mapping' >/dev/null
cmake --build $folder --target $(sed -n "s/.*property IN ITEMS \(.*\))/\L\1/p" fuzz/CMakeLists.txt | xargs -n1 printf "fuzz_%s\n")
objects=
for fuzzer in $folder/fuzz/fuzz_*; do
  target=${fuzzer##*_}
  mkdir -p build/corpus/"$target"
  LLVM_PROFILE_FILE=$folder/$target.profraw "$fuzzer" -runs=0 -verbosity=0 build/corpus/"$target" fuzz/seeds/"$target"
  objects="$objects ${objects:+-object }$fuzzer"
done
version=$(clang -dumpversion | cut -d. -f1)
llvm-profdata-"$version" merge -o $folder/all.profdata $folder/*.profraw
llvm-cov-"$version" report -instr-profile $folder/all.profdata $objects "$PWD/src"

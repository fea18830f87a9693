#!/bin/bash
# Builds the fuzzers and runs each of them, as many at a time as there are cores.
# usage: scripts/fuzz.sh [SECONDS [PRESET]]   (default: 60 fuzz)
# The preset fuzz has ASan and UBSan, fuzz-msan has MSan. Both start from the seeds in the repository and the inputs
# that earlier runs found, in build/corpus. Failing inputs are kept in build/failures; to reproduce a failure, run the
# fuzzer on that file.
set -eu
cd "$(dirname "$0")/.."
seconds=${1:-60}
preset=${2:-fuzz}

scripts/install_deps.sh build clang
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset"

fuzz() {
  local fuzzer=$1 target=${1##*_} log result=0
  mkdir -p build/failures build/corpus/"$target"
  log=$("$fuzzer" -max_total_time="$seconds" -max_len=4096 -len_control=20 -timeout=20 -verbosity=0 -print_final_stats=1 \
    -artifact_prefix=build/failures/"$target"- build/corpus/"$target" fuzz/seeds/"$target" 2>&1) || result=1
  [ $result -ne 0 ] || log=$(grep '^stat::' <<<"$log")
  printf '== %s\n%s\n' "$target" "$log"
  return $result
}
export -f fuzz
export seconds
printf '%s\n' build/"$preset"/fuzz/fuzz_* | xargs -P "$(nproc)" -I{} bash -c 'fuzz {}'

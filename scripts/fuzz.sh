#!/bin/sh
# Builds the fuzzers and lets each of them run. usage: scripts/fuzz.sh [SECONDS [PRESET]]   (default: 60 fuzz)
# The preset fuzz has ASan and UBSan, fuzz-msan has MSan. Both start from the seeds of the repository and from what
# earlier runs found, in build/corpus. An input that fails is kept in build/failures; the fuzzer run on that file alone
# shows the failure again.
set -eu
cd "$(dirname "$0")/.."
seconds=${1:-60}
preset=${2:-fuzz}

scripts/install_deps.sh build clang
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset"
mkdir -p build/failures
failed=0
for fuzzer in build/"$preset"/fuzz/fuzz_*; do
  target=${fuzzer##*_}
  mkdir -p build/corpus/"$target"
  echo "== $target"
  "$fuzzer" -max_total_time="$seconds" -max_len=4096 -len_control=20 -timeout=20 -verbosity=0 -print_final_stats=1 \
    -artifact_prefix=build/failures/"$target"- build/corpus/"$target" fuzz/seeds/"$target" || failed=1
done
exit $failed

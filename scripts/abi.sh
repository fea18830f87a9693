#!/bin/sh
# Compares the shared library's functions and public types, from the debug build, with the baseline in abi/.
# usage: scripts/abi.sh [--update]     (--update makes the current library the baseline)
set -eu
cd "$(dirname "$0")/.."
scripts/install_deps.sh build test abi
cmake --preset debug >/dev/null
cmake --build --preset debug --target tlux_shared
baseline=abi/$(uname -m).abi
current=build/debug/tlux.abi

# Ignores what is in no public header, and source locations.
abidw --headers-dir include --drop-private-types --exported-interfaces-only --no-corpus-path --no-comp-dir-path \
  --no-show-locs --no-elf-needed --no-parameter-names --type-id-style hash --out-file "$current" \
  build/debug/src/libtlux.so
sed -i "s|path='[^']*/src/|path='src/|" "$current"
if [ "${1:-}" = --update ]; then
  mkdir -p abi
  cp "$current" "$baseline"
elif [ ! -f "$baseline" ]; then
  echo "no baseline for this processor: $baseline"
elif ! abidiff "$baseline" "$current"; then
  echo "the interface differs from $baseline; if intended, run scripts/abi.sh --update" >&2
  exit 1
fi

#!/bin/sh
# Checks the formatting and the include order of subsystems, and runs clang-tidy on the library, command and plug-ins.
# usage: scripts/lint.sh [--fix]
set -eu
cd "$(dirname "$0")/.."
scripts/install_deps.sh build app lint
sources=$(git ls-files '*.c' '*.h' '*.cpp' '*.hpp')
if [ "${1:-}" = --fix ]; then
  clang-format -i $sources
else
  clang-format --dry-run -Werror $sources
fi
scripts/rooms.sh
[ -f build/release/compile_commands.json ] || cmake --preset release >/dev/null
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! run-clang-tidy -quiet -p build/release '/(src|apps|plugins)/' >"$log" 2>/dev/null; then
  grep -E 'error|warning:' "$log" | sort -u
  exit 1
fi

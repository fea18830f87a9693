#!/bin/sh
# Prints the share of tests and fuzzers in the lines of code. Needs cloc.
set -eu
cd "$(dirname "$0")/.."
lines() {
  git ls-files include src apps plugins python web examples bench scripts cmake tests fuzz .ci CMakeLists.txt |
    grep -v '^fuzz/seeds/' | grep -E "$1" >"$list"
  cloc --quiet --csv --exclude-lang=Markdown,JSON,Text --list-file="$list" | tail -n 1 | cut -d, -f5
}
list=$(mktemp)
trap 'rm -f "$list"' EXIT
all=$(lines .)
tests=$(lines '(^|/)tests/|^fuzz/')
awk -v all="$all" -v tests="$tests" 'BEGIN { printf "%d of %d lines: %.1f %%\n", tests, all, 100 * tests / all }'

#!/bin/sh
# Compiles every public header on its own in one language standard, all warnings being errors.
# usage: headers_compile_alone.sh STANDARD CC CXX INCLUDE_DIR HEADER…
set -eu
standard=$1 cc=$2 cxx=$3 include=$4
shift 4
case $standard in
  c++*) compiler="$cxx -x c++" ;;
  *) compiler="$cc -x c" ;;
esac
for header; do
  printf '#include "%s"\n' "$header" |
    $compiler -std="$standard" -fsyntax-only -pedantic -Wall -Wextra -Wundef -Wstrict-prototypes \
      $(case $standard in c++*) echo -Wno-strict-prototypes ;; esac) -Werror -I"$include" - ||
    { echo "$header does not compile alone as $standard" >&2; exit 1; }
done

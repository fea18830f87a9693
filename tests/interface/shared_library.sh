#!/bin/sh
# The shared library exports exactly the listed names, the header declares each of them, and at run time
# it needs libc and libm alone.
# usage: shared_library.sh LIBRARY NAMES INCLUDE_DIR CC NM READELF
set -eu
library=$1 names=$2 include=$3 cc=$4 nm=$5 readelf=$6
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

sort "$names" >"$work/listed"
"$nm" -D --defined-only "$library" | awk '$2 != "A" {sub("@.*", "", $3); print $3}' | sort >"$work/exported"
diff -u "$work/listed" "$work/exported" || { echo "exports differ from the lists" >&2; exit 1; }

# A C program that refers to every name links against the library: each is declared, and is there.
{
  echo '#include "tlux.h"'
  echo 'int main(void) { int n = 0;'
  sed 's/.*/n += (\&&) != 0;/' "$work/listed"
  echo 'return n == 0; }'
} >"$work/all.c"
"$cc" -std=c99 -w -Werror=implicit-function-declaration -I"$include" "$work/all.c" "$library" -lm \
  -o "$work/all"

"$readelf" -d "$library" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' >"$work/needed"
if grep -v -E '^(libc|libm|ld-linux[^.]*)\.so' "$work/needed"; then
  echo "the library needs more than libc and libm" >&2
  exit 1
fi
"$readelf" -d "$library" | grep -q 'SONAME.*\[libtlux\.so\.[0-9]*\]'

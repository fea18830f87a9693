#!/bin/sh
# Two files of the library must not have multiversioned functions of one name: their resolvers would be
# taken for one and the same.
# usage: unique_resolvers.sh NM LIBRARY
set -eu
twice=$("$1" "$2" 2>/dev/null | sed -n 's/.* [A-Za-z] \(.*\.resolver\)$/\1/p' | sort | uniq -d)
[ -z "$twice" ] || { echo "more than one function: $twice" >&2; exit 1; }

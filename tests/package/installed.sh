#!/bin/sh
# Installs the build into an empty folder, moves it, and builds consumers against it.
# usage: installed.sh BUILD_DIR CC CXX VERSION COMMAND     (COMMAND empty: the build has none)
set -eu
build=$1 cc=$2 cxx=$3 version=$4 command=$5
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/first" >/dev/null
mv "$work/first" "$work/tlux"
prefix=$work/tlux
pc=$(find "$prefix" -name tlux.pc)
lib=$(dirname "$(dirname "$pc")")
if grep -r -l -e "$build" -e "$work/first" "$lib/cmake" "$pc"; then
  echo "paths of the build installed" >&2
  exit 1
fi
LD_LIBRARY_PATH=$lib PKG_CONFIG_PATH=$(dirname "$pc") CMAKE_PREFIX_PATH=$prefix \
  "$here/consumers.sh" "$cc" "$cxx" "$version"

if [ -n "$command" ]; then
  "$prefix/bin/tlux" --help >/dev/null
  for file in man/man1/tlux.1 bash-completion/completions/tlux zsh/site-functions/_tlux \
    fish/vendor_completions.d/tlux.fish; do
    grep -q enhance "$prefix/share/$file" || { echo "$file is not there or tells nothing" >&2; exit 1; }
  done
fi

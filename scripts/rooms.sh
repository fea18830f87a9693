#!/bin/sh
# Fails if a file in src/ or apps/tlux/ includes a header from a folder that comes later than its own in the list in
# CMakeLists.txt, or if a folder is missing from that list. usage: scripts/rooms.sh
set -eu
cd "$(dirname "$0")/.."

# check ROOT LISTS NAME: folders of ROOT, in the order of the CMake list NAME of the file LISTS
check() {
  order=$(sed -n "/^set($3\$/,/)/{s/^set($3//;s/)//;p}" "$2" | xargs)
  [ -n "$order" ] || { echo "$2: no list $3" >&2; exit 1; }

  # Public headers (tlux.h, tlux/) belong to no folder; files directly in ROOT may include everything.
  git ls-files "$1/*/*.cpp" "$1/*/*.hpp" | xargs grep -nH '^ *# *include *"' | grep -v '"tlux[./]' |
    sed "s|^$1/||" |
    awk -F '[/:"]' -v order="$order" -v root="$1" -v lists="$2" '
      BEGIN { for (i = split(order, names, " "); i > 0; --i) rank[names[i]] = i }
      # folder / file : line : #include " folder / header "
      !($1 in rank) { print root "/" $1 " is not in the list of " lists; bad = 1; next }
      !($5 in rank) { print root "/" $1 "/" $2 ":" $3 ": the header is in no folder: " $5; bad = 1; next }
      rank[$5] > rank[$1] { print root "/" $1 "/" $2 ":" $3 ": " $1 " includes " $5 "/" $6 ", which comes later"; bad = 1 }
      END {
        if (NR == 0) { print "no includes found in " root; bad = 1 }
        exit bad
      }' >&2
}

check src src/CMakeLists.txt subsystems
check apps/tlux apps/CMakeLists.txt folders

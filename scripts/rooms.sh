#!/bin/sh
# Fails when a file in src/ includes a header of a subsystem that comes later than its own in the list of
# src/CMakeLists.txt, or when a folder of src/ is missing from that list. usage: scripts/rooms.sh
set -eu
cd "$(dirname "$0")/.."
order=$(sed -n '/^set(subsystems$/,/)/{s/^set(subsystems//;s/)//;p}' src/CMakeLists.txt | xargs)
[ -n "$order" ] || { echo "src/CMakeLists.txt: no list of subsystems" >&2; exit 1; }

# Public headers (tlux.h, tlux/) belong to no subsystem.
git ls-files 'src/*.cpp' 'src/*.hpp' | xargs grep -nH '^ *# *include *"' | grep -v '"tlux[./]' |
  awk -F '[/:"]' -v order="$order" '
    BEGIN { for (i = split(order, names, " "); i > 0; --i) rank[names[i]] = i }
    # src / subsystem / file : line : #include " subsystem / header "
    !($2 in rank) { print "src/" $2 " is not in the list of src/CMakeLists.txt"; bad = 1; next }
    !($6 in rank) { print $1 "/" $2 "/" $3 ":" $4 ": the header is in no subsystem: " $6; bad = 1; next }
    rank[$6] > rank[$2] { print $1 "/" $2 "/" $3 ":" $4 ": " $2 " includes " $6 "/" $7 ", which comes later"; bad = 1 }
    END {
      if (NR == 0) { print "no includes found in src/"; bad = 1 }
      exit bad
    }' >&2

#!/bin/sh
# Compiles the Java half of the camera example, strictly, and runs frames through its native half.
# usage: host_test.sh JAVAC JAVA EXAMPLE_DIR NATIVE_LIBRARY
set -eu
javac=$1 java=$2 example=$3 library=$4
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$javac" -Xlint:all -Werror --release 11 -d "$work/example" "$here"/android_media/android/media/*.java \
  "$example"/java/org/tlux/camera/*.java
"$javac" -Xlint:all,-try -Werror -cp "$work/example" -d "$work/test" "$here/HostTest.java"
"$java" -Xcheck:jni -Djava.library.path="$(dirname "$library")" -cp "$work/example:$work/test" HostTest >"$work/log" 2>&1 ||
  { cat "$work/log" >&2; exit 1; }
# What the checks of the Java machine say, they say on the output.
if [ -s "$work/log" ]; then cat "$work/log" >&2; exit 1; fi

#!/bin/sh
# Configures the preset `android` with a stand-in for the NDK, GCC for AArch64, and looks at how it would build.
# usage: android.sh SOURCE_DIR
set -eu
source=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

mkdir -p "$work/ndk/build/cmake"
cat >"$work/ndk/build/cmake/android.toolchain.cmake" <<END
include("$source/cmake/aarch64-linux-gnu.cmake")
set(ANDROID TRUE)
set(ANDROID_NDK_REVISION 27.1.1)
string(REGEX REPLACE "^android-" "" ANDROID_PLATFORM_LEVEL "\${ANDROID_PLATFORM}")
END
ANDROID_NDK_HOME=$work/ndk
export ANDROID_NDK_HOME
(cd "$source" && cmake --preset android -B "$work/build") >"$work/log" 2>&1 || { cat "$work/log" >&2; exit 1; }
ninja -C "$work/build" -t commands tlux_shared >"$work/commands"

fail() {
  echo "$*" >&2
  exit 1
}
grep -q -e '-z,max-page-size=16384' "$work/commands" || fail "not linked for pages of 16 KiB"
grep -q -e '-O3 .*-ffp-contract=off' "$work/commands" || fail "not compiled as on other systems"
grep -q '"abi": "arm64-v8a", "api": 24, "ndk": 27' "$work/build/prefab/tlux/abi.json" || fail "abi.json is wrong"

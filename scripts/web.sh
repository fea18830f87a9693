#!/bin/sh
# Installs missing packages, builds the WebAssembly module, the npm package and the page, and tests them in Node and in
# a headless Chromium. usage: scripts/web.sh [--no-tests]
# Leaves build/web/tlux.html, build/web/package and, from the tests, build/web/screenshots.
set -eu
cd "$(dirname "$0")/.."
scripts/install_deps.sh web
cmake --preset wasm >/dev/null
cmake --build --preset wasm
npm ci --prefix web --ignore-scripts --no-audit --no-fund --loglevel=error
node web/build.mjs
[ "${1:-}" = --no-tests ] || ctest --preset wasm

#!/bin/sh
# Builds the wheel from python/ and the library in build/release, installs it into a new virtual environment and tests
# it there: types, tests, and the examples in its documentation. The wheel stays in build/python.
# PYTHON selects the interpreter, by default the system's, whose packages the environment can use.
set -eu
cd "$(dirname "$0")/.."
python=${PYTHON:-/usr/bin/python3}
work=$PWD/build/python
environment=$work/environment

scripts/install_deps.sh build app python
# Leaves out the library's tests, which need more packages.
cmake --preset release -DTLUX_BUILD_TESTS=OFF >/dev/null
cmake --build --preset release --target tlux_shared tlux_command

rm -rf "$work"
mkdir -p "$work"
TLUX_LIBRARY=$PWD/build/release/src/libtlux.so "$python" -m build --wheel --no-isolation --outdir "$work" python
"$python" -m venv --system-site-packages "$environment"
"$environment/bin/pip" install --quiet --no-deps --no-index "$work"/tlux-*.whl

cd python
"$python" -m mypy
# From here on the installed package is tested.
export TLUX_COMMAND=$OLDPWD/build/release/apps/tlux TLUX_WHEEL_FOLDER="$work"
"$environment/bin/python" -m pytest -q
"$environment/bin/python" -m pytest -q --pyargs --doctest-modules tlux --ignore-glob='*/archive/*'
"$environment/bin/python" -m pytest -q --doctest-glob='*.md' ../docs/python.md

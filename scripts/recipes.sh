#!/bin/sh
# Tests the recipes in build/release-files (scripts/release.sh): builds the RPM and Arch packages, runs the vcpkg
# portfile without vcpkg, and parses those for Conan and Homebrew. docs/packaging.md says what is not tested.
# Works in build/recipes.
set -eu
cd "$(dirname "$0")/.."
scripts/install_deps.sh build app pipelines recipes
version=$(scripts/version.py)
files=$PWD/build/release-files
work=$PWD/build/recipes
archive=$files/tlux-$version.tar.gz
rm -rf "$work"
mkdir -p "$work"

# Build dependencies were installed by another package manager, which rpm does not see.
echo "== RPM"
rpmbuild -bb --nodeps --define "_topdir $work/rpm" --define "_sourcedir $files" "$files/recipes/rpm/tlux.spec" \
  >"$work/rpm.log" 2>&1 || { tail -n 40 "$work/rpm.log" >&2; exit 1; }
find "$work/rpm/RPMS" -name '*.rpm'
# Warnings count as errors.
rpmlint --strict --rpmlintrc packaging/rpm/tlux.rpmlintrc "$files/recipes/rpm/tlux.spec" \
  $(find "$work/rpm/RPMS" -name '*.rpm') >"$work/rpmlint.log" 2>&1 || { cat "$work/rpmlint.log" >&2; exit 1; }

# makepkg refuses to run as root.
echo "== Arch"
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cp "$files/recipes/arch/PKGBUILD" "$archive" "$folder"
as_user=
if [ "$(id -u)" -eq 0 ]; then
  chown -R nobody "$folder"
  as_user='runuser -u nobody --'
fi
(cd "$folder" && $as_user env HOME="$folder" makepkg --nodeps >"$work/arch.log" 2>&1) ||
  { tail -n 40 "$work/arch.log" >&2; exit 1; }
cp "$folder"/*.pkg.tar* "$work"
for file in bin/tlux lib/libtlux.so lib/gstreamer-1.0/libgsttlux.so lib/frei0r-1/tlux.so share/man/man1/tlux.1; do
  tar -tf "$work"/*.pkg.tar* | grep -q "^usr/$file" || { echo "the Arch package has no $file" >&2; exit 1; }
done

echo "== vcpkg, Conan, Homebrew"
python3 -m json.tool "$files/recipes/vcpkg/vcpkg.json" >/dev/null
cmake -DPORTFILE="$files/recipes/vcpkg/portfile.cmake" -DARCHIVE="$archive" -DWORK="$work/vcpkg" \
  -P tests/package/vcpkg.cmake
python3 -c 'import ast, sys; ast.parse(open(sys.argv[1]).read())' "$files/recipes/conan/conanfile.py"
ruby -c "$files/recipes/homebrew/tlux.rb"

#!/bin/sh
# Makes the files of a release in build/release-files, and tags it: source archive, wheel, npm package, web page,
# recipes for package managers, SBOM and checksums. usage: scripts/release.sh VERSION | --dry-run
# VERSION must match CMakeLists.txt; CHANGELOG.md and debian/changelog must have an entry for it. A dry run tags
# nothing, reuses an existing wheel and page, and accepts unreleased changes.
set -eu
cd "$(dirname "$0")/.."
dry=
[ "${1:-}" != --dry-run ] || dry=yes
version=$(scripts/version.py)
files=$PWD/build/release-files
tag=v$version

fail() {
  echo "release.sh: $*" >&2
  exit 1
}
has_entry() { grep -A 2 "^## $1\$" CHANGELOG.md | grep -q '^[-A-Za-z]'; }

[ -n "$dry" ] || [ "${1:-}" = "$version" ] || fail "CMakeLists.txt has version $version, not '${1:-}'"
scripts/install_deps.sh build packages
has_entry "$version" || fail "CHANGELOG.md has no entry for $version"
[ "$(dpkg-parsechangelog -S Version | sed 's/-[^-]*$//')" = "$version" ] ||
  fail "debian/changelog has no entry for $version"
scripts/symbols.py --check
if [ -z "$dry" ]; then
  ! has_entry Unreleased || fail "CHANGELOG.md has unreleased changes"
  [ -z "$(git status --porcelain)" ] || fail "there are uncommitted changes"
  ! git rev-parse -q --verify "refs/tags/$tag" >/dev/null || fail "$tag already exists"
fi

wheel() { ls build/python/tlux-"$version"-*.whl 2>/dev/null; }
if [ -z "$dry" ] || [ -z "$(wheel)" ]; then scripts/python.sh; fi
if [ -z "$dry" ] || [ ! -f build/web/tlux.html ] || [ ! -f build/web/package/package.json ]; then scripts/web.sh; fi

rm -rf "$files"
mkdir -p "$files"
archive=$files/tlux-$version.tar.gz
# Times come from the commit, order and owners from git, so a commit always gives the same bytes. Debian adds its folder.
git archive --format=tar --prefix="tlux-$version/" HEAD -- . ':(exclude)debian' | gzip -9n >"$archive"
cp "$(wheel)" "$files"
cp build/web/tlux.html "$files/tlux-$version.html"
npm pack --silent --pack-destination "$files" ./build/web/package >/dev/null
[ -f "$files/tlux-$version.tgz" ] || fail "the npm package has a different version"
scripts/recipes.py "$archive" "$files/recipes"
time=$(TZ=UTC git log -1 --date=format-local:%Y-%m-%dT%H:%M:%SZ --format=%cd)
scripts/sbom.py "$time" "$files" >"$files/tlux-$version.spdx.json"
(cd "$files" && sha256sum tlux-* >SHA256SUMS)

if [ -z "$dry" ]; then
  git tag -a "$tag" -m "tlux $version"
  echo "created $tag; to publish it: git push origin $tag"
fi
(cd "$files" && ls -s)

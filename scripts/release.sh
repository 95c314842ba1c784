#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Makes everything that a release consists of, from the commit that is checked out, and puts it into build/dist/.
#
#   scripts/release.sh [--cache FOLDER] [--sign KEY] [--maintainer WHO] [--check] [ARCHITECTURE]...
#
#   ARCHITECTURE    Debian's name; amd64 and arm64 unless others are named
#   --cache FOLDER  keeps the bare systems there for the next time
#   --sign KEY      signs the checksums and makes the signed tag, which is pushed by hand
#   --maintainer 'NAME <ADDRESS>'
#                   who answers for the Debian packages; a signed release needs one
#   --check         only checks that the commit can be released
#
# Needs root and what `scripts/setup.sh release` installs. The same commit gives the same bytes, but for signatures.
# docs/releasing.md tells the steps around it.
set -euo pipefail
cd "$(dirname "$0")/.."

fail() { echo "release: $1" >&2; exit 1; }

cache=() key='' maintainer='' check=''
while [ $# -gt 0 ]; do
    case "$1" in
    --cache) cache=(--cache "$(realpath -m "${2:?--cache needs a folder}")"); shift 2 ;;
    --sign) key=${2:?--sign needs a key}; shift 2 ;;
    --maintainer) maintainer=${2:?--maintainer needs \'NAME <ADDRESS>\'}; shift 2 ;;
    --check) check=yes; shift ;;
    -*) sed -n '3,15s/^# \{0,1\}//p' "$0" >&2; exit 2 ;;
    *) break ;;
    esac
done
[ $# -gt 0 ] || set -- amd64 arm64
for architecture; do
    awk -v name="$architecture" '$1 == name && $4 == 64 { found = 1 } END { exit !found }' /usr/share/dpkg/cputable ||
        fail "$architecture is no 64-bit architecture of Debian"
done
[ -z "$key" ] || [ -n "$maintainer" ] || fail "a signed release needs --maintainer 'NAME <ADDRESS>'"

version=$(sed -n 's/^project(VornixToken VERSION \([0-9.]*\) .*/\1/p' CMakeLists.txt)
[ -n "$version" ] || fail "CMakeLists.txt names no version"
[ -z "$(git status --porcelain)" ] || fail "the tree has changes that are not committed"
grep -qE "^## $version, [0-9]{4}-[0-9]{2}-[0-9]{2}$" CHANGELOG.md ||
    fail "CHANGELOG.md has no entry '## $version, <date>'"
stale=$(grep -oE 'vornixtoken:[0-9.]+[0-9]|<version>[0-9.]+' README.md docs/guides/java.md | grep -vE "[:>]$version$" || true)
[ -z "$stale" ] || fail "another version is named: ${stale//$'\n'/, }"
! git rev-parse --quiet --verify "refs/tags/v$version" >/dev/null || fail "the tag v$version is there already"
if [ -n "$check" ]; then
    echo "release: $version can be released"
    exit 0
fi
[ "$(id -u)" -eq 0 ] || fail "needs root, for bare systems to build in"

SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
export SOURCE_DATE_EPOCH
dist=$PWD/build/dist/vornixtoken-$version
work=$PWD/build/dist/work
rm -rf "$dist" "$work"
mkdir -p "$dist" "$work"

git archive --format=tar --prefix="vornixtoken-$version/" HEAD | gzip --best --no-name >"$dist/vornixtoken-$version.tar.gz"

for architecture; do
    out=$work/$architecture
    # Debian 11's libraries run on old systems too; they go into the jar.
    [ "$architecture" != "$(dpkg --print-architecture)" ] ||
        scripts/portable-libraries.sh "$out/portable" "${cache[@]}"
    scripts/bare-debian.sh "${cache[@]}" --out "$out" bookworm \
        env SOURCE_DATE_EPOCH="$SOURCE_DATE_EPOCH" packaging/build.sh "$architecture" \
        ${maintainer:+-DCPACK_DEBIAN_PACKAGE_MAINTAINER="$maintainer"}
    # What is not bound to an architecture comes from each build, and must be the same.
    for file in "$out"/*.deb "$out"/*.jar; do
        [ ! -e "$dist/${file##*/}" ] || cmp "$file" "$dist/${file##*/}"
        cp "$file" "$dist"
    done
done

# All but the tool, which no program has as a dependency.
jars=$(find "$dist" -name 'vornixtoken*.jar' ! -name vornixtoken-tool.jar -printf '%p;')
cmake -D REPOSITORY="$work/maven" -D VERSION="$version" -D JARS="${jars%;}" -P packaging/maven/repository.cmake
tar --create --directory "$work" --sort=name --owner=0 --group=0 --numeric-owner --mtime="@$SOURCE_DATE_EPOCH" maven |
    gzip --best --no-name >"$dist/vornixtoken-$version-maven.tar.gz"

packaging/sbom.sh "$version" "$work/$1/built-with" "$dist" >"$work/sbom"
mv "$work/sbom" "$dist/vornixtoken-$version.spdx.json"
(cd "$dist" && sha256sum -- * >"$work/SHA256SUMS")
mv "$work/SHA256SUMS" "$dist"

# The tag's message is what the changelog says of this version.
sed -n "/^## $version,/,/^## /{/^## /!p}" CHANGELOG.md | sed '1{/^$/d}' >"$work/message"
tag=(git tag --sign --cleanup=whitespace --file "$work/message" "v$version")
if [ -n "$key" ]; then
    gpg --batch --yes --local-user "$key" --armor --detach-sign "$dist/SHA256SUMS"
    "${tag[@]}" --local-user "$key"
    echo "release: signed, and tagged as v$version; push the tag when the release is published"
else
    echo "release: to sign, name a key with --sign, or: ${tag[*]}"
fi
echo "release: $dist"

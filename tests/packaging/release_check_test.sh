#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# What scripts/release.sh refuses to release, each time by one sentence. SOURCE and VERSION name the source and the
# project's version.
set -euo pipefail

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
mkdir scripts
cp "$SOURCE/scripts/release.sh" scripts
cp "$SOURCE"/{CMakeLists.txt,CHANGELOG.md,README.md} .
mkdir -p docs/guides
cp "$SOURCE/docs/guides/java.md" docs/guides
export GIT_CONFIG_GLOBAL=/dev/null GIT_CONFIG_SYSTEM=/dev/null GIT_AUTHOR_NAME=test GIT_AUTHOR_EMAIL=test@localhost
export GIT_COMMITTER_NAME=test GIT_COMMITTER_EMAIL=test@localhost
git init --quiet
commit() { git add --all && git commit --quiet --allow-empty --message "$1"; }

# expect_refusal <sentence> [argument of release.sh]...
expect_refusal() {
    local said
    ! said=$(scripts/release.sh --check "${@:2}" 2>&1) || { echo "not refused: $1" >&2; exit 1; }
    [ "$said" = "release: $1" ] || { printf '%s\n' "expected: release: $1" "said: $said" >&2; exit 1; }
}

sed -i "s/^## $VERSION,.*/## $VERSION, not released yet/" CHANGELOG.md
commit "a changelog without a date"
expect_refusal "CHANGELOG.md has no entry '## $VERSION, <date>'"

sed -i "s/^## $VERSION,.*/## $VERSION, 2000-01-01/" CHANGELOG.md
expect_refusal "the tree has changes that are not committed"

commit "a date"
[ "$(scripts/release.sh --check)" = "release: $VERSION can be released" ]
expect_refusal "i386 is no 64-bit architecture of Debian" amd64 i386
expect_refusal "pdp11 is no 64-bit architecture of Debian" pdp11
expect_refusal "a signed release needs --maintainer 'NAME <ADDRESS>'" --sign KEY
scripts/release.sh --check --sign KEY --maintainer 'Somebody <somebody@localhost>' >/dev/null

git tag "v$VERSION"
expect_refusal "the tag v$VERSION is there already"
git tag --delete "v$VERSION" >/dev/null

sed -i "s/vornixtoken:$VERSION/vornixtoken:0.9/" docs/guides/java.md
commit "another version in the guide"
expect_refusal "another version is named: docs/guides/java.md:vornixtoken:0.9"

#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Makes a release twice, in two clones of the commit in folders of different depth, and compares the bytes.
#
#   tests/packaging/release_twice.sh [OPTION or ARCHITECTURE of release.sh]...
#
# If the changelog gives the version no date, the clones do. Needs what scripts/release.sh needs.
set -euo pipefail
cd "$(dirname "$0")/../.."

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
git clone --quiet . "$folder/one"
sed -i 's/^\(## [0-9.]*\), not released yet$/\1, 2000-01-01/' "$folder/one/CHANGELOG.md"
git -C "$folder/one" -c user.name=test -c user.email=test@localhost commit --quiet --allow-empty --all --message "a date"
git clone --quiet "$folder/one" "$folder/the/other/one"
for clone in one the/other/one; do
    "$folder/$clone/scripts/release.sh" "$@"
done
diff -r "$folder/one/build/dist" "$folder/the/other/one/build/dist" --exclude=work
(cd "$folder"/one/build/dist/vornixtoken-*/ && sha256sum --check --quiet SHA256SUMS && wc -l SHA256SUMS)

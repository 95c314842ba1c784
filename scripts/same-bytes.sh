#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Builds a copy of the tree elsewhere and compares the libraries and jars with those of a build folder, byte for byte.
#
#   scripts/same-bytes.sh <build folder of the preset release>
set -euo pipefail

[ $# -eq 1 ] || { sed -n '3,5s/^# \{0,1\}//p' "$0" >&2; exit 2; }
built=$(realpath "$1")
cd "$(dirname "$0")/.."
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

mkdir "$folder/source"
git ls-files -z | tar --create --null --files-from=- | tar --extract --directory "$folder/source"
cmake --preset release -S "$folder/source" -B "$folder/build" -DVORNIX_TESTS=OFF >/dev/null
cmake --build "$folder/build" >"$folder/log" || { cat "$folder/log" >&2; exit 1; }

compared=0
for file in "$folder"/build/*.so "$folder"/build/*.jar; do
    cmp "$file" "$built/${file##*/}"
    compared=$((compared + 1))
done
echo "$compared files are the same, byte for byte"

#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Builds libraries and jars from two copies of the tree, in folders of different depth, and compares them byte for byte.
set -euo pipefail
cd "$(dirname "$0")/.."

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
# ccache may write other names of sources into debug information.
unset CMAKE_CXX_COMPILER_LAUNCHER

# build <copy of the tree> <build folder>
build() {
    mkdir -p "$1"
    git ls-files -z | tar --create --null --files-from=- | tar --extract --directory "$1"
    cmake -G Ninja -S "$1" -B "$2" -DVORNIX_JAVA=ON >/dev/null
    cmake --build "$2" >"$folder/log" || { cat "$folder/log" >&2; exit 1; }
}
build "$folder/here" "$folder/here/build/release"
build "$folder/further/away" "$folder/elsewhere"

compared=0
cd "$folder/here/build/release"
for file in *.so *.jar; do
    cmp "$file" "$folder/elsewhere/$file"
    compared=$((compared + 1))
done
echo "$compared files are the same, byte for byte"

#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Runs clang-tidy on the sources that the arguments name, or on every C++ source.
#
#   scripts/tidy.sh [<source>...]
#
# Each source is compiled by itself as clang compiles it in build/clang, and a compiler's warning is an error too.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh ci
cmake --preset release -B build/clang -DCMAKE_CXX_COMPILER=clang++ -DVORNIX_JAVA=ON -DVORNIX_BENCH=ON >/dev/null

if [ $# -eq 0 ]; then
    # One source must not compile, and one belongs to another project.
    mapfile -t sources < <(git ls-files '*.cpp' ':!tests/jni/mismatched_native.cpp' ':!tests/packaging/program')
    set -- "${sources[@]}"
fi
printf '%s\n' "$@" | xargs -P "$(nproc)" -n 1 clang-tidy -p build/clang --quiet

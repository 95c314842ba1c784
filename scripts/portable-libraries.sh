#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Builds the native libraries on Debian 11, so that they run on old systems and new ones, and checks that they do.
#
#   scripts/portable-libraries.sh FOLDER [OPTION of bare-debian.sh]...
#
# FOLDER gets the libraries, stripped. They need no more than glibc 2.28 and the C++ library of GCC 5: Debian 10,
# RHEL 8 and Ubuntu 20.04 have that. Needs root and debootstrap, as scripts/bare-debian.sh says.
set -euo pipefail
cd "$(dirname "$0")/.."

[ $# -ge 1 ] || { sed -n '3,8s/^# \{0,1\}//p' "$0" >&2; exit 2; }
folder=$1
shift

# shellcheck disable=SC2016 # expanded by the shell inside
scripts/bare-debian.sh --out "$folder" "$@" bullseye sh -euc '
    scripts/setup.sh library
    cmake -S . -B build
    cmake --build build -j "$(nproc)"
    for library in build/*.so; do
        strip --strip-unneeded -o "/out/${library#build/}" "$library"
    done'
scripts/needed-versions.sh "$folder"/*.so

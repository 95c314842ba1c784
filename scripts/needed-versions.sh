#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Whether libraries run on old systems: every version of a symbol that they need must be one that Debian 10, RHEL 8 and
# Ubuntu 20.04 have.
#
#   scripts/needed-versions.sh LIBRARY...
set -euo pipefail

[ $# -ge 1 ] || { sed -n '3,6s/^# \{0,1\}//p' "$0" >&2; exit 2; }

# CXXABI_1.3.9 came with GLIBCXX_3.4.21, in GCC 5.
limits='GLIBC_2.28 GLIBCXX_3.4.21 CXXABI_1.3.9 GCC_7.0.0'
limit_of() { tr ' ' '\n' <<<"$limits" | grep "^${1%_*}_"; }

status=0
for library in "$@"; do
    needed=$(readelf --version-info --wide "$library" | sed -n '/^Version needs/,$s/.*Name: \([A-Z_]*_[0-9.]*\) .*/\1/p' |
        sort -uV)
    [ -n "$needed" ] || { echo "$library: names no versions, which no C++ library does" >&2; status=1; }
    for version in $needed; do
        limit=$(limit_of "$version") || limit=''
        [ "$(printf '%s\n' "$version" "$limit" | sort -V | tail -n 1)" = "$limit" ] ||
            { echo "$library: needs $version, but older systems have ${limit:-nothing of the kind}" >&2; status=1; }
    done
    echo "$library: ${needed//$'\n'/ }"
done
exit "$status"

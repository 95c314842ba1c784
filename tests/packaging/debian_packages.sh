#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Builds the Debian packages, has lintian judge them, and uses them in bare systems: installs, runs, upgrades, removes.
#
#   tests/packaging/debian_packages.sh [SUITE]...     bookworm and trixie, unless others are named
#
# Needs root, Debian 12 to build on, lintian, and what scripts/bare-debian.sh needs. CACHE may name a folder for the
# bare systems.
set -euo pipefail
cd "$(dirname "$0")/../.."

[ $# -gt 0 ] || set -- bookworm trixie
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
cmake --preset packages
cmake --build --preset packages
cpack --config build/packages/CPackConfig.cmake -B "$out/packages"
cpack --config build/packages/CPackConfig.cmake -B "$out/newer" -D CPACK_PACKAGE_VERSION=999
rm -rf "$out"/*/_CPack_Packages
cp -r build/packages/java/examples/java_examples.classes "$out/examples"

lintian --allow-root --fail-on error,warning "$out"/packages/*.deb

for suite; do
    echo "== $suite"
    scripts/bare-debian.sh ${CACHE:+--cache "$CACHE"} --out "$out" "$suite" tests/packaging/in_bare_system.sh
done

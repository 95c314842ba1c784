#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Builds packages and jars for one architecture in a bare Debian 12, and leaves them in /out. scripts/release.sh runs it.
#
#   packaging/build.sh ARCHITECTURE [OPTION of cmake]...
#
# /out/portable may hold the libraries that the jar carries in place of those that are built here.
set -euo pipefail
cd "$(dirname "$0")/.."
architecture=$1
shift
native=$(dpkg --print-architecture)
export DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8

scripts/setup.sh build
options=()
more=(dpkg-dev file)
if [ "$architecture" != "$native" ]; then
    apt-get install -y -q --no-install-recommends dpkg-dev file
    compiler=$(dpkg-architecture --host-arch "$architecture" --query DEB_HOST_GNU_CPU 2>/dev/null)
    dpkg --add-architecture "$architecture"
    apt-get update -q
    more=("g++-${compiler/_/-}-linux-gnu" "libp11-kit-dev:$architecture" "libpcsclite-dev:$architecture"
        "libssl-dev:$architecture" "libgnutls28-dev:$architecture")
    options=(--toolchain cmake/Cross.cmake -DVORNIX_TARGET="$compiler"
        -DCMAKE_INSTALL_LIBDIR="lib/$compiler-linux-gnu")
fi
apt-get install -y -q --no-install-recommends "${more[@]}"
[ ! -d /out/portable ] || options+=(-DVORNIX_PORTABLE_LIBRARIES=/out/portable)

cmake --preset packages "${options[@]}" "$@"
cmake --build --preset packages
# dpkg-shlibdeps looks at libraries of the architecture that dpkg-architecture names.
dpkg-architecture --host-arch "$architecture" --force --command cpack --config build/packages/CPackConfig.cmake -B /out/made
mv /out/made/*.deb /out
rm -rf /out/made
find build/packages -maxdepth 1 -name 'vornixtoken*.jar' -type f -exec cp -t /out {} +
dpkg-query --show --showformat '${binary:Package}\t${Version}\n' >/out/built-with

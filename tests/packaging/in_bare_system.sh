#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Uses the packages of /out/packages and /out/newer in a bare Debian. debian_packages.sh runs it there, as root.
set -euo pipefail

reader='Vornix Soft Reader 00 00'
module=$(echo /usr/lib/*-linux-gnu)/pkcs11/libvornix_softtoken.so
packages=(libvornixtoken-{jni,java,dev} vornixtoken-{tools,softtoken})
export VORNIX_SOFTTOKEN_DIR=/tmp/token DEBIAN_FRONTEND=noninteractive

fail() { echo "$*" >&2; exit 1; }
step() { echo "-- $*"; }
install_packages() { apt-get install -y -q --no-install-recommends "$@" >/tmp/log 2>&1; }
known() { dpkg-query -W -f '${Package} ${db:Status-Abbrev}\n' '*vornix*' 2>/dev/null || true; }

# shows_the_model <command>...
shows_the_model() {
    "$@" >/tmp/output 2>&1 || { cat /tmp/output; fail "failed: $*"; }
    grep -q 'software token' /tmp/output || { cat /tmp/output; fail "no model: $*"; }
}

everything_runs() {
    shows_the_model vornixtoken-tool info --module "$module" --terminal "$reader"
    shows_the_model java -cp /out/examples:/usr/share/java/vornixtoken.jar examples.ReadTokenInfo "$module" "$reader"
    shows_the_model /tmp/by_cmake/token_reader "$module" "$reader"
    shows_the_model /tmp/by_pkg_config "$module" "$reader"
}

apt-get update -q >/dev/null

step "a package whose dependency is nowhere is refused whole"
! install_packages /out/packages/vornixtoken-tools_*.deb || fail "the tool was installed without its classes"
grep -q 'Depends: libvornixtoken-java' /tmp/log || { cat /tmp/log; fail "the missing package is not named"; }
[ -z "$(known)" ] || fail "half installed: $(known)"

step "a package for another architecture is refused whole"
dpkg-deb --raw-extract /out/packages/libvornixtoken-jni_*.deb /tmp/other
sed -i 's/^Architecture: .*/Architecture: s390x/' /tmp/other/DEBIAN/control
dpkg-deb --build /tmp/other /tmp/other.deb >/dev/null
! dpkg --install /tmp/other.deb >/tmp/log 2>&1 || fail "a package for s390x was installed"
grep -q 'package architecture (s390x) does not match system' /tmp/log || { cat /tmp/log; fail "no architecture named"; }
[ -z "$(known)" ] || fail "half installed: $(known)"

step "install"
install_packages /out/packages/*.deb g++ cmake make pkg-config || { cat /tmp/log; fail "not installed"; }

step "programs in C++, Java and on the command line"
cmake -S tests/packaging/program -B /tmp/by_cmake -DCMAKE_SKIP_RPATH=ON >/dev/null
cmake --build /tmp/by_cmake >/dev/null
# shellcheck disable=SC2046 # several words
c++ tests/packaging/program/token_reader.cpp -o /tmp/by_pkg_config $(pkg-config --cflags --libs vornixtoken)
everything_runs

step "upgrade"
install_packages /out/newer/*.deb || { cat /tmp/log; fail "not upgraded"; }
[ "$(dpkg-query -W -f '${Version}\n' "${packages[@]}" | sort -u)" = 999 ] || fail "a package is left behind"
everything_runs

step "remove and purge"
dpkg -L "${packages[@]}" | sort -u >/tmp/installed
dpkg --remove "${packages[@]}" >/tmp/log 2>&1 || { cat /tmp/log; fail "not removed"; }
dpkg --purge "${packages[@]}" >>/tmp/log 2>&1 || { cat /tmp/log; fail "not purged"; }
[ -z "$(known)" ] || fail "still known: $(known)"
while read -r path; do
    [ -d "$path" ] || [ ! -e "$path" ] || fail "a rest: $path"
done </tmp/installed
rest=$(find / -xdev \( -path /proc -o -path /src -o -path /out -o -path /tmp \) -prune -o -iname '*vornix*' -print)
[ -z "$rest" ] || fail "a rest: $rest"
! ldconfig -p | grep -i vornix || fail "the loader still knows the library"
! /tmp/by_pkg_config "$module" "$reader" >/dev/null 2>&1 || fail "a program still finds the library"

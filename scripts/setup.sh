#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Installs the Debian packages that are missing for what the arguments name.
#
#   scripts/setup.sh library the native libraries alone
#   scripts/setup.sh build   library, and the software token and the Java classes
#   scripts/setup.sh demo    build, and what the demonstration runs on
#   scripts/setup.sh test    demo, and what the tests use
#   scripts/setup.sh docs    build, and what builds the documents
#   scripts/setup.sh ci      test, and the tools of the longer lanes
#   scripts/setup.sh release build, and what makes and judges packages
#
# Asks for the administrator's rights (sudo) only when something is missing and the caller is not root.
set -euo pipefail

library=(cmake g++ make default-jdk-headless libp11-kit-dev libpcsclite-dev)
build=("${library[@]}" ninja-build libssl-dev libgnutls28-dev softhsm2 libpicocli-java)
demo=("${build[@]}" openssl libbcpkix-java pcscd vsmartcard-vpcd iproute2 util-linux)
# Debian 12 has OpenSSL's GOST engine too; Debian 13 has Bouncy Castle alone as judge of GOST.
[ "$(sed -n 's/^VERSION_ID="\(.*\)"$/\1/p' /etc/os-release)" != 12 ] || demo+=(libengine-gost-openssl)
# Where Java measures a text, it needs the three of fonts. On Debian 13 a Java without windows does not bring them.
test=("${demo[@]}" libfontconfig1 libfreetype6 libharfbuzz0b libgtest-dev libgmock-dev junit5 binutils
      opensc gnutls-bin pkg-config git fish libnss3 mandoc p11-kit-modules zsh)
docs=("${build[@]}" mkdocs doxygen)
# Xvfb and a Java with windows bring a whole graphics stack, for one test.
ci=("${test[@]}" default-jre xvfb mkdocs doxygen clang clang-format clang-tidy libclang-rt-14-dev valgrind shellcheck
    maven libmaven-compiler-plugin-java libmaven-resources-plugin-java libexec-maven-plugin-java)
release=("${build[@]}" binutils debootstrap dpkg-dev file git gpg lintian)

case "${1:-}" in
library) packages=("${library[@]}") ;;
build) packages=("${build[@]}") ;;
demo) packages=("${demo[@]}") ;;
test) packages=("${test[@]}") ;;
docs) packages=("${docs[@]}") ;;
ci) packages=("${ci[@]}") ;;
release) packages=("${release[@]}") ;;
*)
    sed -n '3,13s/^# \{0,1\}//p' "$0" >&2
    exit 2
    ;;
esac

command -v dpkg-query >/dev/null || { echo "setup: knows Debian only; README.md names what is needed" >&2; exit 1; }
# A package of another architecture beside this machine's is another package.
ours="installed ($(dpkg --print-architecture)|all)"
missing=()
for package in "${packages[@]}"; do
    dpkg-query -W -f '${db:Status-Status} ${Architecture}\n' "$package" 2>/dev/null | grep -xE "$ours" >/dev/null ||
        missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || { echo "setup: run as root, or install sudo: ${missing[*]} missing" >&2; exit 1; }
    as_root=(sudo)
fi
echo "setup: installing ${missing[*]}"
"${as_root[@]}" apt-get update -q
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "${missing[@]}"

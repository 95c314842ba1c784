#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Installs what is missing, builds the release and shows the library at work: a Java program leads a software token
# through its whole life and says what it does and checks. Its last step, which resets a reader, needs root.
# The token is kept in a folder of its own, which is removed at the end.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh demo
build=build/demo
cmake --preset release -B $build -DVORNIX_TESTS=OFF -DVORNIX_VIRTUAL_READER=ON -DVORNIX_WERROR=OFF
cmake --build $build --target VornixToken_Javalib vornixtoken_session vornix_softtoken with_virtual_card token_demo_jar

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
# Initialisation sets this PIN; the PUK may be any.
export VORNIX_SOFTTOKEN_DIR=$folder/token VORNIX_USER_PIN=12345678 VORNIX_SO_PIN=87654321
# p11-kit and SoftHSM2 show no token of this machine, whatever program asks them.
mkdir "$folder/pkcs11"
echo "user-config: only" >"$folder/pkcs11/pkcs11.conf"
export XDG_CONFIG_HOME=$folder SOFTHSM2_CONF=$folder/softhsm2.conf

echo
java -Djava.io.tmpdir="$folder" -Djava.library.path=$build -jar $build/token-demo.jar \
    life $build/libvornix_softtoken.so "Vornix Soft Reader 00 00" \
    tools/virtual_reader/in_pcsc_namespace.sh $build/with_virtual_card

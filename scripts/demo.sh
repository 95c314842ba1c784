#!/usr/bin/env bash
# Installs what is missing, builds the release and shows the library at work: a Java program drives a SoftHSM2 token in a folder of its
# own, which is removed at the end.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh demo
cmake --preset release -DVORNIX_TESTS=OFF -B build/demo
cmake --build build/demo

store=$(mktemp -d)
trap 'rm -rf "$store"' EXIT
mkdir "$store/tokens"
echo "directories.tokendir = $store/tokens" >"$store/softhsm2.conf"
export SOFTHSM2_CONF=$store/softhsm2.conf VORNIX_USER_PIN=12345678 VORNIX_SO_PIN=87654321

# SoftHSM2 describes a slot by its ID, which it draws when a token is initialised, and always adds a blank slot with the ID 1.
# A reader name beginning with "… 0x1" would mean that one, which comes last: draw again.
reader="SoftHSM slot ID 0x1"
while [[ $reader == *" 0x1"* ]]; do
    rm -rf "$store"/tokens/*
    answer=$(softhsm2-util --init-token --free --label "Demo token" --pin "$VORNIX_USER_PIN" --so-pin "$VORNIX_SO_PIN")
    reader=$(printf 'SoftHSM slot ID 0x%x' "$(grep -o '[0-9]*$' <<<"$answer")")
done

printf '\nThe token is in the reader "%s".\n' "$reader"
java -Djava.library.path=build/demo -jar build/demo/token-demo.jar /usr/lib/softhsm/libsofthsm2.so "$reader"

#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Runs a command with a screen of its own, which nobody sees, by the program XVFB.
set -eu

folder=$(mktemp -d)
"${XVFB:?}" -displayfd 3 -screen 0 800x600x24 -nolisten tcp 3>"$folder/display" 2>"$folder/log" &
server=$!
trap 'kill "$server" 2>/dev/null || true; wait "$server" || true; rm -r "$folder"' EXIT
until [ -s "$folder/display" ]; do
    kill -0 "$server" 2>/dev/null || { cat "$folder/log" >&2; exit 1; }
    sleep 0.1
done
DISPLAY=:$(cat "$folder/display") "$@"

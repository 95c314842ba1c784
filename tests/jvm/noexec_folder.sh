#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Runs a command in a mount namespace of its own, in which the folder NOEXEC_FOLDER is mounted noexec. Ends with status
# 77 if the caller may not make such a namespace.
set -eu

as_root=
[ "$(id -u)" -eq 0 ] || as_root=--map-root-user
unshare $as_root --mount mount -t tmpfs -o noexec none "$NOEXEC_FOLDER" || exit 77
# shellcheck disable=SC2016 # expanded by the shell inside
exec unshare $as_root --mount sh -euc 'mount -t tmpfs -o noexec none "$NOEXEC_FOLDER"; exec "$@"' noexec_folder "$@"

#!/bin/sh
# Runs a command in a mount namespace of its own in which the folder NOEXEC_FOLDER is a file system that executes
# nothing. Ends with status 77 where such a namespace cannot be had.
set -eu

if [ "${1:-}" != --inside ]; then
    unshare --map-root-user --mount mount -t tmpfs -o noexec none "$NOEXEC_FOLDER" || exit 77
    exec unshare --map-root-user --mount sh "$0" --inside "$@"
fi
shift
mount -t tmpfs -o noexec none "$NOEXEC_FOLDER"
exec "$@"

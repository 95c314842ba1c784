#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Runs a command where a PC/SC service may be started without meeting this machine's own, its readers or its clients.
#
#   in_pcsc_namespace.sh COMMAND [ARGUMENT]...
#
# The command gets a network of its own, with nothing but the loopback device, since the virtual reader listens on every
# address; an empty /run, where the service keeps its socket; and no USB devices, whose readers the service would take.
# It replaces this process: its status is the status, and its end removes what was set up here.
#
# With the program with_virtual_card between, the command finds the reader "Virtual PCD 00 00" with a card in it:
#
#   in_pcsc_namespace.sh <build folder>/with_virtual_card COMMAND [ARGUMENT]...
#
# Status 77: nothing was run, because the caller may not make namespaces; root may, outside of a locked-down container.
set -eu

if [ $# -eq 0 ]; then
    sed -n '3,5s/^# \{0,1\}//p' "$0" >&2
    exit 2
fi
if ! refusal=$(unshare --net --mount true 2>&1); then
    echo "in_pcsc_namespace: skipped, needs root: $refusal" >&2
    exit 77
fi

unset PCSCLITE_CSOCK_NAME # would lead clients out of the namespace
# shellcheck disable=SC2016 # expanded by the shell inside
exec unshare --net --mount sh -euc '
    ip link set lo up
    mount -t tmpfs -o mode=0755 tmpfs /run
    mkdir /run/pcscd
    [ ! -d /sys/bus/usb ] || mount -t tmpfs tmpfs /sys/bus/usb
    exec "$@"' in_pcsc_namespace "$@"

#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Runs a command line of java with -Xcheck:jni. Any warning of the checker, which writes to standard output, fails.
#
#   silent_checked_jni.sh <java> -Xcheck:jni <argument>...
set -u

if ! "$1" -Xcheck:jni -XX:+PrintFlagsFinal -version 2>/dev/null | grep -q 'CheckJNICalls  *= true'; then
    echo "-Xcheck:jni does not switch the checker on" >&2
    exit 1
fi

output=$(mktemp)
trap 'rm -f "$output"' EXIT

"$@" >"$output" 2>&1
status=$?
cat "$output"
if grep -E 'WARNING|Warning|FATAL' "$output" >&2; then
    echo "-Xcheck:jni: the checker has something to say" >&2
    exit 1
fi
exit "$status"

#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Runs a command line of java with -Xcheck:jni and judges what the checker writes to standard output.
#
#   checked_jni.sh <java> -Xcheck:jni <argument>...
#
# The library asks for no pending exception after its calls into Java and keeps its local references until it returns;
# the checker says so in two kinds of warning. Any other warning fails, and so does a run in which the checker said
# nothing at all: then it was not on.
set -u

output=$(mktemp)
trap 'rm -f "$output"' EXIT

"$@" >"$output" 2>&1
status=$?

unchecked='^WARNING in native method: JNI call made without checking exceptions when required to from '
kept='^WARNING: JNI local refs: [0-9]+, exceeds capacity: [0-9]+$'
known="$unchecked|$kept"
told=$(grep -cE "$known" "$output")
others=$(grep -E 'WARNING|Warning|FATAL' "$output" | grep -vE "$known")

# Without the warnings and their stack traces, what is left is the report of the tests.
grep -vE "$known|^	at " "$output"
echo "-Xcheck:jni: $told warnings of the two known kinds"
if [ "$told" -eq 0 ]; then
    echo "-Xcheck:jni: the checker was silent" >&2
    exit 1
fi
if [ -n "$others" ]; then
    printf '%s\n' "-Xcheck:jni: warnings of another kind:" "$others" >&2
    exit 1
fi
exit "$status"

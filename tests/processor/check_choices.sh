#!/usr/bin/env bash
# Runs the program on a processor that qemu plays, and compares what it chose with what is expected.
#     check_choices.sh QEMU PROCESSOR CODEC CLEARING PROGRAM
set -euo pipefail

qemu=$1 processor=$2 codec=$3 clearing=$4 program=$5
expected="codec $codec
records cleared by $clearing"
chosen=$("$qemu" -cpu "$processor" "$program" 2>/dev/null)
if [ "$chosen" != "$expected" ]; then
    printf 'on %s, expected:\n%s\nchosen:\n%s\n' "$processor" "$expected" "$chosen"
    exit 1
fi

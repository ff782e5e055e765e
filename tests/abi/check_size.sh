#!/usr/bin/env bash
# Fails when the stripped library takes more than a number of KiB.
#     check_size.sh LIBRARY KIB
set -euo pipefail

library=$1 limit=$2
stripped=$(mktemp)
trap 'rm -f "$stripped"' EXIT
"${STRIP:-strip}" -o "$stripped" "$library"
size=$(stat -c %s "$stripped")
printf '%s bytes of %s\n' "$size" $((limit * 1024))
[ "$size" -le $((limit * 1024)) ]

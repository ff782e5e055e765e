#!/usr/bin/env bash
# Fails when a public record differs from the reviewed table, and shows how.
#     check_records.sh PRINTING-PROGRAM TABLE
set -euo pipefail

"$1" | diff --unified --label reviewed "$2" --label built - || {
    echo "A record's layout is part of the binary interface. If the change is meant: $1 --write $2"
    exit 1
}

#!/usr/bin/env bash
# Fails when the shared library's dynamic symbols differ from a reviewed list, and names those that do.
#     check_symbols.sh exports LIBRARY LIST    the library defines exactly the listed symbols
#     check_symbols.sh imports LIBRARY LIST    the library needs no symbol that is not listed
# A list has one symbol per line; # starts a comment.
set -euo pipefail

mode=$1 library=$2 list=$3
nm=${NM:-nm}

# Names without their versions; A is the version node itself.
symbols() { "$nm" --dynamic --format=posix "$@" "$library" | awk '$2 != "A" { sub(/@.*/, "", $1); print $1 }' | sort -u; }
listed() { sed 's/#.*//' "$list" | awk 'NF { print $1 }' | sort -u; }

case $mode in
exports) found=$(symbols --defined-only) ;;
imports) found=$(symbols --undefined-only) ;;
*) echo "usage: check_symbols.sh exports|imports LIBRARY LIST" >&2 && exit 2 ;;
esac
[ -n "$found" ] || { echo "$library: no dynamic symbols" >&2 && exit 1; }

unlisted=$(comm -23 <(echo "$found") <(listed))
missing=
[ "$mode" = imports ] || missing=$(comm -13 <(echo "$found") <(listed))
[ -z "$unlisted" ] || printf '%s\n' "not in $list:" "$unlisted"
[ -z "$missing" ] || printf '%s\n' "in $list, but not in $library:" "$missing"
[ -z "$unlisted$missing" ]

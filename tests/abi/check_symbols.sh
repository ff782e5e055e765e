#!/usr/bin/env bash
# Fails when the shared library's dynamic symbols differ from a reviewed list, and names those that do.
#     check_symbols.sh exports LIBRARY LIST    the library defines exactly the listed symbols, each with its version node
#     check_symbols.sh imports LIBRARY LIST    the library needs no symbol that is not listed
# A list has one symbol per line; # starts a comment, and @NODE says which version node the symbols below it bear.
set -euo pipefail

mode=$1 library=$2 list=$3
nm=${NM:-nm}

# A is the version node itself. What others define bears their nodes, which are none of ours.
defined() { "$nm" --dynamic --format=posix --defined-only "$library" | awk '$2 != "A" { print $1 }' | sort -u; }
undefined() { "$nm" --dynamic --format=posix --undefined-only "$library" | awk '{ sub(/@.*/, "", $1); print $1 }' | sort -u; }
listed() { sed 's/#.*//' "$list" | awk '/^@/ { node = "@" $1; next } NF { print $1 node }' | sort -u; }

case $mode in
exports) found=$(defined) ;;
imports) found=$(undefined) ;;
*) echo "usage: check_symbols.sh exports|imports LIBRARY LIST" >&2 && exit 2 ;;
esac
[ -n "$found" ] || { echo "$library: no dynamic symbols" >&2 && exit 1; }

unlisted=$(comm -23 <(echo "$found") <(listed))
missing=
[ "$mode" = imports ] || missing=$(comm -13 <(echo "$found") <(listed))
[ -z "$unlisted" ] || printf '%s\n' "not in $list:" "$unlisted"
[ -z "$missing" ] || printf '%s\n' "in $list, but not in $library:" "$missing"
[ -z "$unlisted$missing" ]

#!/usr/bin/env bash
# Fails when a public header does not compile alone, or not twice in one file, or warns in a project that is strict.
#     check_headers.sh LANGUAGE STANDARD ROOT COMPILER... -- HEADER...      headers as an #include below ROOT names them
set -euo pipefail

language=$1 standard=$2 root=$3
shift 3
compiler=()
while [ "$1" != -- ]; do
    compiler+=("$1")
    shift
done
shift
warnings=(-pedantic -Wall -Wextra -Wconversion -Wsign-conversion -Wshadow -Wcast-qual -Werror)
[ $# -gt 0 ] || { echo "no headers given" && exit 1; }

failed=0
for header; do
    printf '#include "%s"\n#include "%s"\nextern int some_declaration;\n' "$header" "$header" |
        "${compiler[@]}" -x "$language" -std="$standard" "${warnings[@]}" -fsyntax-only -I "$root" - ||
        { echo "$header does not compile alone as $standard" && failed=1; }
done
exit $failed

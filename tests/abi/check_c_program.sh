#!/usr/bin/env bash
# Compiles, links and runs a C99 program with the C compiler driver alone, and fails when it needs a C++ runtime.
#     check_c_program.sh COMPILER ROOT SOURCE PROGRAM LIBRARY-OR-LINKER-OPTION...
set -euo pipefail

compiler=$1 root=$2 source=$3 program=$4
shift 4
for library; do
    [[ $library == -* ]] || search_path=${search_path:+$search_path:}$(dirname "$library")
done

"$compiler" -std=c99 -pedantic -Wall -Wextra -Werror -I "$root" "$source" "$@" -Wl,-rpath,"$search_path" -o "$program"
"$program"
if "${READELF:-readelf}" --dynamic --wide "$program" | grep -E 'NEEDED.*(stdc\+\+|libc\+\+|libgcc|supc\+\+)'; then
    echo "the program needs a C++ runtime"
    exit 1
fi

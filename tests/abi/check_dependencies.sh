#!/usr/bin/env bash
# Fails when the shared library has another name than NAME or loads anything but the C library.
#     check_dependencies.sh LIBRARY NAME
set -euo pipefail

dynamic=$("${READELF:-readelf}" --dynamic --wide "$1")
soname=$(sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p' <<<"$dynamic")
needed=$(sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' <<<"$dynamic")
[ "$soname" = "$2" ] || { echo "soname is '$soname', expected '$2'" && exit 1; }
[ "$needed" = libc.so.6 ] || { printf '%s\n' "needs more than libc.so.6:" "$needed" && exit 1; }

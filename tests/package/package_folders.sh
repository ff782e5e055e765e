# No installed folder is empty: what is inside the library leaves nothing behind.
set -euo pipefail
empty=$(find "$PREFIX" -type d -empty)
[ -z "$empty" ] || { printf 'empty:\n%s\n' "$empty" && exit 1; }
[ -f "$PREFIX/include/rib/codec/zidl.h" ]

# The installed package through pkg-config, with the C compiler alone.
set -euo pipefail
rm -rf "$SCRATCH" && mkdir -p "$SCRATCH"
export PKG_CONFIG_PATH="$PREFIX/$LIBDIR/pkgconfig"
source="$(dirname "$0")/consumer/consumer.c"
"$CC" $SANITIZE -std=c99 -Wall -Wextra -Wpedantic -Werror $(pkg-config --cflags rib) "$source" \
    -o "$SCRATCH/consumer" $(pkg-config --libs rib)
[ "$(LD_LIBRARY_PATH="$PREFIX/$LIBDIR" "$SCRATCH/consumer")" = "7 89 ospf" ]
"$CC" $SANITIZE -std=c99 -Wall -Wextra -Wpedantic -Werror $(pkg-config --cflags rib-inspect) \
    "$(dirname "$0")/../../examples/log_drops.c" -o "$SCRATCH/log_drops" $(pkg-config --libs rib-inspect)
LD_LIBRARY_PATH="$PREFIX/$LIBDIR" "$SCRATCH/log_drops" | grep -q "route_prefix.address.family"

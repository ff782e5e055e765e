# The installed package through pkg-config, with the C compiler alone.
set -euo pipefail
rm -rf "$SCRATCH" && mkdir -p "$SCRATCH"
export PKG_CONFIG_PATH="$PREFIX/$LIBDIR/pkgconfig"
source="$(dirname "$0")/consumer/consumer.c"
"$CC" $SANITIZE -std=c99 -Wall -Wextra -Wpedantic -Werror $(pkg-config --cflags rib) "$source" \
    -o "$SCRATCH/consumer" $(pkg-config --libs rib)
[ "$(LD_LIBRARY_PATH="$PREFIX/$LIBDIR" "$SCRATCH/consumer")" = "7 89 ospf" ]

# The installed package through pkg-config, with the C compiler alone.
set -euo pipefail
rm -rf "$SCRATCH" && mkdir -p "$SCRATCH"
export PKG_CONFIG_PATH="$PREFIX/$LIBDIR/pkgconfig"
source="$(dirname "$0")/consumer/consumer.c"
"$CC" $SANITIZE -std=c99 -Wall -Wextra -Wpedantic -Werror $(pkg-config --cflags rib) "$source" \
    -o "$SCRATCH/consumer" $(pkg-config --libs rib)
[ "$(LD_LIBRARY_PATH="$PREFIX/$LIBDIR" "$SCRATCH/consumer")" = "7 89 ospf" ]
# A build option is what the library itself says, by the bits of rib_version.h.
printf '%s\n' '#include "rib.h"' '#include <stdio.h>' 'int main(void) { return printf("%u\n", (unsigned)rib_build_options()) < 0; }' \
    >"$SCRATCH/options.c"
"$CC" $SANITIZE $(pkg-config --cflags rib) "$SCRATCH/options.c" -o "$SCRATCH/options" $(pkg-config --libs rib)
expected=0
[ "$(pkg-config --variable=client_arena rib-core)" = OFF ] || expected=$((expected + 1))
[ "$(pkg-config --variable=dispatch rib)" = OFF ] || expected=$((expected + 2))
[ "$(LD_LIBRARY_PATH="$PREFIX/$LIBDIR" "$SCRATCH/options")" = "$expected" ]
"$CC" $SANITIZE -std=c99 -Wall -Wextra -Wpedantic -Werror $(pkg-config --cflags rib-inspect) \
    "$(dirname "$0")/../../examples/log_drops.c" -o "$SCRATCH/log_drops" $(pkg-config --libs rib-inspect)
LD_LIBRARY_PATH="$PREFIX/$LIBDIR" "$SCRATCH/log_drops" | grep -q "route_prefix.address.family"

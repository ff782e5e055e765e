# The installed package through pkg-config, with the C compiler alone.
set -euo pipefail
rm -rf "$SCRATCH" && mkdir -p "$SCRATCH"
export PKG_CONFIG_PATH="$PREFIX/$LIBDIR/pkgconfig"
# The prefix in the file is the configured one; the copy lies elsewhere.
flags=(--define-variable=prefix="$PREFIX")
source="$(dirname "$0")/consumer/consumer.c"
"$CC" $SANITIZE -std=c99 -Wall -Wextra -Wpedantic -Werror $(pkg-config "${flags[@]}" --cflags rib) "$source" \
    -o "$SCRATCH/consumer" $(pkg-config "${flags[@]}" --libs rib)
[ "$(LD_LIBRARY_PATH="$PREFIX/$LIBDIR" "$SCRATCH/consumer")" = "7 89 ospf" ]

# The installed package through pkg-config, with the C compiler alone, in a folder whose name has a blank.
set -euo pipefail
here=$(dirname "$0")
rm -rf "$SCRATCH" && mkdir -p "$SCRATCH"
ln -s "$PREFIX" "$SCRATCH/pre fix"
PREFIX="$SCRATCH/pre fix"
export PKG_CONFIG_PATH="$PREFIX/$LIBDIR/pkgconfig" LD_LIBRARY_PATH="$PREFIX/$LIBDIR"

# compile MODULE SOURCE PROGRAM [OPTION...]: pkg-config writes for a shell, which reads it twice.
compile() {
    local module=$1 source=$2 program=$3
    shift 3
    eval "flags=($(pkg-config "${static[@]}" --cflags --libs "$module"))"
    "$CC" $SANITIZE -std=c99 -Wall -Wextra -Wpedantic -Werror "$here/$source" -o "$SCRATCH/$program" "$@" "${flags[@]}"
}

static=()
compile rib consumer/consumer.c consumer
[ "$("$SCRATCH/consumer")" = "7 89 ospf" ]
compile rib-inspect ../../examples/log_drops.c log_drops
"$SCRATCH/log_drops" | grep -q "route_prefix.address.family"

# A build option is what the library itself says.
compile rib consumer/options.c options
expected=0
[ "$(pkg-config --variable=client_arena rib-core)" = OFF ] || expected=$((expected + 1))
[ "$(pkg-config --variable=dispatch rib)" = OFF ] || expected=$((expected + 2))
[ "$("$SCRATCH/options")" = "$expected" ]

# The libraries as needed, in their order: what is called stands behind what calls it.
for module in rib rib-inspect; do
    for option in "" --static; do
        libraries=$(pkg-config $option --libs-only-l "$module")
        [ -z "$(tr ' ' '\n' <<<"$libraries" | sed '/^$/d' | sort | uniq -d)" ] || { echo "twice in $libraries" && exit 1; }
    done
done
[ "$(pkg-config --libs-only-l rib)" = "-lrib -lrib_tlv -lrib_strutil " ]
[ "$(pkg-config --static --libs-only-l rib-inspect)" = "-lrib_inspect -lstdc++ -lm -lrib -lrib_tlv -lrib_strutil " ]

# Whole programs without any shared library. Sanitizers have no static runtime.
if [ -z "$SANITIZE" ]; then
    static=(--static)
    compile rib consumer/consumer.c consumer_static -static
    compile rib-inspect ../../examples/log_drops.c log_drops_static -static
    unset LD_LIBRARY_PATH
    [ "$("$SCRATCH/consumer_static")" = "7 89 ospf" ]
    "$SCRATCH/log_drops_static" | grep -q "route_prefix.address.family"
    if readelf --dynamic "$SCRATCH/log_drops_static" | grep NEEDED; then exit 1; fi
fi

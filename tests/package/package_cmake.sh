# The installed package through find_package(rib), in a folder whose name has a blank.
set -euo pipefail
rm -rf "$SCRATCH" && mkdir -p "$SCRATCH"
ln -s "$PREFIX" "$SCRATCH/pre fix"
PREFIX="$SCRATCH/pre fix"
build="$SCRATCH/bui ld"
cmake -G Ninja -S "$(dirname "$0")/consumer" -B "$build" -DCMAKE_PREFIX_PATH="$PREFIX" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_C_FLAGS="$SANITIZE" -DCMAKE_CXX_FLAGS="$SANITIZE" -DCMAKE_EXE_LINKER_FLAGS=-Wl,--as-needed >/dev/null
cmake --build "$build"
for program in consumer_c consumer_c_static; do
    [ "$("$build/$program")" = "7 89 ospf" ]
done
[ "$("$build/consumer_cpp")" = "65537 bgp" ]
for program in inspector_c inspector_c_static; do
    "$build/$program" | grep -q "route_prefix.address.family"
done
if readelf --dynamic "$build/inspector_c_static" | grep "NEEDED.*librib"; then exit 1; fi

part="$(dirname "$0")/part"
cmake -G Ninja -S "$part" -B "$build of C" -DCMAKE_PREFIX_PATH="$PREFIX" -DWANTED=inspect_static -DCMAKE_C_FLAGS="$SANITIZE" >/dev/null
cmake --build "$build of C"
"$build of C/inspector_by_c_alone" | grep -q "route_prefix.address.family"

# Packages separate what is installed here as a whole: what is not there is no target, and is named when it is asked for.
lacking="$SCRATCH/lacking"
cp -r "$PREFIX/." "$lacking"
rm -f "$lacking/$LIBDIR"/*.a "$lacking/$LIBDIR"/librib_tlv.so* "$lacking/$LIBDIR"/librib_inspect.so*
configure() { cmake -S "$part" -B "$SCRATCH/build of the lacking" -DCMAKE_PREFIX_PATH="$lacking" -DWANTED="$1" 2>&1; }
configure core >/dev/null
for wanted in rib rib_static inspect_static platform; do
    said=$(configure "core;$wanted") && echo "$wanted is not missed" && exit 1
    grep -q "rib::$wanted is not installed" <<<"$said"
done

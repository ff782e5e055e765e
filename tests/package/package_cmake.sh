# The installed package through find_package(rib).
set -euo pipefail
rm -rf "$SCRATCH"
cmake -G Ninja -S "$(dirname "$0")/consumer" -B "$SCRATCH" -DCMAKE_PREFIX_PATH="$PREFIX" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_C_FLAGS="$SANITIZE" -DCMAKE_CXX_FLAGS="$SANITIZE" >/dev/null
cmake --build "$SCRATCH"
[ "$("$SCRATCH/consumer_c")" = "7 89 ospf" ]
[ "$("$SCRATCH/consumer_c_static")" = "7 89 ospf" ]
[ "$("$SCRATCH/consumer_cpp")" = "65537 bgp" ]

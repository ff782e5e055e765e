# The examples, built against the installed package as their folder's CMakeLists.txt does it, and run.
set -euo pipefail
rm -rf "$SCRATCH"
cmake -G Ninja -S "$(dirname "$0")/../../examples" -B "$SCRATCH" -DCMAKE_PREFIX_PATH="$PREFIX" \
    -DCMAKE_BUILD_TYPE=Release -DCMAKE_C_FLAGS="$SANITIZE" >/dev/null
cmake --build "$SCRATCH"
ctest --test-dir "$SCRATCH" --output-on-failure --no-tests=error

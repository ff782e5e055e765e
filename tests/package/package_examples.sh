# The examples, as they were installed and against what was installed: built as their folder's CMakeLists.txt does it, and run.
set -euo pipefail
here=$(dirname "$0")
rm -rf "$SCRATCH"
cmake -G Ninja -S "$PREFIX/$DATADIR/rib/examples" -B "$SCRATCH" -DCMAKE_PREFIX_PATH="$PREFIX" \
    -DCMAKE_BUILD_TYPE=Release -DCMAKE_C_FLAGS="-Werror $SANITIZE" >/dev/null
cmake --build "$SCRATCH"
ctest --test-dir "$SCRATCH" --output-on-failure --no-tests=error
"$PYTHON" "$here/live_test.py" --programs "$SCRATCH/live" --ribtool "$PREFIX/$BINDIR/ribtool"

# The examples, as they were installed and against what was installed: built as their folder's CMakeLists.txt does it, and run.
set -euo pipefail
here=$(dirname "$0")
rm -rf "$SCRATCH"
cmake -G Ninja -S "$PREFIX/$DATADIR/rib/examples" -B "$SCRATCH" -DCMAKE_PREFIX_PATH="$PREFIX" \
    -DCMAKE_BUILD_TYPE=Release -DCMAKE_C_FLAGS="-Werror $SANITIZE" -DCMAKE_CXX_FLAGS="-Werror $SANITIZE" >/dev/null
cmake --build "$SCRATCH"
ctest --test-dir "$SCRATCH" --output-on-failure --no-tests=error
# A build of the library alone has nothing to feed the live examples with.
if [ "$HAS_TOOLS" = 0 ]; then
    exit 0
fi
"$PYTHON" "$here/live_test.py" --programs "$SCRATCH/live" --ribtool "$PREFIX/$BINDIR/ribtool"
# valgrind is too slow for all of them, and does not go with sanitizers.
if [ -z "$SANITIZE" ]; then
    "$PYTHON" "$here/live_test.py" --programs "$SCRATCH/live" --ribtool "$PREFIX/$BINDIR/ribtool" \
        --wrapper "valgrind -q --error-exitcode=9 --leak-check=full" \
        Tables.test_the_table_does_not_depend_on_where_reads_end \
        HostilePeers.test_updates_that_would_stop_the_process_are_dropped_with_their_reason
fi

# Schemas of other projects, compiled by the installed zidlc. A build of the library alone has none.
set -euo pipefail
if [ "$HAS_TOOLS" = 0 ]; then
    exit 0
fi
exec "$PYTHON" "$(dirname "$0")/schemas_test.py"

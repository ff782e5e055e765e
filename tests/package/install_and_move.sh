# Installs a build and moves what was installed: nothing in it knows where it was put first.
#     install_and_move.sh BUILD PREFIX
set -euo pipefail
rm -rf "$2" "$2 before it is moved"
cmake --install "$1" --prefix "$2 before it is moved"
mv "$2 before it is moved" "$2"

#!/usr/bin/env bash
# Fails when a program that was linked with a library without version nodes does not run with this one, or when a program that is
# linked with this one asks for no node.
#     check_unversioned_program.sh COMPILER ROOT SOURCE FOLDER NODE LIBRARY PLATFORM-LIBRARY...
set -euo pipefail

compiler=$1 root=$2 source=$3 folder=$4 node=$5 library=$6
shift 6
soname=$(basename "$library" | sed 's/\(.*[.]so[.][0-9]*\).*/\1/')
mkdir -p "$folder"
cd "$folder"

# What the linker needs to know of the library as it was: its name and its functions, which do nothing here.
"$compiler" -std=c99 -I "$root" -c "$source" -o program.o
"${NM:-nm}" --undefined-only --format=posix program.o | awk '$1 ~ /^(rib|zidl)_/ { print "void " $1 "(void) {}" }' >stub.c
grep -q . stub.c || { echo "$source uses nothing of the library"; exit 1; }
"$compiler" -shared -fPIC -Wl,-soname,"$soname" stub.c -o "$soname"

# link PROGRAM LIBRARY
link() { "$compiler" -Wl,--no-as-needed program.o "$2" "${platform[@]}" -o "$1"; }
nodes_of() { "${READELF:-readelf}" --version-info --wide "$1" | grep -o "Name: ${node%%_*}[A-Z0-9_.]*" || true; }
platform=("$@")
search_path=$(dirname "$library")
for each; do search_path+=:$(dirname "$each"); done

link before "$PWD/$soname"
[ -z "$(nodes_of before)" ] || { echo "the program is to ask for no node, and asks for: $(nodes_of before)"; exit 1; }
! LD_LIBRARY_PATH=$PWD:$search_path ./before >/dev/null || { echo "the program passes without the library"; exit 1; }
LD_LIBRARY_PATH=$search_path ./before || { echo "a program from before there were nodes does not run"; exit 1; }

link now "$library"
[ "$(nodes_of now)" = "Name: $node" ] || { echo "the program is to ask for $node, and asks for: $(nodes_of now)"; exit 1; }
LD_LIBRARY_PATH=$search_path ./now

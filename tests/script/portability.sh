#!/usr/bin/env bash
# Builds where nothing but the build folder can be written: from sources that are read-only, without a home, as a user without
# rights, and with blanks in every path. The demo, the installation of what it built, and a program that uses that. Called by
# script/nightly.
set -euo pipefail
cd "$(dirname "$0")/../.."
. script/steps.sh
script/bootstrap build

scratch=$(mktemp -d)
trap 'chmod -R u+w "$scratch" && rm -rf "$scratch"' EXIT
chmod 755 "$scratch"
sources="$scratch/read-only sources"
build="$scratch/build folder"
prefix="$scratch/a prefix"
mkdir "$sources" "$build" "$prefix"
git ls-files -z | xargs -0 cp --parents -t "$sources"
chmod -R a-w,a+rX "$sources"
find "$sources" | sort >"$scratch/before"

# Root may write anywhere: somebody else does it.
as_nobody=()
if [ "$(id -u)" -eq 0 ]; then
    chown nobody "$build" "$prefix"
    as_nobody=(setpriv --reuid=nobody --regid=nogroup --clear-groups)
fi
run() {
    "${as_nobody[@]}" env -u CCACHE_DIR -u RIB_BUILD_DIR HOME=/nonexistent PATH="$PATH" "$@"
}

cd "$scratch"
step "demo"
run "$sources/script/demo" --build-dir "$build" | tee "$scratch/demo.txt"
grep -q "Compiling without ccache" "$scratch/demo.txt" || ! command -v ccache >/dev/null ||
    fail "ccache was used, or left out in silence"
step "installing"
run cmake --install "$build/release" --prefix "$prefix" >/dev/null
step "a program by find_package and one by pkg-config"
run cmake -G Ninja -S "$sources/tests/package/consumer" -B "$build/consumer" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
run cmake --build "$build/consumer" >/dev/null
[ "$("$build/consumer/consumer_c")" = "7 89 ospf" ] || fail "the program that found the package says something else"
export PKG_CONFIG_PATH="$prefix/lib/pkgconfig"
for folder in "$prefix"/lib/*/pkgconfig; do
    [ ! -d "$folder" ] || PKG_CONFIG_PATH=$folder
done
eval "flags=($(pkg-config --cflags --libs rib))"
cc "$sources/tests/package/consumer/consumer.c" -o "$build/by_pkg_config" "${flags[@]}" \
    "-Wl,-rpath,$(dirname "$PKG_CONFIG_PATH")"
[ "$("$build/by_pkg_config")" = "7 89 ospf" ] || fail "the program that pkg-config helped says something else"

step "the sources are what they were"
find "$sources" | sort | diff "$scratch/before" - || fail "something was written into the sources"

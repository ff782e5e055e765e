#!/usr/bin/env bash
# Builds the Debian packages twice, in folders and surroundings that differ, and compares them; then installs them in a fresh root
# that has nothing but Debian, uses what they bring, upgrades, breaks, removes and purges them.
#     fresh_root.sh FOLDER     works there, and keeps the packages in FOLDER/packages
# Needs mmdebstrap, and root or user namespaces; Debian comes from where this machine's apt has it from.
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../../.." && pwd)
mkdir -p "$1"
folder=$(cd "$1" && pwd)
command -v mmdebstrap >/dev/null || { echo "mmdebstrap is missing: script/bootstrap nightly" >&2 && exit 1; }

build_twice() {
    rm -rf "$folder/packages" "$folder/elsewhere"
    "$root/script/package" "$folder/packages"
    # Another folder, time zone, language, mask, number of jobs; and compiled anew.
    (umask 027 && TZ=Pacific/Apia LC_ALL=C CCACHE_DISABLE=1 DEB_BUILD_OPTIONS="parallel=1 nocheck" \
        "$root/script/package" --no-lint "$folder/elsewhere/a longer path/to packages")
    local package other differ=0
    for package in "$folder"/packages/*.deb "$folder"/packages/*.xz; do
        other=$folder/elsewhere/"a longer path/to packages"/${package##*/}
        cmp "$package" "$other" || differ=1
    done
    [ $differ -eq 0 ] || exit 1
    echo "  both builds gave the same packages, byte by byte"
}

# The README's program in C or C++: the first block of the language that has a main.
readme_program() {
    awk -v fence="\`\`\`$1" '$0 == fence { inside = 1; text = ""; next }
        inside && /^```/ { inside = 0; if (text ~ /int main/) { printf "%s", text; exit } next }
        inside { text = text $0 "\n" }' "$root/README.md"
}

# The package from before the division, or what counts of it: name, version, and all files in one, the libraries in /usr/lib, without
# Debian's folders for each architecture. Made of the new ones, unless RIB_OLD_PACKAGE is a file that is left of the old days.
make_old_package() {
    local tree=$folder/old_tree deb
    rm -rf "$tree" "$folder/packages/old" && mkdir -p "$tree/DEBIAN" "$folder/packages/old"
    if [ -n "${RIB_OLD_PACKAGE-}" ]; then
        cp "$RIB_OLD_PACKAGE" "$folder/packages/old"
        return
    fi
    for deb in "$folder"/packages/librib*1_[0-9]*.deb "$folder"/packages/librib-dev_*.deb "$folder"/packages/ribtool_*.deb; do
        dpkg-deb -x "$deb" "$tree"
    done
    rm -rf "$tree"/usr/share/{doc,man,lintian,bash-completion,fish,zsh} "$tree"/usr/lib/*/wireshark "$tree"/usr/lib/*/{librib_inspect.so*,pkgconfig}
    find "$tree"/usr/lib -mindepth 2 -maxdepth 2 -exec mv -t "$tree/usr/lib" {} +
    find "$tree"/usr/lib -empty -type d -delete
    cat >"$tree/DEBIAN/control" <<'C'
Package: librib
Version: 1.0.0
Architecture: amd64
Section: libs
Priority: optional
Maintainer: librib maintainers <librib@librib.invalid>
Depends: libc6, libfmt9, libpcap0.8, libstdc++6, libzstd1, liblzma5, libbz2-1.0, zlib1g
Description: Message codec and client library of a routing information base
C
    printf '#!/bin/sh\nset -e\nldconfig\n' | tee "$tree/DEBIAN/postinst" >"$tree/DEBIAN/postrm"
    chmod 755 "$tree"/DEBIAN/post*
    dpkg-deb --root-owner-group -b "$tree" "$folder/packages/old/librib_1.0.0_amd64.deb" >/dev/null
    rm -rf "$tree"
}

# The libraries and headers again, as a revision before the first.
make_older_packages() {
    local tree=$folder/older_tree deb version
    version=$(sed -n '1s/.*(\(.*\)).*/\1/p' "$root/debian/changelog")
    rm -rf "$folder/packages/older" && mkdir -p "$folder/packages/older"
    for deb in "$folder"/packages/librib*1_[0-9]*.deb "$folder"/packages/librib-dev_*.deb; do
        rm -rf "$tree" && dpkg-deb -R "$deb" "$tree"
        sed -i "s/\b${version//./\\.}\b/${version%-*}-0/g" "$tree/DEBIAN/control"
        dpkg-deb --root-owner-group -b "$tree" "$folder/packages/older" >/dev/null
    done
    rm -rf "$tree"
}

# What the root has besides Debian's base: what a user of the packages would have.
users_packages=gcc,g++,libc6-dev,cmake,make,pkgconf,binutils,man-db,bash-completion,zsh,fish,tshark

# shellcheck disable=SC2016 # the folder of the root is for mmdebstrap to fill in
# mmdebstrap runs the scripts inside before it throws the root away.
run_in_fresh_root() {
    local sources=() file script hooks=()
    for file in /etc/apt/sources.list /etc/apt/sources.list.d/*.{list,sources}; do
        if [ -s "$file" ]; then sources+=("$file"); fi
    done
    for script in upgrade programs tools purge life; do
        hooks+=(--customize-hook="echo '== $script' && chroot \"\$1\" bash /test/in_root/$script.sh")
    done
    mmdebstrap --quiet --variant=apt --format=null --include="$users_packages" \
        --setup-hook='mkdir -p "$1/packages" "$1/test"' \
        --customize-hook="copy-in '$folder/packages' /" --customize-hook="copy-in '$folder/test' /" \
        "${hooks[@]}" \
        "$(. /etc/os-release && echo "$VERSION_CODENAME")" /dev/null "${sources[@]}"
}

build_twice
make_old_package
make_older_packages
rm -rf "$folder/test" && mkdir "$folder/test" && cp -r "$here/in_root" "$here/own" "$folder/test"
readme_program c >"$folder/test/readme.c"
readme_program cpp >"$folder/test/readme.cpp"
run_in_fresh_root
echo "The packages install, work, upgrade and go: $folder/packages"

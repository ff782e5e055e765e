# From the one package that had everything to those that replace it.
. /test/in_root/steps.sh

claim "the old package is installed, and a program is built with it"
quietly apt-get install -y --no-install-recommends /packages/old/librib_*.deb
quietly cc /test/readme.c -o /tmp/built_with_the_old -I/usr/include/rib -lrib -lrib_tlv -lrib_strutil
[ "$(/tmp/built_with_the_old)" = "protocol 20 is bgp" ] || fail "it says $(/tmp/built_with_the_old)"
dpkg -L librib | while read -r path; do [ -d "$path" ] || printf '%s\n' "$path"; done >/tmp/files_of_the_old

claim "librib1 alone by dpkg: refused, or the old package goes; nothing is half installed once apt has repaired it"
dpkg -i $(files_of librib1) >command.log 2>&1 || quietly apt-get install -y -f --no-install-recommends
nothing_is_half_installed
if is_installed librib && is_installed librib1; then fail "librib and librib1 are installed side by side"; fi

claim "all packages replace the old one, of which no file stays that they do not have"
install_new "${new[@]}"
nothing_is_half_installed
is_installed librib && fail "librib is still there"
for name in "${new[@]}"; do is_installed "$name" || fail "$name is not installed"; done
while read -r path; do
    [ ! -e "$path" ] || dpkg -S "$path" >/dev/null 2>&1 || dpkg -S "$(realpath "$path")" >/dev/null 2>&1 || fail "$path is nobody's"
done </tmp/files_of_the_old

claim "the program that was built with the old package runs with the new ones"
[ "$(/tmp/built_with_the_old)" = "protocol 20 is bgp" ] || fail "it says $(/tmp/built_with_the_old)"
# The linker's cache was made when the libraries were moved.
ldconfig -p | grep -q "librib.so.1 .*$(dpkg-architecture -qDEB_HOST_MULTIARCH 2>/dev/null || gcc -print-multiarch)" ||
    fail "the loader does not know librib.so.1"

# What befalls packages: half installed, broken off, an older version present, removed, purged.
. /test/in_root/steps.sh

list_files >/tmp/before

claim "librib1 alone needs nothing but the C library"
install_new librib1
[ "$(dpkg-query -W -f='${Depends}' librib1 | sed 's/ (.*//')" = libc6 ] || fail "librib1 depends on $(dpkg-query -W -f='${Depends}' librib1)"
is_installed librib-tlv1 && fail "librib-tlv1 came without being asked for"

claim "a program that loads librib without the platform libraries is refused by the loader, which names a function"
printf 'int main(void){return 0;}' >empty.c
quietly cc -Wl,--no-as-needed,--allow-shlib-undefined empty.c -o empty "$(dpkg -L librib1 | grep 'so\.1$')"
./empty 2>refused && fail "the loader takes it"
grep -Eq 'undefined symbol: (rib_tlv_strip|rib_tlv_handle_delim|__strcpy_to_buf)' refused || fail "the loader says: $(cat refused)"
install_new librib-tlv1 librib-strutil1
LD_PRELOAD="librib_tlv.so.1 librib_strutil.so.1" ./empty || fail "it does not run with the recommended packages"

claim "librib-dev without what it depends on is half installed, and apt repairs it"
dpkg -i $(files_of librib-dev) >command.log 2>&1 && fail "dpkg takes librib-dev without librib-inspect1"
grep -q librib-inspect1 command.log || fail "dpkg does not name librib-inspect1: $(cat command.log)"
quietly apt-get install -y -f --no-install-recommends
nothing_is_half_installed
install_new "${new[@]}"

claim "a package that breaks off while it is unpacked leaves the installed one as it was"
head -c 100000 $(files_of ribtool) >broken_off_ribtool.deb
dpkg -i ./broken_off_ribtool.deb >command.log 2>&1 && fail "dpkg takes half a package"
nothing_is_half_installed
quietly ribtool --version

claim "a package that is unpacked and not configured is configured later"
dpkg --unpack $(files_of librib1 ribtool) >command.log 2>&1
[ "$(dpkg-query -W -f='${db:Status-Status}' ribtool)" = unpacked ] || fail "ribtool is $(dpkg-query -W -f='${db:Status-Status}' ribtool)"
quietly dpkg --configure -a
nothing_is_half_installed

claim "over an older version of theirs the packages are upgraded together"
quietly dpkg -i /packages/older/*.deb
[[ $(version_of librib1) == *-0 ]] || fail "the older librib1 is not there"
install_new librib-dev librib1 librib-tlv1 librib-strutil1 librib-inspect1
for name in librib1 librib-dev; do
    [[ $(version_of "$name") != *-0 ]] || fail "$name was not upgraded"
done

claim "removed and purged they leave nothing behind"
quietly apt-get remove -y "${new[@]}"
quietly dpkg --purge "${new[@]}" librib # which apt no longer knows, from where they came
quietly apt-get autoremove -y --purge
list_files >/tmp/after
comm -13 /tmp/before /tmp/after >left
[ ! -s left ] || fail "left behind: $(cat left)"
nothing_is_half_installed

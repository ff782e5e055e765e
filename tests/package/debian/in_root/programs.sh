# Programs of users: the README's, one with a schema of its own, a static one, one that uses the codec alone.
. /test/in_root/steps.sh

claim "the README's C program compiles by pkg-config and runs"
# shellcheck disable=SC2046 # flags are words
quietly cc /test/readme.c -o readme_c $(pkg-config --cflags --libs rib)
[ "$(./readme_c)" = "protocol 20 is bgp" ] || fail "the README's C program says $(./readme_c)"

claim "the README's C++ program compiles by pkg-config and runs"
# shellcheck disable=SC2046
quietly c++ -std=c++17 /test/readme.cpp -o readme_cpp $(pkg-config --cflags --libs rib)
[ "$(./readme_cpp | tail -1)" = "the server says bgp" ] || fail "the README's C++ program says $(./readme_cpp)"

claim "a static program runs where no library is"
# shellcheck disable=SC2046
quietly cc -static /test/readme.c -o readme_static $(pkg-config --static --cflags --libs rib)
[ "$(env -i ./readme_static)" = "protocol 20 is bgp" ] || fail "the static program says $(./readme_static)"
readelf -d readme_static 2>/dev/null | grep NEEDED && fail "the static program needs a library"

claim "zidlc compiles a schema of one's own: by CMake"
mkdir own && cp /test/own/* own
quietly cmake -S own -B own/build
quietly cmake --build own/build
[ "$(own/build/station)" = "21 degrees in Oslo" ] || fail "the program with a schema of its own says $(own/build/station)"

claim "zidlc compiles a schema of one's own: by pkg-config"
mkdir by_hand
quietly "$(pkg-config --variable=zidlc rib)" --prefix weather -o by_hand --only header,codec own/station.zidl
# shellcheck disable=SC2046
quietly c++ -std=c++17 -fno-exceptions -fno-rtti -Iby_hand $(pkg-config --cflags rib) -c by_hand/messages/station.cpp -o station.o
# shellcheck disable=SC2046
quietly cc -Iby_hand own/main.c station.o -o by_hand/station $(pkg-config --cflags rib)
[ "$(by_hand/station)" = "21 degrees in Oslo" ] || fail "the program built by hand says $(by_hand/station)"

claim "the examples compile against the packages, where they are installed"
cp -r /usr/share/rib/examples . && quietly cmake -S examples -B examples/build && quietly cmake --build examples/build

claim "a program that uses the codec alone is refused by the linker without the platform libraries, and not with librib.a"
# shellcheck disable=SC2046
cc /test/readme.c -o alone $(pkg-config --cflags --libs rib-core) 2>refused && fail "the linker takes it"
grep -q "rib_tlv_strip" refused || fail "the linker does not name rib_tlv_strip: $(cat refused)"
# shellcheck disable=SC2046
quietly cc /test/readme.c -o alone $(pkg-config --cflags rib-core) "$(pkg-config --variable=libdir rib-core)/librib.a"
[ "$(./alone)" = "protocol 20 is bgp" ] || fail "with librib.a it says $(./alone)"

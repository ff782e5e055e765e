// A program that uses the codec alone: it loads the library without the platform functions, bound as they are called.
//     codec_alone LIBRARY

#include "messages/rib_common.h"

#include <dlfcn.h>
#include <stdio.h>
#include <string.h>

typedef size_t encode_function(const zidl_rib_ipv6_address *, uint8_t *, size_t, zidl_segment *, uint32_t *, uint32_t);

int main(int argc, char **argv)
{
    void *const library = argc > 1 ? dlopen(argv[1], RTLD_LAZY) : NULL;
    void *const symbol = library != NULL ? dlsym(library, "zidl_rib_ipv6_address_encode_ext") : NULL;
    if (symbol == NULL) {
        fprintf(stderr, "codec_alone: %s\n", dlerror());
        return 1;
    }
    encode_function *encode;
    memcpy(&encode, &symbol, sizeof encode);

    zidl_rib_ipv6_address address;
    memset(&address, 0, sizeof address);
    zidl_rib_ipv6_address_set_half0(&address, 300);

    static const uint8_t expected[] = {
        0x08, 0xac, 0x02, // 1 half0 = 300
    };
    uint8_t encoded[16];
    const size_t len = encode(&address, encoded, sizeof encoded, NULL, NULL, 0);
    if (len != sizeof expected || memcmp(encoded, expected, len) != 0) {
        fprintf(stderr, "codec_alone: %zu bytes, and not those expected\n", len);
        return 1;
    }
    return 0;
}

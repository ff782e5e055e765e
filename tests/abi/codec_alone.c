/* A program that uses the codec alone. With OWN_PLATFORM_FUNCTIONS it has the functions that librib imports, and none of them
 * is called. */

#include "messages/rib_common.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#ifdef OWN_PLATFORM_FUNCTIONS
#include "platform/rib_strutil.h"
#include "platform/rib_tlv.h"

rib_tlv_t *rib_tlv_strip(uchar_t **cursor)
{
    (void)cursor;
    abort();
}

void rib_tlv_handle_delim(uchar_t **cursor)
{
    (void)cursor;
    abort();
}

void __strcpy_to_buf(size_t size, char *dst, const char *src)
{
    (void)size;
    (void)dst;
    (void)src;
    abort();
}
#endif

int main(void)
{
    static const uint8_t expected[] = {
        0x08, 0xac, 0x02, /* 1 half0 = 300 */
    };
    uint8_t encoded[16];
    size_t len;
    zidl_rib_ipv6_address address;

    memset(&address, 0, sizeof address);
    zidl_rib_ipv6_address_set_half0(&address, 300);
    len = zidl_rib_ipv6_address_encode_ext(&address, encoded, sizeof encoded, NULL, NULL, 0);
    if (len != sizeof expected || memcmp(encoded, expected, len) != 0) {
        fprintf(stderr, "codec_alone: %u bytes, and not those expected\n", (unsigned)len);
        return 1;
    }
    return 0;
}

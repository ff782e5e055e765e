// A program with the router's own declarations of the framing library: rib.h takes them instead of those of
// platform/rib_tlv.h. With RIB_TLV_DECLARED ignored this does not compile.

#include <cstdint>
#include <cstring>

extern "C" {
typedef unsigned char uchar_t;

typedef struct router_frame {
    unsigned char flags[4];
    unsigned short kind;
    unsigned short size;
} rib_tlv_t;

rib_tlv_t *rib_tlv_strip(uchar_t **cursor);
void rib_tlv_handle_delim(uchar_t **cursor);
void __strcpy_to_buf(size_t size, char *dst, const char *src);
}

#define RIB_TLV_DECLARED
#include "rib.h"

#include <gtest/gtest.h>

// A router whose frames travel in host byte order, and whose strip leaves the cursor at the header.
rib_tlv_t *rib_tlv_strip(uchar_t **cursor)
{
    return reinterpret_cast<rib_tlv_t *>(*cursor);
}

void rib_tlv_handle_delim(uchar_t **) {}

void __strcpy_to_buf(size_t, char *, const char *) {}

namespace
{

struct router_frame seen_header;
const uchar_t *seen_cursor;
uint32_t delivered;

struct rib_routetype_ *convert(rib_tlv_t *header, uchar_t **cursor)
{
    std::memcpy(&seen_header, header, sizeof seen_header);
    seen_cursor = *cursor;
    return nullptr;
}

int on_older_route(uint32_t update_id, struct rib_routetype_ *, void *)
{
    delivered = update_id;
    return 0;
}

TEST(own_framing, converter_gets_the_routers_header_and_the_cursor_where_strip_left_it)
{
    uchar_t frame[] = {
        0xF1, 0xF2, 0xF3, 0xF4, // the router's flags
        0x03, 0x00,             // type 3, host order
        0x02, 0x00,             // 2 bytes
        0xAA, 0xBB,             // payload
    };
    updatetype_local update = {};
    update.update_id = 7;
    update.payload = frame;
    rib_lib_pvt_parse_route_update(&update, on_older_route, convert, nullptr, 1, nullptr);
    EXPECT_EQ(delivered, 7u);
    EXPECT_EQ(seen_header.flags[3], 0xF4);
    EXPECT_EQ(seen_header.kind, 3);
    EXPECT_EQ(seen_header.size, 2);
    EXPECT_EQ(seen_cursor, frame) << "this strip does not advance it";
    EXPECT_EQ(update.payload, frame + 8) << "the payload is behind the header all the same";
    EXPECT_EQ(update.payload_len, 2u);
}

} // namespace

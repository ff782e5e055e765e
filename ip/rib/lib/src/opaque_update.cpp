// Opaque updates: two blocks of bytes with their numbers, encoded or in a layout of fixed offsets.

#include <stdint.h>
#include <string.h>

#include "ip/rib/lib/src/copy_member.hpp"
#include "ip/rib/lib/src/decoded_message.hpp"
#include "ip/rib/lib/src/rib_assert.hpp"
#include "ip/rib/lib/src/rib_lib.h"
#include "ip/rib/lib/src/update_frame.hpp"
#include "messages/ip_rib.h"

using namespace rib_client;

namespace
{

// A callback may keep the blocks, and gives them to free.
using decoded_opaque = heap_message<zidl_ip_rib_opaque, zidl_ip_rib_opaque_decode_ext, zidl_ip_rib_opaque_free_ext>;

void fill_opaque_update(const zidl_ip_rib_opaque &msg, rib_opaque_update &opaque)
{
    copy(opaque.opaque_id, msg.opaque_id);
    copy(opaque.first_block, msg.first_block);
    opaque.first_len = static_cast<uint32_t>(msg.first_block_size);
    COPY_PRESENT(opaque.opaque_type, ip_rib_opaque, msg, opaque_type);
    COPY_PRESENT(opaque.opaque_value, ip_rib_opaque, msg, opaque_value);
    COPY_PRESENT(opaque.second_block, ip_rib_opaque, msg, second_block);
    copy_if(zidl_ip_rib_opaque_has_second_block(&msg), opaque.second_len, msg.second_block_size);
}

// The fixed part of an older-form opaque update; the blocks follow it. Bytes 2, 3 and 20 to 23 are not used.
enum old_opaque : uint32_t {
    OLD_OPAQUE_TYPE = 0,        // 2 bytes
    OLD_OPAQUE_ID = 4,          // 4 bytes
    OLD_OPAQUE_FIRST_LEN = 8,   // 2 bytes
    OLD_OPAQUE_SUB_ID = 10,     // 2 bytes
    OLD_OPAQUE_VALUE = 12,      // 4 bytes
    OLD_OPAQUE_SECOND_LEN = 16, // 4 bytes
    OLD_OPAQUE_FIXED_LEN = 24
};

// A payload may break off anywhere: numbers that do not lie wholly inside it stay as they are.
void convert_old_opaque(uint8_t *payload, uint32_t payload_len)
{
    const auto convert_u16 = [=](uint32_t offset) {
        if (payload_len >= offset + sizeof(uint16_t))
            swap_u16(payload + offset);
    };
    const auto convert_u32 = [=](uint32_t offset) {
        if (payload_len >= offset + sizeof(uint32_t))
            swap_u32(payload + offset);
    };
    convert_u16(OLD_OPAQUE_TYPE);
    convert_u32(OLD_OPAQUE_ID);
    convert_u16(OLD_OPAQUE_FIRST_LEN);
    convert_u16(OLD_OPAQUE_SUB_ID);
    convert_u32(OLD_OPAQUE_VALUE);
    convert_u32(OLD_OPAQUE_SECOND_LEN);
}

// The sum of the two lengths wraps at 32 bits, deliberately; only what comes out is compared with the payload.
bool old_opaque_fits(const uint8_t *payload, uint32_t payload_len)
{
    if (payload_len < OLD_OPAQUE_FIXED_LEN)
        return REJECT(reason::too_short, payload_len, false);
    const uint32_t blocks_len = load_u16(payload + OLD_OPAQUE_FIRST_LEN) + load_u32(payload + OLD_OPAQUE_SECOND_LEN);
    return blocks_len <= payload_len - OLD_OPAQUE_FIXED_LEN ||
           REJECT(reason::blocks_do_not_fit, payload[OLD_OPAQUE_FIRST_LEN], false);
}

void fill_old_opaque_update(uint8_t *payload, rib_opaque_update &opaque)
{
    opaque.opaque_type = load_u16(payload + OLD_OPAQUE_TYPE);
    opaque.opaque_id = load_u32(payload + OLD_OPAQUE_ID);
    opaque.first_len = load_u16(payload + OLD_OPAQUE_FIRST_LEN);
    opaque.opaque_value = load_u32(payload + OLD_OPAQUE_VALUE);
    opaque.first_block = payload + OLD_OPAQUE_FIXED_LEN;
    opaque.second_len = load_u32(payload + OLD_OPAQUE_SECOND_LEN);
    if (opaque.second_len != 0)
        opaque.second_block = opaque.first_block + opaque.first_len;
}

} // namespace

extern "C" void rib_lib_pvt_parse_opaque_update(rib_opaque_update_func_pointer callback, updatetype_local *update,
                                                void *ctx)
{
    static constexpr char prototype[] =
        "void rib_lib_pvt_parse_opaque_update(rib_opaque_update_func_pointer, updatetype_local *, void *)";
    rib_opaque_update opaque;
    memset(&opaque, 0, sizeof opaque);
    uchar_t *cursor;
    strip_frame(*update, cursor);

    switch (update->tlv_type) {
    case RIB_TLV_OPAQUE: {
        decoded_opaque decoded;
        if (decoded.decode(update->payload, update->payload_len) != ZIDL_OK)
            return;
        fill_opaque_update(decoded.msg, opaque);
        SHOWS(decoded.msg.opaque_sub_id);
        callback(update->update_id, decoded.msg.opaque_sub_id, &opaque, ctx);
        if (update->tlv_type == RIB_TLV_OPAQUE) // a callback keeps the blocks by changing the code, deliberately
            decoded.release();
        return;
    }
    case RIB_TLV_OLD_OPAQUE:
        convert_old_opaque(update->payload, update->payload_len);
        rib_tlv_handle_delim(&cursor);
        if (!old_opaque_fits(update->payload, update->payload_len))
            return;
        fill_old_opaque_update(update->payload, opaque);
        callback(update->update_id, load_u16(update->payload + OLD_OPAQUE_SUB_ID), &opaque, ctx);
        return;
    default:
        RIB_ASSERT(API_PARSE, 337, 0, reason::wrong_entry_point);
    }
}

// An update made of fuzzed bytes: the first byte chooses the type code and whether the frame is still on.

#pragma once

#include "rib.h"

#include <csetjmp>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <memory>

// Where a documented assertion of the library leads: back to the fuzzer. The message in hand is lost.
extern std::jmp_buf assertion_exit;

class update_input
{
public:
    // `codes` are what the entry point knows. A payload of an older-form protocol update is filled up to a whole record, as
    // its contract demands.
    update_input(const uint8_t *data, size_t size, std::initializer_list<uint16_t> codes, size_t least_payload = 0)
    {
        const uint8_t choice = size > 0 ? data[0] : 0;
        const uint8_t *const bytes = size > 0 ? data + 1 : data;
        const size_t given = size > 0 ? size - 1 : 0;
        const uint16_t code = codes.begin()[(choice >> 1) % codes.size()];
        const bool framed = (choice & 1) != 0;
        const size_t header = framed ? 8 : 0;
        const size_t room = given < least_payload ? least_payload : given;

        frame_ = std::make_unique<uint8_t[]>(header + room);
        if (given > 0)
            memcpy(frame_.get() + header, bytes, given);
        if (framed) {
            const uint8_t head[8] = {0,
                                     0,
                                     0,
                                     0,
                                     static_cast<uint8_t>(code >> 8),
                                     static_cast<uint8_t>(code),
                                     static_cast<uint8_t>(given >> 8),
                                     static_cast<uint8_t>(given)};
            memcpy(frame_.get(), head, sizeof head);
        }
        update.stripped = !framed;
        update.tlv_type = code;
        update.payload_len = static_cast<uint32_t>(given);
        update.payload = frame_.get();
        update.update_kind = choice >> 5;
    }

    updatetype_local update = {};

private:
    std::unique_ptr<uint8_t[]> frame_;
};

// Reads every byte, so that the sanitizers see whether a record and what it points to are there.
inline void read_all(const void *memory, size_t size)
{
    const volatile uint8_t *const bytes = static_cast<const volatile uint8_t *>(memory);
    uint8_t sum = 0;
    for (size_t i = 0; i < size; ++i)
        sum = static_cast<uint8_t>(sum + bytes[i]);
}

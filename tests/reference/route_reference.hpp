// A second conversion of routes, written for the tests: slow, plain, one step after another, with vectors instead of
// packed memory. It shares nothing with the library but the types of the records.

#pragma once

#include "ip/rib/lib/src/rib_lib.h"
#include "messages/rib_common.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace rib_reference
{

using block = std::vector<uint8_t>;

// A converted path. What the library packs behind the entry stands beside it here.
struct path {
    rib_path_entry entry;
    std::vector<uint64_t> ecomm_values;
    bool has_ecomm;
    // The next-next-hop slot of the entry that ended the run, -1 without one: what it holds is open, but for the value of
    // an entry of type 1.
    int open_nnh_slot;
    bool open_nnh_value_known;
};

// What converting a route must give. Owned memory and pointers stand beside the header, whose pointers are null.
struct route {
    zerrno status;
    bool has_record;
    rib_routetype_ header;
    std::optional<block> advertisement;
    std::array<std::optional<block>, 6> attr_blocks;
    std::vector<path> paths;
    int first_ecomm; // index of the path, -1 when there is none
    size_t record_size;
};

struct converted_address {
    zerrno status;
    std::array<uint8_t, 16> address; // zero where nothing is written
    std::optional<uint32_t> family;
};

struct converted_prefix {
    zerrno status;
    std::array<uint8_t, 16> address;
    uint32_t len;
    std::optional<uint32_t> family;
};

converted_address convert_address(const zidl_rib_address &address);
converted_prefix convert_prefix(const zidl_rib_prefix &prefix);
std::optional<block> convert_attributes(const zidl_rib_generic_attr_array &array, uint32_t elem_size);
block convert_advertisement(const zidl_rib_client_advertisement &advertisement);
std::optional<path> convert_path(const zidl_rib_path &message);

// Converts what decoding with `decode_status` left in `message`.
route convert_route(int32_t decode_status, const zidl_rib_route &message);

// The members that differ, one a line with both values; empty when all are equal.
std::string differences(const rib_path_entry &expected, const rib_path_entry &actual);
std::string differences(const path &expected, const rib_path_entry *actual);
std::string differences(const rib_routetype_ &expected, const rib_routetype_ &actual);
std::string differences(const route &expected, zerrno status, const rib_routetype_ *record);

} // namespace rib_reference

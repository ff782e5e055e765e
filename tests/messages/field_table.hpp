// Every field of every message, typed by hand from the protocol's definition and never derived from the schema files.
//
// The schema is the only other place that states these facts. A slip of the pen there passes every test that is
// derived from it; it does not pass a comparison with this table.

#ifndef TESTS_MESSAGES_FIELD_TABLE_HPP
#define TESTS_MESSAGES_FIELD_TABLE_HPP

#include <cstdint>
#include <string>
#include <vector>

namespace field_table
{

struct field_row {
    uint32_t number;
    uint32_t wire_type; // 0 varint, 2 length-delimited, 5 four bytes
    std::string member;
    std::string kind; // as in "uint32", "message rib_prefix", "repeated message rib_nnh"
    uint32_t bit;     // in the presence member
};

struct message_row {
    std::string group;
    std::string name;
    uint32_t presence_bits; // width of the presence member
    std::vector<field_row> fields;
};

// In declaration order: the order of the members, of the presence bits and of the encoding.
const std::vector<message_row> &messages();

} // namespace field_table

#endif

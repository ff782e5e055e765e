// The hand-typed table of all fields, as data. The rows stand in field_table.def.

#ifndef TESTS_MESSAGES_FIELD_TABLE_HPP
#define TESTS_MESSAGES_FIELD_TABLE_HPP

#include <cstdint>
#include <string>
#include <vector>

namespace field_table
{

struct field_row {
    std::string message; // the row's own word for whose field it is
    uint32_t number;
    uint32_t wire_type; // 0 varint, 2 with a length, 5 four bytes
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

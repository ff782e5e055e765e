// The table's rows as data.

#include "tests/messages/field_table.hpp"

#include "tests/messages/field_kinds.hpp"

namespace field_table
{

const std::vector<message_row> &messages()
{
    static const std::vector<message_row> table = [] {
        using namespace kinds;
        std::vector<message_row> rows;
#define MESSAGE(group, message, width) rows.push_back({#group, #message, width, {}});
#define SCALAR(message, number, wire_type, member, kind, bit)                                                          \
    rows.back().fields.push_back({#message, number, wire_type, #member, kind::name(), bit});
#define COMPOUND SCALAR
#include "tests/messages/field_table.def"
        return rows;
    }();
    return table;
}

} // namespace field_table

// The grammar of the schema language, and nothing but the grammar: a file becomes a tree with places.

#pragma once

#include "tools/zidlc/source.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace zidlc
{

struct name_syntax {
    std::string text;
    place where;
};

struct number_syntax {
    uint32_t value = 0;
    place where;
};

// 4  labels : repeated u32, counted by label_total, out of order;
struct field_syntax {
    number_syntax number;
    name_syntax name;
    name_syntax type;
    std::optional<place> repeated;
    std::optional<name_syntax> counted_by;
    std::optional<place> out_of_order;
    std::string comment;
    std::vector<std::string> comment_above;
};

// 3  unassigned;  or  3..5  unassigned;
struct unassigned_syntax {
    number_syntax first;
    number_syntax last;
    place where; // both numbers
    std::string comment;
};

// encode.flags
struct omission_syntax {
    std::string operation;
    std::string argument;
    place where;
};

struct message_syntax {
    name_syntax name;
    std::vector<std::string> comment;
    std::vector<omission_syntax> omissions;
    bool dispatch = false; // dispatch;
    bool rare = false;     // rare;
    std::vector<std::variant<field_syntax, unassigned_syntax>> rows;
};

struct file_syntax {
    name_syntax group;
    std::vector<std::string> comment;
    std::vector<name_syntax> uses;
    std::vector<message_syntax> messages;
};

// Reports every error and goes on behind the next `;` or at the next `}`; the tree holds what could be read.
file_syntax parse(const source_file &file, diagnostics &errors);

} // namespace zidlc

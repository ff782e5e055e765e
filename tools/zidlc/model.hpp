// The checked model of a set of schema files: plain data, complete. Every derived fact (tags, presence, ownership,
// argument lists, size bounds) is computed once, by build_model; after it nothing can fail and emitters decide nothing.

#pragma once

#include "tools/zidlc/kinds.hpp"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace zidlc
{

struct message;

struct field {
    std::string name;       // of the record's member
    std::string count_name; // of the count member (repeated), or of the size member (singular bytes); else empty
    std::string comment;    // trailing comment of the row; empty when there is none
    std::vector<std::string> comment_above; // the comment lines above the row
    const kind *type = find_kind("u32");    // which also stands for one that is not known
    bool repeated = false;
    const message *nested = nullptr; // the field's type when it is a message
    uint32_t number = 0;
    unsigned bit = 0;          // presence bit: the index of the row
    unsigned wire_type = 0;    // 0, 2 or 5
    uint32_t tag = 0;          // number << 3 | wire_type
    unsigned tag_size = 0;     // bytes of the tag on the wire
    bool out_of_order = false; // declared away from its number's place

    bool is_scalar() const { return type->held == storage::value; }
};

// Arguments that an operation does without; all false is the full list.
struct omissions {
    bool encode_flags = false;
    bool decode_flags = false;
    bool decode_memory = false; // alloc_fn and alloc_ctx
    bool duplicate_memory = false;
};

// Numbers that a message leaves free on purpose, both ends included.
struct number_range {
    uint32_t first = 0;
    uint32_t last = 0;
    std::string comment;
};

struct message {
    std::string name;
    std::string group;
    std::vector<std::string> comment; // the lines above the message, without the mark
    std::vector<field> fields;        // in declaration order
    omissions omit;
    std::string reset_name;     // of the function that resets the record, where it carries one of its own; else empty
    bool dispatch = false;      // encoder and decoder exist for newer processors, too
    unsigned presence_bits = 8; // width of the presence word: 8, 16, 32 or 64
    uint64_t presence_mask = 0; // the bits that fields use
    bool has_bytes = false;     // a bytes member, here or below: flags matter
    bool owns_memory = false;   // a string, bytes or array, here or below: release does something
    bool is_variable = false;   // its encoding has no fixed upper bound (same condition as owns_memory)
    uint64_t fixed_bound = 0;   // upper bound in bytes of the encoding of all that is not string, bytes or repeated,
                                // embedded messages included with their tag and length
    std::vector<number_range> unassigned; // in declaration order
    std::vector<const message *> holders; // the messages that have a member of this type, in the order of the model
};

struct group {
    std::string name;                               // the file's name less .zidl
    std::string source;                             // as generated files cite it: schema/<name>.zidl
    std::vector<std::string> comment;               // the lines above the group statement
    std::vector<std::string> uses;                  // names of the groups it uses
    std::vector<std::unique_ptr<message>> messages; // in declaration order: a message stands after what it holds
    bool requested = true;                          // named by the caller; else only used by a group that is
};

struct model {
    std::vector<std::unique_ptr<group>> groups; // a group stands after those that it uses
};

} // namespace zidlc

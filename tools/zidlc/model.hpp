// The checked model of a set of schema files: plain data, complete. Every fact that decides what is generated is computed
// once, by build_model; after it nothing can fail, and emitters copy.

#pragma once

#include "tools/zidlc/kinds.hpp"
#include "tools/zidlc/naming.hpp"

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zidlc
{

struct message;

struct field {
    // What the schema says.
    std::string name;       // of the record's member
    std::string count_name; // of the count member (repeated), or of the size member (singular bytes); else empty
    std::string comment;    // trailing comment of the row; empty when there is none
    std::vector<std::string> comment_above; // the comment lines above the row
    const kind *type = find_kind("u32");    // which also stands for one that is not known
    const message *nested = nullptr;        // the field's type when it is a message
    bool repeated = false;
    bool out_of_order = false; // declared away from its number's place
    uint32_t number = 0;
    unsigned bit = 0; // presence bit: the index of the row

    // What follows.
    unsigned wire_type = 0;   // 0, 2 or 5
    uint32_t tag = 0;         // number << 3 | wire_type
    unsigned tag_size = 0;    // bytes of the tag on the wire
    bool is_scalar = false;   // a number, or an array of numbers
    bool is_embedded = false; // a message that stands in the record itself
    bool is_pointer = false;  // a string, bytes or an array
    bool is_value = false;    // a number in the record itself: set, and never marked as present by itself
    bool holds_bytes = false; // a bytes member, itself or in what it holds
    bool owns_memory = false; // a pointer, itself or in what it holds
    uint64_t fixed_bound = 0; // bytes that it takes on the wire at most, tag and length included, strings, bytes and
                              // arrays aside
    std::string_view writer;  // the helper that encodes it
    std::string_view reader;  // the helper that decodes it
};

// Neighbouring fields that generated code takes together.
struct block {
    enum class form {
        single,   // one field
        run,      // numbers, in a loop
        embedded, // messages, behind one test whether any of them is present
    };
    form taken_as;
    std::span<const field> fields;
};

// Blocks that an encoder writes one after another, within room for all of them or in none.
struct stretch {
    uint64_t room = 0; // bytes that it needs at most; 0: they have no bound, or there is room for the whole message
    std::vector<block> blocks;
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
    // What the schema says.
    std::string name;
    std::string group;
    std::vector<std::string> comment;     // the lines above the message, without the mark
    std::vector<field> fields;            // in declaration order
    std::vector<number_range> unassigned; // in declaration order
    omissions omit;
    bool dispatch = false; // encoder and decoder exist for newer processors, too
    bool rare = false;     // one build of them serves the messages that are dispatched, too

    // What follows.
    std::string record;          // its C name, which those of its functions begin with: zidl_<name>
    unsigned presence_bits = 8;  // width of the presence word: 8, 16, 32 or 64
    uint64_t presence_mask = 0;  // the bits that fields use
    unsigned presence_words = 1; // of the record and those embedded in it
    bool holds_bytes = false;    // a bytes member, here or below: flags matter
    bool owns_memory = false; // a string, bytes or array, here or below: release does something, and the encoding has
                              // no fixed upper bound
    uint64_t fixed_bound = 0; // upper bound in bytes of the encoding of all that is not string, bytes or repeated,
                              // embedded messages included with their tag and length
    bool is_varied = false;   // how long its values are cannot be foreseen
    bool is_small = false;    // read in the schema's order first
    bool is_bounded =
        false; // the sizes of its bytes members bound what it takes on the wire: no string has to be measured
    std::vector<block> reads;             // what a decoder takes with one line each: runs and single fields
    std::vector<stretch> writes;          // what an encoder writes, in its order
    std::vector<const message *> holders; // the messages that have a member of this type, in the order of the model
};

struct group {
    std::string name;                               // the file's name less .zidl
    naming chosen;                                  // by the caller, the same for all groups
    std::string source;                             // as generated files cite it: schema/<name>.zidl
    std::vector<std::string> comment;               // the lines above the group statement
    std::vector<std::string> uses;                  // names of the groups it uses
    std::vector<std::unique_ptr<message>> messages; // in declaration order: a message stands after what it holds
    bool requested = true;                          // named by the caller; else only used by a group that is
};

struct model {
    naming chosen;
    std::vector<std::unique_ptr<group>> groups; // a group stands after those that it uses
};

} // namespace zidlc

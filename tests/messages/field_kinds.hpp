// What the kinds of the field table stand for: their names, and the types of record members.

#ifndef TESTS_MESSAGES_FIELD_KINDS_HPP
#define TESTS_MESSAGES_FIELD_KINDS_HPP

#include "messages/ip_rib.h"
#include "messages/ip_rib_srv6.h"
#include "messages/rib_common.h"
#include "messages/rib_encap.h"

#include <cstdint>
#include <string>

namespace field_table
{

// One empty type for every message, so that the table can name messages as kinds.
#define MESSAGE(group, message, width)                                                                                 \
    struct message {                                                                                                   \
        using record = zidl_##message;                                                                                 \
        static constexpr const char *name = #message;                                                                  \
    };
namespace messages_by_name
{
#include "tests/messages/field_table.def"
}

namespace kinds
{

using namespace messages_by_name;

// `in_record` is how a record holds one value, `in_array` how an array holds it.
struct uint8 {
    using in_record = uint8_t;
    using in_array = uint8_t;
    static std::string name() { return "uint8"; }
};
struct uint32 {
    using in_record = uint32_t;
    using in_array = uint32_t;
    static std::string name() { return "uint32"; }
};
struct uint64 {
    using in_record = uint64_t;
    using in_array = uint64_t;
    static std::string name() { return "uint64"; }
};
struct boolean {
    using in_record = uint8_t;
    static std::string name() { return "bool"; }
};
struct fixed32 {
    using in_record = uint32_t;
    static std::string name() { return "fixed32"; }
};
struct string {
    using in_record = char *;
    static std::string name() { return "string"; }
};
struct bytes {
    using in_record = uint8_t *;
    using in_array = zidl_bytes;
    static std::string name() { return "bytes"; }
};
template <class Message>
struct message {
    using in_record = typename Message::record;
    using in_array = typename Message::record;
    static std::string name() { return std::string("message ") + Message::name; }
};
template <class Kind>
struct repeated {
    using in_record = typename Kind::in_array *;
    static std::string name() { return "repeated " + Kind::name(); }
};

} // namespace kinds
} // namespace field_table

#endif

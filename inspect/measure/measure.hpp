// Where the values of an update land in the client's record. Nothing here knows a rule of the conversion: each value is
// changed, bit by bit, set to what limits are about and taken away; the update is encoded and converted again, and the
// records' contents are compared.
//
// A path of a route is measured in a route of this path alone, a key of a grid list in a list of it and its ID: they do not
// depend on one another, but for how many of them there are, which is looked at apart.

#pragma once

#include "inspect/rib_inspect.h"
#include "inspect/wire/field_path.hpp"
#include "inspect/wire/walk.hpp"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace rib_inspect
{

// What a value does to the record.
struct landing {
    std::vector<std::string> members; // that have it, or what follows from it, in the order of the record
    bool decides = false;             // about what becomes of the update, a count, or the members of other fields
    std::vector<uint32_t> lost; // bits of a number, or bytes of a text or block, that change nothing while others do
    bool is_number = true;

    bool is_nothing() const { return members.empty() && !decides; }
    bool operator==(const landing &) const = default;
};

// "pe_tunnel_7, bits 24 to 31 lost, decides", or "nothing".
std::string to_string(const landing &of);

struct measured_value {
    size_t tag_offset; // of the older forms, which have no tags, the value's
    size_t end_offset;
    field_path path; // empty for the older forms
    landing lands;
    size_t
        replaced_by; // the tag of the later value that takes its place, which is then all there is to say; or no_offset
    bool is_measured = true; // false: it may land anywhere
};

struct measurement {
    rib_outcome outcome;
    // Of a delivered update, by ascending offset: every number, text and block that the decoder keeps. Others have none:
    // what nobody gets lands nowhere.
    std::vector<measured_value> values;

    const measured_value *find(size_t tag_offset) const; // null: not measured
};

// How a value is measured: alone with its path or key, or, much slower, in the whole update, which a test compares.
enum class measuring : uint8_t { reduced, whole };

// Of the payload of an update. An update that no entry point takes is refused.
// Where lists fill a payload not every element is measured, which would take minutes: `converted_at_most` bytes of changed
// encodings are converted, those of what stands at the beginning of its lists first.
measurement measure(uint32_t code, bytes_view payload, measuring how = measuring::reduced,
                    size_t converted_at_most = size_t{256} << 20);

// The members that count the elements of each list of an update, which is delivered; others have none.
struct measured_list {
    field_path path;
    landing lands; // members only
};
std::vector<measured_list> measure_lists(uint32_t code, bytes_view payload);

// The fields of an update that is not delivered without which it would be: each of them alone keeps it back.
std::vector<field_path> deciding_presence(uint32_t code, bytes_view payload);

// What the bytes of an older form's payload are, all of them in their order. Those without a name are not used.
struct fixed_field {
    const char *name;
    size_t offset;
    size_t len;
    bool is_number; // in network byte order
};
std::vector<fixed_field> fixed_fields(uint32_t code, bytes_view payload);

// The message of an update's code; null for the older forms and unknown codes.
const zidl::message_descriptor *message_of_code(uint32_t code);

} // namespace rib_inspect

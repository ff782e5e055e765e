// What a client's record says, as a list of values by the names of their members and without pointers: for comparing two
// records and for showing single members.

#pragma once

#include "inspect/client_records.hpp"

#include <string>
#include <vector>

namespace rib_inspect
{

// The place of a value: `paths[3].pe_labels[1]`. Records hold one another no deeper than this; a test goes through all.
constexpr uint32_t max_record_depth = 5;
constexpr uint32_t no_index = UINT32_MAX;

struct record_path {
    struct step {
        const record_member *member;
        uint32_t index; // of a list's element; otherwise no_index
    };
    uint32_t depth = 0;
    step steps[max_record_depth] = {};

    const record_member &last() const { return *steps[depth - 1].member; }
};

bool operator==(const record_path &a, const record_path &b);
bool operator<(const record_path &a,
               const record_path &b); // of values of one type of record: in the order of the record

void append_path(std::string &out, const record_path &path);
std::string to_string(const record_path &path);

enum class record_value_kind : uint8_t {
    number,
    text,
    address,
    bytes,
    null, // a block, an ecomm block and the like that is not there
};

struct record_value {
    record_path path;
    record_value_kind kind;
    address_family family; // of an address
    uint8_t number_size;   // of a number, in bytes
    uint64_t number;
    std::string bytes; // of all but numbers; of an address all sixteen

    bool is_zero() const; // 0, empty, null, or nothing but zeros
};

bool same_content(const record_value &a, const record_value &b);

// For people: a number, an address as text, text in quotes, bytes as hex, or `null`.
void append_value(std::string &out, const record_value &value);

// In the order of the record. Empty lists have none, whatever is behind a list's count has none but in pe_labels.
std::vector<record_value> values_of(const client_record &record);

// A member whose values differ; null: only the other record has such a place.
struct record_difference {
    const record_value *before;
    const record_value *after;

    const record_path &path() const { return (before == nullptr ? after : before)->path; }
};

// Of two records of one type, in the order of the record.
std::vector<record_difference> differences(const std::vector<record_value> &before,
                                           const std::vector<record_value> &after);

} // namespace rib_inspect

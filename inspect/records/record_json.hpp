// The client's records as JSON, member by member in the order of their declaration. docs/ribtool.md says how numbers,
// bytes, text and addresses are written.

#pragma once

#include "inspect/records/client_records.hpp"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace rib_inspect
{

// Some members of all types of record, by their names.
class field_selection
{
public:
    field_selection();
    ~field_selection();
    field_selection(field_selection &&) noexcept;
    field_selection &operator=(field_selection &&) noexcept;

    // Selects the members whose path ends in `name` ("pe_labels", "paths.pe_labels", "key_prefix.addr"; no indices), in
    // whichever records have them, and all that is inside them. False: no record has such a member.
    bool add(std::string_view name);

    // What of a record's members is selected, by their order.
    struct part {
        const record_member *member;
        bool is_whole = false;
        std::vector<part> inside; // by the members of the record, or of the list's elements

        bool is_empty() const;
    };
    const std::vector<part> &of(const record_type &type) const;

private:
    struct root {
        const record_type *type;
        std::vector<part> parts;
    };
    std::vector<root> roots_;
};

struct record_json_options {
    // Leaves out every member that holds what stands for an absent one (0 for most numbers, `absent` of the table), zero
    // addresses and bytes, empty text, lists and records, and null. Elements of lists stay, as their place means something.
    bool is_compact = false;
    const field_selection *fields = nullptr; // null: all
};

void append_json(std::string &out, const client_record &record, const record_json_options &options = {});

} // namespace rib_inspect

// In what two records of a client differ: member by member, and the paths of routes as a multiset, since their order says nothing.

#pragma once

#include "inspect/records/client_records.hpp"

#include <string>
#include <string_view>
#include <vector>

namespace ribtool
{

// Values are JSON, as `replay` has them.
struct member_difference {
    std::string_view name;
    std::string a;
    std::string b;
};

// A path of both that has changed; one of another next hop is taken for the same only when no path is nearer.
struct path_difference {
    const rib_path_entry *a;
    const rib_path_entry *b;
    std::vector<member_difference> members;
};

struct record_difference {
    std::vector<member_difference> members;
    std::vector<path_difference> changed_paths;
    std::vector<const rib_path_entry *> removed_paths; // only in a
    std::vector<const rib_path_entry *> added_paths;   // only in b
};

// Whether a client sees no difference. Both records are of one type.
bool is_same(const rib_inspect::client_record &a, const rib_inspect::client_record &b);

// The records outlive what is returned.
record_difference difference(const rib_inspect::client_record &a, const rib_inspect::client_record &b);

} // namespace ribtool

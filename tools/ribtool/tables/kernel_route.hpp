// A route as a Linux kernel describes it, whichever way it was read, and what of it import keeps.

#pragma once

#include "tools/ribtool/addresses.hpp"
#include "tools/ribtool/tables/left_out_counts.hpp"
#include "tools/ribtool/tables/table_route.hpp"

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace ribtool
{

struct kernel_hop {
    std::optional<ip_address> gateway;
    std::optional<uint32_t> interface_index;
    std::optional<uint32_t> weight; // only where hops share a route
    bool is_on_link = false;
    bool is_dead = false;
    bool is_link_down = false;
};

// What becomes of an entry, or of a part of it, that does not reach the capture. The first ones leave out a whole entry.
enum class omission : uint8_t {
    own_address,
    unknown_type,
    other_family,
    cached,
    one_source,
    one_service,
    unresolved_hop,
    encapsulation,
    transport_metrics,
    preference,
    interface_name,
    table_name,
    protocol_name,
};

std::string_view words(omission what); // as the summary has it

struct kernel_route {
    ip_prefix prefix;
    std::optional<uint32_t> table;
    uint8_t type = 0; // RTN_UNICAST ...
    std::optional<uint32_t> protocol;
    std::optional<uint32_t> metric;
    std::optional<ip_address> source; // the address that packets of this host get
    std::vector<kernel_hop> hops;     // none where packets end here: a blackhole

    // What an entry says that a route of import has no place for.
    bool is_of_other_family = false;
    bool is_cached = false;
    bool is_for_one_source = false;
    bool is_for_one_service = false;
    bool names_hop_object = false; // beside its hops or in their place
    uint32_t encapsulations = 0;
    bool has_transport_metrics = false;
    bool has_preference = false;
    uint32_t unknown_interfaces = 0; // named, without an index
    uint32_t unknown_table = 0;      // a number that tells it from others whose names have none; 0: none
    bool has_unknown_protocol = false;

    // Where it stands: a line and a column, or a message and a byte.
    uint64_t place_number = 0;
    uint64_t place_offset = 0;

    void clear(); // keeps the memory of the hops
};

// Why no route is made of an entry; nothing where one is.
std::optional<omission> why_left_out(const kernel_route &entry);

// Notes what an entry that is kept loses.
void count_losses(const kernel_route &entry, left_out_counts &counts);

// Appends a path for each hop, one where there is none or packets end.
void append_paths(const kernel_route &entry, std::vector<table_path> &paths);

} // namespace ribtool

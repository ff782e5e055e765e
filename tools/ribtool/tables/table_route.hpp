// A route as routing tables describe it, and its encoding. What `import` reads and what `synth` draws from the
// histograms both become this.

#pragma once

#include "tools/ribtool/addresses.hpp"
#include "tools/ribtool/frames/frame.hpp"

#include <cstdint>
#include <optional>
#include <vector>

namespace ribtool
{

enum class community_kind : uint32_t {
    widened = 1,  // 32-bit communities in the low half of 64 bits
    extended = 2, // 64-bit extended communities
};

struct table_path {
    std::optional<uint32_t> peer_index;
    std::optional<uint32_t> age_s;
    std::optional<ip_address> next_hop;
    std::optional<uint32_t> origin; // 0 IGP, 1 EGP, 2 incomplete
    std::optional<uint32_t> as_path_len;
    std::optional<uint32_t> neighbor_as;
    std::optional<uint32_t> origin_as;
    std::optional<uint32_t> med;
    std::optional<uint32_t> local_pref;
    bool atomic_aggregate = false;
    bool aggregator = false;
    community_kind communities_are = community_kind::widened;
    std::vector<uint64_t> communities;

    // What only tables of a kernel say. The numbers are its own.
    std::optional<uint32_t> kernel_type;
    std::optional<uint32_t> protocol;
    std::optional<uint32_t> interface_index;
    std::optional<uint32_t> weight;
    std::optional<ip_address> source; // that packets of the host itself get
    bool on_link = false;
    bool dead = false;
    bool link_down = false;
};

struct table_route {
    ip_prefix prefix;
    std::vector<table_path> paths; // none: the prefix is withdrawn
    std::optional<uint32_t> table; // of a kernel, which has several
};

// More paths no frame holds: each takes a tag, a length and its flags. Readers stop there, so that what goes on for ever ends.
constexpr size_t MIN_PATH_LEN = 5;
constexpr size_t MAX_PATHS = MAX_PAYLOAD_LEN / MIN_PATH_LEN;

// docs/ribtool.md has the table of what goes where. The arrays lie in `memory`.
zidl_rib_route route_message(const table_route &route, scratch &memory);
zidl_rib_path path_message(const table_path &path, scratch &memory);

} // namespace ribtool

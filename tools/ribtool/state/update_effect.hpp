// What an update does to what a client has: whether it gets there at all, the key that it is about, and whether it takes away what
// was there.
//
// The library itself would tell by converting the update. Most updates are plain, and of those a decoded message says it all in a
// fraction of the time; whatever is not plain is explained. A test holds the two against each other.

#pragma once

#include "codec/zidl_arena.h"
#include "inspect/rib_inspect.h"
#include "tools/ribtool/explain/explanation.hpp"
#include "tools/ribtool/frames/frame.hpp"
#include "tools/ribtool/state/update_key.hpp"

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace ribtool
{

struct update_effect {
    rib_outcome outcome = RIB_DELIVERED;
    rib_reason reason = RIB_REASON_none; // why it is not delivered; of a delivered one none, or lenient_end
    update_key key;         // of a delivered one, unless it is a grid list, which has a key for each of its elements
    bool withdraws = false; // a route that brings no path
};

class effect_reader
{
public:
    effect_reader() { zidl_arena_init(&arena_, block_.data(), block_.size() * sizeof block_[0]); }
    ~effect_reader() { zidl_arena_destroy(&arena_); }
    effect_reader(const effect_reader &) = delete;
    effect_reader &operator=(const effect_reader &) = delete;

    // ribtool is the client that brings the converter of the older form of routes.
    update_effect read(uint16_t code, byte_span payload);

    // The same without the short way.
    update_effect read_explained(uint16_t code, byte_span payload);

    // The grid list that was read last, if it is delivered.
    const grid_sync_list &list() const { return *static_cast<const grid_sync_list *>(explained_->record); }

private:
    std::optional<update_effect> read_plain(uint16_t code, byte_span payload);
    std::optional<update_effect> read_route(byte_span payload);
    std::optional<update_effect> read_protocol(byte_span payload);
    std::optional<update_effect> read_opaque(byte_span payload);
    std::optional<update_effect> read_next_hop(byte_span payload);
    bool brings_path(const zidl_rib_route &msg);
    bool is_converted(const zidl_rib_path &path);

    template <class Message, auto Decode>
    bool decode(Message &msg, byte_span payload);

    zidl_arena arena_;
    std::array<uint64_t, 2048> block_;
    std::vector<uint64_t> entry_; // room for a converted path
    explanation_handle explained_;
};

} // namespace ribtool

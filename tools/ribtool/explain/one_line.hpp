// What is in an update, for a person and in one line: what it is about in a column of its own, then the rest, the most telling first.

#pragma once

#include "inspect/rib_inspect.h"
#include "ip/rib/lib/src/rib_lib.h"
#include "tools/ribtool/frames/frame.hpp"
#include "tools/terminal/terminal.hpp"

#include <cstdint>
#include <string>

namespace ribtool
{

// Lists go on for ever: so many elements are shown, then how many follow.
constexpr size_t MOST_LISTED = 8;

class one_line
{
public:
    explicit one_line(terminal::painter paint) : paint_(paint) {}

    // Begins anew: the frame's number, the code and a name for the kind of update.
    void begin(uint64_t frame, uint16_t code);
    // A star: something of the update is lost.
    void add_loss_mark();

    // One of these goes on.
    void add(const struct rib_routetype_ &route);
    void add(const rib_protoid_map &map);
    // `sub_id` is what the callback gets beside the record. The blocks are what of them lies in memory.
    void add(const rib_opaque_update &opaque, uint32_t sub_id, byte_span first_block, byte_span second_block);
    void add(const grid_sync_list &list);
    void add(const nhid_update_local &update);
    // Any of them, of an update that is delivered. `payload` is the update's own.
    void add(const rib_explanation &of, byte_span payload);
    // What became of an update that is not delivered: "dropped", and why.
    void add_outcome(terminal::style how, std::string_view outcome, std::string_view why);

    const std::string &text() const { return text_; }

private:
    void add_opaque(const rib_explanation &of, byte_span payload);
    void add_subject(std::string_view subject);
    void add_path(const rib_path_entry &path);
    void add_block(std::string_view name, size_t len, byte_span bytes);

    // Calls one(index) for each of the first elements, with commas between them, and says how many there are more.
    template <class One>
    void add_list(size_t count, One one);

    terminal::painter paint_;
    std::string text_;
};

// "10.0.0.0/8": of a route. Empty when it has no address.
std::string route_prefix_text(const struct rib_routetype_ &route);

// "192.0.2.1": the next hop of a path (pe_addr_5); "-" when it has none.
std::string next_hop_text(const rib_path_entry &path);

} // namespace ribtool

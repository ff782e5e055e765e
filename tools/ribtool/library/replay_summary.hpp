// What a replay counts, and the table that it prints at the end.

#pragma once

#include "tools/ribtool/library/library_call.hpp"

#include <array>
#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace ribtool
{

struct update_counts {
    uint64_t updates = 0;
    uint64_t callbacks = 0;
    uint64_t dropped = 0; // the library ended without a callback
    uint64_t refused = 0; // against the entry point's contract, so not handed over
    uint64_t stopped = 0; // an assertion would have stopped the process
    uint64_t routes = 0;
    uint64_t paths_sent = 0;                    // in encoded routes
    uint64_t paths = 0;                         // in records
    std::chrono::steady_clock::duration time{}; // in the library, callbacks not counted

    void add(const update_counts &other);
};

class replay_summary
{
public:
    update_counts &of(update_form form, uint16_t code);
    void add_delimiter() { ++delimiters_; }
    bool all_went_through() const;

    // To the standard error. `kind` is the source's: "pcap".
    void print(const std::string &input, std::string_view kind, uint64_t updates) const;

private:
    update_counts total(update_form form) const;
    void print_table() const;
    void print_totals() const;

    uint64_t delimiters_ = 0;
    std::array<std::map<uint16_t, update_counts>, UPDATE_FORMS> counts_; // by type code
};

// The number of paths that an encoded route carries, without decoding it.
uint64_t paths_in_route(byte_span payload);

} // namespace ribtool

// Values drawn with the frequencies of real routing tables.

#pragma once

#include "tools/ribtool/generate/random.hpp"

#include <cstdint>
#include <string_view>
#include <vector>

namespace ribtool
{

class histogram
{
public:
    void add(uint32_t value, uint64_t count);
    uint32_t draw(random_source &random) const; // the histogram is not empty
    uint64_t total() const { return total_; }
    bool empty() const { return total_ == 0; }

private:
    struct bin {
        uint64_t last; // counts up to here, this bin's included
        uint32_t value;
    };
    std::vector<bin> bins_;
    uint64_t total_ = 0;
};

// What a generated table is drawn from, for one address family.
struct table_statistics {
    histogram prefix_lengths;
    histogram paths_per_prefix;
    histogram as_path_len;
    histogram communities_per_path;
    histogram ext_communities_per_path;
    histogram has_med;
    histogram has_local_pref;
    histogram atomic_aggregate;
};

struct statistics {
    table_statistics ipv4;
    table_statistics ipv6;
};

// Parsed once from the compiled-in files of tools/ribtool/data.
const statistics &table_histograms();

// The two files as the build embedded them.
extern const std::string_view prefix_lengths_tsv;
extern const std::string_view distributions_tsv;

} // namespace ribtool

// Counts what no route was made of, by name.

#pragma once

#include "tools/ribtool/tables/route_source.hpp"

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace ribtool
{

class left_out_counts
{
public:
    void add(std::string_view what, uint64_t count = 1)
    {
        const auto found = counts_.find(what);
        if (found != counts_.end())
            found->second += count;
        else
            counts_.emplace(what, count);
    }

    std::vector<left_out> list() const
    {
        std::vector<left_out> all;
        for (const auto &[what, count] : counts_)
            all.push_back({count, what});
        return all;
    }

private:
    std::map<std::string, uint64_t, std::less<>> counts_;
};

} // namespace ribtool

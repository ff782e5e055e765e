// What the readers of kernels' tables have in common: entries of one prefix and table that follow one another, as a kernel has
// them for different metrics, are the paths of one route; what is no route is left out and counted.

#pragma once

#include "tools/ribtool/tables/kernel_route.hpp"

#include <string>
#include <vector>

namespace ribtool
{

class kernel_source : public route_source
{
public:
    bool next(table_route &route, uint64_t &time_us) override;
    std::string place() const override { return place_of(place_number_, place_offset_); }
    std::vector<left_out> left_out_so_far() const override { return omissions_.told(); }

protected:
    // The next entry; false at the end.
    virtual bool next_entry(kernel_route &entry) = 0;

    // What place_number and place_offset of an entry mean: "FILE:LINE:COLUMN", "FILE: message 3 at byte 120".
    virtual std::string place_of(uint64_t number, uint64_t offset) const = 0;

private:
    bool next_kept();
    bool continues(const table_route &route) const;

    kernel_route entry_;
    bool is_waiting_ = false; // entry_ is the first of the next route
    omissions omissions_;
    uint64_t kept_ = 0; // entries
    uint64_t place_number_ = 0;
    uint64_t place_offset_ = 0;
};

} // namespace ribtool

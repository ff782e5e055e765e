// Where routes come from: what every reader of a table or of a stream of announcements offers, whatever its format.

#pragma once

#include "tools/ribtool/tables/table_route.hpp"

#include <cstdint>
#include <string>
#include <vector>

namespace ribtool
{

// What of an input no route was made of, and how often: "2 records of RIB_IPV4_MULTICAST".
struct left_out {
    uint64_t count;
    std::string what;
};

class route_source
{
public:
    virtual ~route_source() = default;

    // The next route; false at the end. Throws a failure that says where: "FILE:LINE: ...".
    virtual bool next(table_route &route, uint64_t &time_us) = 0;

    // Where the route that next() gave last stands: "FILE:LINE", "FILE: record 3".
    virtual std::string place() const = 0;

    // What was left out so far, for the summary.
    virtual std::vector<left_out> left_out_so_far() const { return {}; }

    virtual uint64_t position() const = 0; // bytes of the file read so far
    virtual uint64_t size() const = 0;     // of the file; 0 when not known
};

} // namespace ribtool

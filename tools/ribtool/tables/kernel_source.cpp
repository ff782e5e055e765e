#include "tools/ribtool/tables/kernel_source.hpp"

#include "tools/ribtool/errors.hpp"

#include <utility>

namespace ribtool
{

bool kernel_source::next(table_route &route, uint64_t &time_us)
{
    if (!std::exchange(is_waiting_, false) && !next_kept())
        return false;
    route.prefix = entry_.prefix;
    route.table = entry_.table;
    route.paths.clear();
    time_us = kept_ - 1; // one microsecond an entry, so that the order stays visible
    do {
        append_paths(entry_, route.paths);
        place_number_ = entry_.place_number;
        place_offset_ = entry_.place_offset;
        if (route.paths.size() > MAX_PATHS)
            fail(EXIT_MALFORMED, "{}: the route has more than {} paths, and no frame holds them", place(), MAX_PATHS);
        if (!next_kept())
            return true;
    } while (continues(route));
    is_waiting_ = true;
    return true;
}

// The next entry that belongs to a route.
bool kernel_source::next_kept()
{
    while (next_entry(entry_)) {
        const std::optional<omission> reason = why_left_out(entry_);
        if (!reason) {
            count_losses(entry_, omissions_);
            ++kept_;
            return true;
        }
        omissions_.add(*reason);
    }
    return false;
}

bool kernel_source::continues(const table_route &route) const
{
    return entry_.prefix == route.prefix && entry_.table == route.table;
}

} // namespace ribtool

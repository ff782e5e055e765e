#include "tools/ribtool/tables/row_source.hpp"

#include "tools/ribtool/errors.hpp"

#include <iterator>
#include <utility>

namespace ribtool
{

// Keeps the memory of the paths.
void table_row::clear()
{
    paths.clear();
    is_whole = false;
}

bool row_source::read_row()
{
    row_.clear();
    return next_row(row_);
}

bool row_source::next(table_route &route, uint64_t &time_us)
{
    if (!std::exchange(is_waiting_, false) && !read_row())
        return false;
    route.prefix = row_.prefix;
    route.table = row_.table;
    const uint32_t unknown_table = row_.unknown_table;
    std::swap(route.paths, row_.paths);
    time_us = row_.time_us;
    number_ = row_.number;
    offset_ = row_.offset;
    if (row_.is_whole)
        return true;
    while (read_row()) {
        is_waiting_ = row_.is_whole || row_.prefix != route.prefix || row_.table != route.table ||
                      row_.unknown_table != unknown_table;
        if (is_waiting_)
            return true;
        number_ = row_.number;
        offset_ = row_.offset;
        if (route.paths.size() + row_.paths.size() > MAX_PATHS)
            fail(EXIT_MALFORMED, "{}: {} has more than {} paths, and no frame holds them", place(),
                 prefix_text(route.prefix), MAX_PATHS);
        std::move(row_.paths.begin(), row_.paths.end(), std::back_inserter(route.paths));
    }
    return true;
}

} // namespace ribtool

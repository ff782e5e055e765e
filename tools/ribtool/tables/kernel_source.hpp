// What the readers of kernels' tables have in common: entries are rows, and what is no route is left out and counted.

#pragma once

#include "tools/ribtool/tables/kernel_route.hpp"
#include "tools/ribtool/tables/row_source.hpp"

namespace ribtool
{

class kernel_source : public row_source
{
protected:
    // The next entry, whose place is "FILE:LINE:COLUMN" or "FILE: message 3 at byte 120"; false at the end.
    virtual bool next_entry(kernel_route &entry) = 0;

private:
    bool next_row(table_row &row) final;

    kernel_route entry_;
    uint64_t rows_ = 0;
};

} // namespace ribtool

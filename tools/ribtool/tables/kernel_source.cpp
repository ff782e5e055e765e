#include "tools/ribtool/tables/kernel_source.hpp"

namespace ribtool
{

bool kernel_source::next_row(table_row &row)
{
    while (next_entry(entry_)) {
        if (const std::optional<omission> reason = why_left_out(entry_)) {
            left_out_.add(words(*reason));
            continue;
        }
        count_losses(entry_, left_out_);
        row.prefix = entry_.prefix;
        row.table = entry_.table;
        row.unknown_table = entry_.unknown_table;
        append_paths(entry_, row.paths);
        row.time_us = rows_++; // one microsecond an entry, so that the order stays visible
        row.number = entry_.place_number;
        row.offset = entry_.place_offset;
        return true;
    }
    return false;
}

} // namespace ribtool

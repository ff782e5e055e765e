// The differences of two tables of updates, for people or as JSON, on the standard output.

#pragma once

#include "tools/ribtool/state/record_difference.hpp"
#include "tools/ribtool/state/state_table.hpp"
#include "tools/ribtool/state/update_record.hpp"

#include <memory>

namespace ribtool
{

// What a client got of an update that a table has.
update_record record_of(const state_table &table, const kept_update &update);

class difference_output
{
public:
    virtual ~difference_output() = default;
    virtual void print_added(const state_table &table, const kept_update &update) = 0;
    virtual void print_removed(const state_table &table, const kept_update &update) = 0;
    virtual void print_changed(const state_table &a, const kept_update &in_a, const state_table &b,
                               const kept_update &in_b) = 0;
    virtual void close() = 0;
};

std::unique_ptr<difference_output> make_difference_output(bool is_json);

} // namespace ribtool

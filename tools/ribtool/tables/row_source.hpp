// What most readers of tables have in common: they find rows, and consecutive rows of one prefix are the paths of one route.

#pragma once

#include "tools/ribtool/tables/left_out_counts.hpp"
#include "tools/ribtool/tables/route_source.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ribtool
{

struct table_row {
    ip_prefix prefix;
    std::optional<uint32_t> table; // of a kernel, which has several
    uint32_t unknown_table = 0;    // of a kernel, too: tells tables without a number from one another
    std::vector<table_path> paths;
    uint64_t time_us = 0;
    bool is_whole = false; // a route of its own, whatever follows: an update, or a prefix of a list
    uint64_t number = 0;   // of its line or record
    uint64_t offset = 0;   // of its record

    void clear();
};

class row_source : public route_source
{
public:
    bool next(table_route &route, uint64_t &time_us) final;
    std::string place() const final { return place_of(number_, offset_); } // of the route's last row
    std::vector<left_out> left_out_so_far() const override { return left_out_.list(); }

protected:
    // The next row into `row`, which is clear; false at the end.
    virtual bool next_row(table_row &row) = 0;

    virtual std::string place_of(uint64_t number, uint64_t offset) const = 0;

    left_out_counts left_out_;

private:
    bool read_row();

    table_row row_;
    bool is_waiting_ = false; // row_ is the first of the next route
    uint64_t number_ = 0;
    uint64_t offset_ = 0;
};

} // namespace ribtool

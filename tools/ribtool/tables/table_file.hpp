// Text tables of routes, as `import` reads them: one row a path, tab-separated.
//
// The first line starts with '#' and names the columns; "-" stands for an attribute that is absent. A table with a
// column "op" is a stream of updates: each row is an update of its own, "A" announces and "W" withdraws (such a row ends
// behind its prefix). In any other table the consecutive rows of one prefix are the paths of one route. A file without a
// line of names is a list of prefixes.

#pragma once

#include "tools/ribtool/tables/route_source.hpp"
#include "tools/ribtool/text_input.hpp"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace ribtool
{

// Whether a file that starts so begins with a line of names, a remark, an empty line or something like an address.
bool is_table_text(byte_span start);

class table_file : public route_source
{
public:
    explicit table_file(const std::string &path) : input_(path) {}
    explicit table_file(std::unique_ptr<compressed_input> input) : input_(std::move(input)) {}

    bool next(table_route &route, uint64_t &time_us) override;
    std::string place() const override { return place_; } // of the route's last row
    uint64_t position() const override { return input_.position(); }
    uint64_t size() const override { return input_.size(); }

private:
    struct row {
        ip_prefix prefix;
        std::string prefix_text;
        std::optional<table_path> path; // none: withdrawn, or a list of prefixes
        uint64_t time_us = 0;
        std::string place;
    };

    bool next_row(row &out);
    void name_columns(std::string_view line);
    row parse_row(std::string_view line);
    std::optional<table_path> parse_path();

    std::optional<std::string_view> cell(std::string_view column) const;
    std::optional<uint32_t> number_cell(std::string_view column) const;
    void parse_communities(table_path &path) const;
    [[noreturn]] void bad_cell(std::string_view column, std::string_view text) const;

    text_input input_;
    std::vector<std::string> columns_;
    std::vector<std::string_view> cells_; // of the current line
    bool is_stream_ = false;
    uint64_t rows_ = 0;
    std::optional<row> waiting_; // the first row of the next route
    std::string place_;
};

} // namespace ribtool

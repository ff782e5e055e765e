// The lines of `bgpdump -m` as a source of routes: those of a table give a table, "A" and "W" give updates.

#pragma once

#include "tools/ribtool/input/text_input.hpp"
#include "tools/ribtool/tables/peer_numbers.hpp"
#include "tools/ribtool/tables/row_source.hpp"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace ribtool
{

// Whether a file that starts so begins with a line of bgpdump.
bool is_bgpdump(byte_span start);

class bgpdump_file : public row_source
{
public:
    explicit bgpdump_file(std::unique_ptr<compressed_input> input) : input_(std::move(input)) {}

    uint64_t position() const override { return input_.position(); }
    uint64_t size() const override { return input_.size(); }

protected:
    bool next_row(table_row &row) override;
    std::string place_of(uint64_t number, uint64_t offset) const override;

private:
    bool parse_line(std::string_view line, table_row &row);
    void parse_time(std::string_view text, table_row &row) const;
    uint32_t parse_peer(std::string_view address, std::string_view as_number);
    void parse_prefix_field(std::string_view text, table_row &row) const;
    table_path parse_path(size_t first);
    void parse_communities(std::string_view text, table_path &path) const;
    void parse_aggregation(size_t first, table_path &path);
    std::string_view field(size_t index, const char *name) const;
    [[noreturn]] void bad_field(const char *name, std::string_view text) const;

    text_input input_;
    std::vector<std::string_view> fields_; // of the current line
    peer_numbers peers_;
};

} // namespace ribtool

// Text tables of routes, as `import` reads them: one row a path, tab-separated.
//
// The first line starts with '#' and names the columns; "-" stands for an attribute that is absent. A table with a
// column "op" is a stream of updates: each row is an update of its own, "A" announces and "W" withdraws (such a row ends
// with the later of "op" and "prefix"). In any other table the consecutive rows of one prefix are the paths of one route.
// A file without a line of names is a list of prefixes.

#pragma once

#include "tools/ribtool/input/text_input.hpp"
#include "tools/ribtool/tables/row_source.hpp"

#include <array>
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

class table_file : public row_source
{
public:
    explicit table_file(const std::string &path) : input_(path) {}
    explicit table_file(std::unique_ptr<compressed_input> input) : input_(std::move(input)) {}

    std::vector<left_out> left_out_so_far() const override;
    uint64_t position() const override { return input_.position(); }
    uint64_t size() const override { return input_.size(); }

protected:
    bool next_row(table_row &row) override;
    std::string place_of(uint64_t number, uint64_t offset) const override;

private:
    // What import knows; an attribute each but for the first three.
    enum column {
        PREFIX,
        OP,
        T_US,
        PEER_INDEX,
        AGE_S,
        NEXT_HOP,
        ORIGIN,
        AS_PATH_LEN,
        NEIGHBOR_AS,
        ORIGIN_AS,
        MED,
        LOCAL_PREF,
        FLAGS,
        COMMUNITIES,
        EXT_COMMUNITIES,
        COLUMN_COUNT,
    };
    static const std::array<std::string_view, COLUMN_COUNT> COLUMN_NAMES;

    struct other_column {
        size_t index;
        std::string name;
        uint64_t values = 0; // that are not "-"
    };

    void name_columns(std::string_view line);
    void split_cells(std::string_view line);
    void parse_row(std::string_view line, table_row &row);
    void parse_prefix_text(std::string_view text, table_row &row) const;
    void parse_time(table_row &row) const;
    void parse_path(table_path &path);
    void parse_communities(table_path &path);
    void count_other_values();

    bool has(column which) const { return indexes_[which].has_value(); }
    std::optional<std::string_view> cell(column which) const;
    std::optional<uint32_t> number_cell(column which) const;
    [[noreturn]] void bad_cell(column which, std::string_view text) const;

    text_input input_;
    size_t column_count_ = 0; // 0: a list of prefixes
    std::array<std::optional<size_t>, COLUMN_COUNT> indexes_{};
    std::vector<other_column> others_;
    std::vector<std::string_view> cells_; // of the current line
    uint64_t rows_ = 0;
};

} // namespace ribtool

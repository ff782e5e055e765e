// The table of where fields land, and the client guide against it.

#include "inspect/measure/lands_in.hpp"
#include "messages/descriptors.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace rib_test
{

namespace
{

using words = std::vector<std::string>;

std::string contents_of(const std::string &path)
{
    std::ifstream file(path);
    EXPECT_TRUE(file.good()) << path;
    return {std::istreambuf_iterator<char>(file), {}};
}

const std::string bases_file = RIB_DOCS "../inspect/measure/lands_in_bases.txt";
const std::string table_file = RIB_DOCS "../inspect/lands_in.tsv";

words split(const std::string &text, const std::string &between)
{
    words parts;
    size_t at = 0;
    for (size_t next; (next = text.find(between, at)) != std::string::npos; at = next + between.size())
        parts.push_back(text.substr(at, next - at));
    parts.push_back(text.substr(at));
    return parts;
}

// ---- The table ----

const std::vector<rib_inspect::measured_base> &measured_bases()
{
    static const auto all = rib_inspect::measured(rib_inspect::read_bases(contents_of(bases_file)));
    return all;
}

TEST(lands_in, the_committed_table_is_what_is_measured_now)
{
    const words committed = split(contents_of(table_file), "\n");
    const words now = split(rib_inspect::lands_in_table(measured_bases()), "\n");
    EXPECT_EQ(committed.size(), now.size()) << "run script/generate";
    for (size_t i = 0; i < now.size() && !HasFailure(); ++i)
        EXPECT_EQ(committed[i], now[i]) << "run script/generate";
}

TEST(lands_in, each_base_adds_something)
{
    const std::string all = rib_inspect::lands_in_table(measured_bases());
    for (size_t i = 0; i < measured_bases().size(); ++i) {
        std::vector<rib_inspect::measured_base> others = measured_bases();
        others.erase(others.begin() + static_cast<std::ptrdiff_t>(i));
        EXPECT_NE(rib_inspect::lands_in_table(others), all) << "without base " << i + 1;
    }
}

TEST(lands_in, a_base_that_is_none_is_named_by_its_line)
{
    try {
        rib_inspect::read_bases("# a comment\n51 {}\n47 {\"proto_id\": -1}\n");
        FAIL();
    } catch (const rib_inspect::bad_base &failure) {
        EXPECT_TRUE(std::string(failure.what()).starts_with("line 3: proto_id: ")) << failure.what();
    }
    EXPECT_THROW(rib_inspect::read_bases("3 {}\n"), rib_inspect::bad_base);
}

// ---- The guide ----

// What the table says, by the record's members: "pe_addr_5" -> {"ipv4", "path_address_5", ...}, all names on the ways to it.
using sources = std::map<std::string, std::set<std::string>>;

bool is_member(const std::string &piece)
{
    return piece != "decides" && piece != "nothing" && piece.find(' ') == std::string::npos &&
           piece.find_first_not_of("0123456789") != std::string::npos;
}

sources sources_of(const std::string &update)
{
    sources all;
    for (const std::string &line : split(contents_of(table_file), "\n")) {
        const words columns = split(line, "\t");
        if (columns.size() != 4 || split(columns[2], ".")[0] != update)
            continue;
        for (const std::string &member : split(columns[3], ", ")) {
            if (!is_member(member))
                continue;
            all[member].insert(columns[1]);
            for (const std::string &step : split(columns[2], "."))
                all[member].insert(step);
        }
    }
    return all;
}

// The names in a cell, with what is short for them: "`path_value_1`, `_2`" and "`pe_l2_5` to `pe_l2_8`".
words names_in(const std::string &cell)
{
    words names;
    const words parts = split(cell, "`");
    for (size_t i = 1; i < parts.size(); i += 2) {
        std::string name = parts[i];
        if (name[0] == '_' && !names.empty())
            name = names.back().substr(0, names.back().rfind('_')) + name;
        if (parts[i - 1] == " to ") {
            const size_t digits = name.rfind('_') + 1;
            const int last = std::stoi(name.substr(digits));
            for (int number = std::stoi(names.back().substr(names.back().rfind('_') + 1)) + 1; number < last; ++number)
                names.push_back(name.substr(0, digits) + std::to_string(number));
        }
        names.push_back(name);
    }
    return names;
}

struct guide_row {
    words members;
    words named; // in the column of sources
};

// The rows of the first table behind `heading`; a row "… `algo`" belongs to the member of the row before.
std::vector<guide_row> guide_rows(const std::string &heading, const std::string &prefix)
{
    const std::string guide = contents_of(RIB_DOCS "client-guide.md");
    const size_t at = guide.find(heading);
    EXPECT_NE(at, std::string::npos) << heading;
    std::vector<guide_row> rows;
    std::string list;
    std::istringstream lines(guide.substr(at + heading.size()));
    bool has_begun = false;
    for (std::string line; std::getline(lines, line) && (!has_begun || line.starts_with("|"));) {
        const words cells = split(line, " | ");
        if (cells.size() < 3 || !line.starts_with("|")) {
            has_begun = has_begun || line.starts_with("|");
            continue;
        }
        if (!has_begun) {
            has_begun = true;
            if (line.find("`") == std::string::npos || line.find("Source") != std::string::npos)
                continue;
        }
        guide_row row = {names_in(cells[0]), names_in(cells[2])};
        const bool is_part = cells[0].find("…") != std::string::npos;
        if (!is_part && !row.members.empty())
            list = row.members.back();
        for (std::string &member : row.members)
            member = prefix + (is_part ? list + "." : "") + member;
        if (!row.members.empty())
            rows.push_back(row);
    }
    return rows;
}

class guide
{
public:
    guide(const std::string &update, std::set<std::string> not_measured)
        : measured_(sources_of(update)), not_measured_(std::move(not_measured))
    {
    }

    // Each member of the table lands there by a field that the table names, if it names any.
    void hold(const std::string &heading, const std::string &prefix = "")
    {
        const std::vector<guide_row> rows = guide_rows(heading, prefix);
        EXPECT_GT(rows.size(), 2u) << heading;
        for (const guide_row &row : rows) {
            for (size_t i = 0; i < row.members.size(); ++i)
                hold(row, row.members[i], i);
        }
    }

    // What is measured and no table has.
    words left() const
    {
        words names;
        for (const auto &[member, from] : measured_) {
            if (!shown_.contains(member))
                names.push_back(member);
        }
        return names;
    }

private:
    void hold(const guide_row &row, const std::string &member, size_t index)
    {
        bool is_found = false;
        for (const auto &each : measured_) {
            const std::string &name = each.first;
            const std::set<std::string> &from = each.second;
            if (name != member && !name.starts_with(member + ".") && !name.starts_with(member + "["))
                continue;
            is_found = true;
            shown_.insert(name);
            // Members and sources of a row go together, one by one.
            const bool in_pairs = row.members.size() == row.named.size();
            const bool is_named =
                row.named.empty() ||
                (in_pairs ? from.contains(row.named[index])
                          : std::any_of(row.named.begin(), row.named.end(),
                                        [&](const std::string &named) { return from.contains(named); }));
            EXPECT_TRUE(is_named) << name << " is not said to come from where it does";
        }
        EXPECT_NE(is_found, not_measured_.contains(member)) << member;
    }

    const sources measured_;
    const std::set<std::string> not_measured_;
    std::set<std::string> shown_;
};

TEST(client_guide, protocol_and_opaque_updates_land_where_it_says)
{
    guide proto("ip_rib_proto_update", {});
    proto.hold("`rib_protoid_map`, 92 bytes");
    EXPECT_EQ(proto.left(), words());
    guide opaque("ip_rib_opaque", {});
    opaque.hold("`rib_opaque_update`, from");
    EXPECT_EQ(opaque.left(), words{"sub_id"}); // the callback's second argument
}

TEST(client_guide, routes_land_where_it_says)
{
    // Numbers that say what was done, blocks named by their contents alone, and the type of a next-next-hop: without the one that it
    // has the hop does not count, and no single change makes it another.
    guide route("rib_route", {"rt_aft_valid", "rt_first_ecomm", "pe_nnh.type", "pe_ecomm_room"});
    route.hold("`struct rib_routetype_`, from");
    route.hold("`rib_path_entry`, 4992 bytes");
    EXPECT_EQ(route.left(), words{"pe_ecomm_values"}); // "values" in the guide
}

TEST(client_guide, grid_lists_and_next_hops_land_where_it_says)
{
    // The number of keys cannot change without that of the IDs; what the others hold has tables of its own.
    guide list("rib_grid_sync_list", {"count", "keys", "type_data"});
    list.hold("`grid_sync_list`, from");
    list.hold("`rib_encap_id_path_key_t`, 444 bytes");
    list.hold("| `type_data.label` |", "label.");
    list.hold("| `type_data.srv6` |", "srv6.");
    EXPECT_EQ(list.left(), words());
    guide hop("rib_nhid_update", {});
    hop.hold("`nhid_update_local`, from");
    EXPECT_EQ(hop.left(), words());
}

} // namespace

} // namespace rib_test

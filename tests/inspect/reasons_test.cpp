// Every reason is reached, by bytes: what becomes of an update, and what is lost of one that is delivered.

#include "inspect/explain/converters.hpp"
#include "inspect/explain/notes.hpp"
#include "tests/inspect/explain_support.hpp"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <set>

namespace
{

using namespace rib_test;

struct reason_case {
    uint32_t code;
    bytes payload;
    std::string outcome;
    std::vector<std::string> losses = {};
    rib_explain_options options = {};
};

bytes operator+(bytes left, const bytes &right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

bytes operator*(size_t times, const bytes &part)
{
    bytes out;
    for (size_t i = 0; i < times; i++)
        out.insert(out.end(), part.begin(), part.end());
    return out;
}

std::string outcome_of(const rib_explanation &why)
{
    return std::string(rib_outcome_name(why.outcome)) + " " + place(why) + " " + why.status_name;
}

// Of many the first two, and how many follow.
std::vector<std::string> abridged(std::vector<std::string> losses)
{
    if (losses.size() > 4) {
        const size_t more = losses.size() - 2;
        losses.resize(2);
        losses.push_back("and " + std::to_string(more) + " more");
    }
    return losses;
}

// A list of one key: its ID, the key's bytes, and that there is one.
bytes list_of_key(const bytes &key)
{
    const bytes ids = {0x0A, 0x00}; // 1 encap_ids[0], empty
    const bytes head = {0x12, static_cast<uint8_t>(key.size())};
    const bytes single = {0x20, 0x00}; // 4 multi_key = 0
    return ids + head + key + single;
}

// What every key has, and a second prefix: values 1 and 2, an IPv4 prefix, value 4.
const bytes KEY = {
    0x08, 0x01,                         // 1 key_value_1 = 1
    0x10, 0x01,                         // 2 key_value_2 = 1
    0x1A, 0x04, 0x08, 0x02, 0x10, 0x18, // 3 key_prefix: 1 family = 2, 2 prefix_len = 24
    0x20, 0x01,                         // 4 key_value_4 = 1
    0x3A, 0x04, 0x08, 0x02, 0x10, 0x18, // 7 key_second_prefix, the same
};
const bytes LABEL_KEY = {0x28, 0x01}; // 5 key_type = 1
const bytes SRV6_KEY = {0x28, 0x02};  // 5 key_type = 2
const bytes PLAIN_KEY = {0x28, 0x03}; // 5 key_type = 3

const std::vector<reason_case> &cases()
{
    static const std::vector<reason_case> all = {
#include "tests/inspect/reason_cases.inc"
    };
    return all;
}

TEST(reasons, each_is_told_where_it_applies)
{
    for (const reason_case &one : cases()) {
        const auto why = explain(one.code, one.payload, one.options);
        ASSERT_NE(why, nullptr);
        EXPECT_EQ(outcome_of(*why), one.outcome) << ::testing::PrintToString(one.payload);
        EXPECT_EQ(abridged(losses(*why)), one.losses) << ::testing::PrintToString(one.payload);
    }
}

// Of those that no update reaches here: the first takes more than four thousand million elements, the second a caller's own
// list, below.
const std::set<std::string> WITHOUT_UPDATE = {"too_many_elements", "assertion"};

TEST(reasons, all_are_reached)
{
    std::string told;
    for (const reason_case &one : cases()) {
        told += " " + one.outcome;
        for (const std::string &loss : one.losses)
            told += " " + loss;
    }
    for (int i = 0; i < RIB_REASON_COUNT; i++) {
        const std::string name = rib_reason_name(static_cast<rib_reason>(i));
        EXPECT_EQ(told.find(" " + name + " ") == std::string::npos, WITHOUT_UPDATE.count(name) == 1) << name;
    }
}

// A case of its own, as each of the attributes has something to lose.
TEST(reasons, attributes_beyond_their_count_are_lost)
{
    // 29 generic_attrs_29, 917532 bytes: 2 attrs, 65538 of them: 1 attr_type = 1, 2 attr_data: 2 are counted
    const auto why =
        explain(RIB_TLV_ROUTE, bytes{0xEA, 0x01, 0x9C, 0x80, 0x38} +
                                   65538 * bytes{0x12, 0x0C, 0x08, 0x01, 0x12, 0x08, 1, 2, 3, 4, 5, 6, 7, 8});
    ASSERT_EQ(why->loss_count, size_t{2} * 65536);
    EXPECT_EQ(why->losses[0].reason, RIB_REASON_count_wraps);
    EXPECT_STREQ(why->losses[0].path, "generic_attrs_29.attrs[2].attr_type");
    EXPECT_STREQ(why->losses[131071].path, "generic_attrs_29.attrs[65537].attr_data");
}

TEST(reasons, list_of_a_caller_without_keys_is_an_assertion)
{
    bytes list = {
        0x0A, 0x00, // 1 encap_ids[0]
        0x12, 0x00, // 2 keys[0]
        0x20, 0x00, // 4 multi_key = 0
    };
    rib_inspect::notes notes;
    const rib_inspect::notes::scope scope(notes);
    grid_sync_list out = {};
    try {
        rib_witnessed_decode_grid_list_update(list.data(), list.size(), &out);
        FAIL() << "not stopped";
    } catch (const rib_inspect::stopped &stopped) {
        EXPECT_EQ(stopped.reason, RIB_REASON_assertion);
        EXPECT_STREQ(stopped.assertion.expression, "zidl_rib_key && rib_key");
        EXPECT_EQ(stopped.assertion.line, 386U);
    }
}

TEST(reasons, manual_lists_all)
{
    std::string table;
    for (int i = 0; i < RIB_REASON_COUNT; i++) {
        const auto reason = static_cast<rib_reason>(i);
        table += std::string("| `") + rib_reason_name(reason) + "` | " + rib_reason_text(reason) + " |\n";
    }
    std::ifstream file(RIB_DOCS "inspect.md");
    const std::string manual(std::istreambuf_iterator<char>(file), {});
    EXPECT_NE(manual.find("|---|---|\n" + table), std::string::npos) << "the table should be\n" << table;
}

TEST(reasons, names_are_told_apart)
{
    std::set<std::string> names;
    for (int i = 0; i < RIB_REASON_COUNT; i++)
        EXPECT_TRUE(names.insert(rib_reason_name(static_cast<rib_reason>(i))).second);
    EXPECT_EQ(rib_reason_name(RIB_REASON_COUNT), nullptr);
    EXPECT_EQ(rib_reason_text(RIB_REASON_COUNT), nullptr);
}

} // namespace

// Tables of routes become captures of encoded route updates.

#include "tests/ribtool/run_ribtool.hpp"
#include "tools/ribtool/frames/capture.hpp"

#include <fmt/format.h>
#include <lzma.h>

namespace ribtool_test
{

namespace
{

const std::string UPDATE_COLUMNS = "#t_us\tmsg\top\tpeer_index\tprefix\tnext_hop\torigin\tas_path_len\tneighbor_"
                                   "as\torigin_as\tmed\tlocal_pref\tflags\t"
                                   "communities\text_communities\tlarge_communities\n";
const std::string TABLE_COLUMNS =
    "#prefix\tpeer_index\tage_s\tnext_hop\torigin\tas_path_len\tneighbor_as\torigin_as\tmed\tlocal_pref\tflags\t"
    "communities\text_communities\tlarge_communities\n";

// Two paths of one prefix, one of another.
const std::string TABLE = TABLE_COLUMNS +
                          "10.1.0.0/16\t3\t86400\t192.0.2.1\tIGP\t4\t64500\t64510\t5\t100\tAG\t64500:7 64500:8\t-\t-\n"
                          "10.1.0.0/16\t4\t-\t2001:db8::1\tINC\t-\t-\t-\t-\t-\t-\t-\t0002fde900000007\t1:2:3\n"
                          "2001:db8::/32\t3\t7\t-\tEGP\t1\t4200000000\t1\t0\t0\t-\t-\t-\t-\n";

std::string packed(std::string_view text)
{
    std::string out(lzma_stream_buffer_bound(text.size()), '\0');
    size_t len = 0;
    const lzma_ret status =
        lzma_easy_buffer_encode(6, LZMA_CHECK_CRC64, nullptr, reinterpret_cast<const uint8_t *>(text.data()),
                                text.size(), reinterpret_cast<uint8_t *>(out.data()), &len, out.size());
    EXPECT_EQ(status, LZMA_OK);
    out.resize(len);
    return out;
}

} // namespace

class import_table : public tool_test
{
protected:
    // The records that a client gets of the imported table.
    lines imported(const std::string &input, std::vector<std::string> options = {}) const
    {
        options.insert(options.begin(), {"import", input, "-o", path("out")});
        const run_result result = ribtool(options);
        EXPECT_EQ(result.exit_code, 0) << result.err;
        const run_result replayed = ribtool({"replay", path("out"), "--stripped"});
        EXPECT_EQ(replayed.exit_code, 0) << replayed.err;
        return replayed.out_lines();
    }

    bytes imported_bytes(const std::string &input, std::vector<std::string> options = {}) const
    {
        options.insert(options.begin(), {"import", input, "--format", "raw", "-o", path("out")});
        EXPECT_EQ(ribtool(options).exit_code, 0);
        return read("out");
    }

    static void expect_members(const std::string &line, const std::vector<std::string> &members)
    {
        for (const std::string &member : members)
            EXPECT_NE(line.find(member), std::string::npos) << member << "\n" << line;
    }

    // Imports one table that must fail, and gives what is said behind "FILE".
    std::string complaint(std::string_view contents) const
    {
        const std::string input = write("bad.tsv", contents);
        const run_result result = ribtool({"import", input, "-o", path("out")});
        EXPECT_EQ(result.exit_code, 4);
        EXPECT_FALSE(std::filesystem::exists(path("out"))) << "half a capture was left";
        const std::string start = "ribtool: " + input;
        EXPECT_EQ(result.err.rfind(start, 0), 0u) << result.err;
        return result.err.substr(std::min(start.size(), result.err.size()));
    }
};

TEST_F(import_table, an_attribute_goes_where_the_manual_says)
{
    const lines records = imported(write("table.tsv", TABLE));
    ASSERT_EQ(records.size(), 2u);
    expect_members(records[0],
                   {
                       R"("rt_family":1,"rt_prefix_len":16,)",
                       R"("rt_path_count":2,)",
                       R"("rt_dest":"10.1.0.0","rt_value_9":64510,"rt_value_10":5,)",
                       R"("rt_value_12":100,)",
                       R"("rt_value_13":86400,"rt_value_14":64500,)",
                       R"("paths":[{"pe_value_1":3,"pe_value_2":86400,"pe_value_3":3,)",
                       R"("pe_addr_5":"192.0.2.1","pe_addr_5_family":1,)",
                       R"("pe_value_8":64500,)",
                       R"("pe_value_10":5,"pe_value_11":100,"pe_value_12":4,"pe_value_13":0,)",
                       R"("pe_value_16":64510,)",
                       // 64500 << 16 | 7
                       R"("pe_ecomm_count":2,"pe_ecomm_value_1":1,"pe_ecomm_values":["4227072007","4227072008"]},)",
                       R"({"pe_value_1":4,"pe_value_2":0,"pe_value_3":0,)",
                       R"("pe_addr_5":"2001:db8::1","pe_addr_5_family":2,)",
                       R"("pe_value_10":0,"pe_value_11":0,"pe_value_12":0,"pe_value_13":2,)",
                       // 0x0002fde900000007
                       R"("pe_ecomm_count":1,"pe_ecomm_value_1":2,"pe_ecomm_values":["842127122628615"]}]}})",
                   });
    expect_members(records[1], {
                                   R"("rt_family":2,"rt_prefix_len":32,)",
                                   R"("rt_path_count":1,)",
                                   R"("rt_dest":"2001:db8::","rt_value_9":1,"rt_value_10":0,)",
                                   R"("pe_addr_5_family":0,)",
                                   R"("pe_value_8":4200000000,)",
                                   R"("pe_value_13":1,)",
                               });
}

TEST_F(import_table, one_row_gives_exactly_these_bytes)
{
    const std::string row = "10.1.0.0/16\t3\t86400\t192.0.2.1\tIGP\t4\t64500\t64510\t5\t100\tA\t64500:7\t-\t-\n";
    const bytes made = imported_bytes(write("table.tsv", TABLE_COLUMNS + row));
    const bytes expected = {
        0,    0,    0,    0,    0,    51,   0,    0x4e,                   // header: code 51, 78 bytes
        0x0a, 0x0b,                                                       // 1 route_prefix, 11 bytes
        0x0a, 0x07, 0x08, 0x01, 0x10, 0x80, 0x80, 0x84, 0x50, 0x10, 0x10, //   10.1.0.0/16
        0x48, 0xfe, 0xf7, 0x03,                                           // 9 = 64510, origin_as
        0x50, 0x05,                                                       // 10 = 5, med
        0x60, 0x64,                                                       // 12 = 100, local_pref
        0x68, 0x80, 0xa3, 0x05,                                           // 13 = 86400, age_s
        0x70, 0xf4, 0xf7, 0x03,                                           // 14 = 64500, neighbor_as
        0xd2, 0x01, 0x2e,                                                 // 26 paths[0], 46 bytes
        0x08, 0x03,                                                       //   1 = 3, peer_index
        0x10, 0x80, 0xa3, 0x05,                                           //   2 = 86400, age_s
        0x18, 0x01,                                                       //   3 = 1, atomic aggregate
        0x2a, 0x08, 0x08, 0x01, 0x10, 0x81, 0x84, 0x80, 0x80, 0x0c,       //   5 next hop 192.0.2.1
        0x40, 0xf4, 0xf7, 0x03,                                           //   8 = 64500, neighbor_as
        0x50, 0x05,                                                       //   10 = 5, med
        0x58, 0x64,                                                       //   11 = 100, local_pref
        0x60, 0x04,                                                       //   12 = 4, as_path_len
        0x68, 0x00,                                                       //   13 = 0, origin IGP
        0x80, 0x01, 0xfe, 0xf7, 0x03,                                     //   16 = 64510, origin_as
        0xd2, 0x01, 0x08,                                                 //   26 ecomm, 8 bytes
        0x08, 0x01, 0x10, 0x87, 0x80, 0xd0, 0xdf, 0x0f,                   //     widened; 64500 << 16 | 7
    };
    EXPECT_EQ(made, expected);
}

TEST_F(import_table, a_packed_table_gives_the_same_capture)
{
    const bytes plain = imported_bytes(write("table.tsv", TABLE));
    EXPECT_EQ(imported_bytes(write("table.tsv.xz", packed(TABLE))), plain);
    EXPECT_EQ(imported_bytes(write("named-otherwise", packed(TABLE))), plain);
    // A file of several xz streams is one text.
    EXPECT_EQ(imported_bytes(write("two.xz", packed(TABLE.substr(0, 300)) + packed(TABLE.substr(300)))), plain);
}

TEST_F(import_table, a_large_packed_table_is_read_whole)
{
    std::string text;
    for (int index = 0; index < 20000; ++index)
        text += fmt::format("10.{}.{}.0/24\n", index / 256, index % 256);
    const run_result result = ribtool({"import", write("list.xz", packed(text)), "-o", path("out")});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.err, path("list.xz") + ": table, 20000 routes with 0 paths, 20000 updates\n");
}

TEST_F(import_table, lines_may_end_like_on_other_systems_or_not_at_all)
{
    const bytes plain = imported_bytes(write("list", "10.0.0.0/8\n11.0.0.0/8\n"));
    EXPECT_EQ(imported_bytes(write("dos", "10.0.0.0/8\r\n11.0.0.0/8\r\n")), plain);
    EXPECT_EQ(imported_bytes(write("open", "10.0.0.0/8\n11.0.0.0/8")), plain);
    EXPECT_EQ(imported_bytes(write("blanks", "10.0.0.0/8 \r\n11.0.0.0/8  \r\n")), plain);
    EXPECT_EQ(imported_bytes(write("spaced", "\n10.0.0.0/8\n\n# a remark\n11.0.0.0/8\n")), plain);
}

TEST_F(import_table, rows_of_an_update_stream_stay_updates_of_their_own_with_their_times)
{
    const std::string stream = UPDATE_COLUMNS +
                               "0\t0\tA\t0\t10.0.0.0/8\t192.0.2.1\tIGP\t1\t1\t1\t-\t-\t-\t-\t-\t-\n"
                               "1500000\t1\tA\t1\t10.0.0.0/8\t192.0.2.2\tIGP\t1\t1\t1\t-\t-\t-\t-\t-\t-\n"
                               "2000001\t2\tW\t1\t10.0.0.0/8\n";
    const lines records = imported(write("stream.tsv", stream));
    ASSERT_EQ(records.size(), 3u);
    expect_members(records[0], {R"("rt_path_count":1,)", R"("pe_addr_5":"192.0.2.1")"});
    expect_members(records[1], {R"("rt_path_count":1,)", R"("pe_addr_5":"192.0.2.2")"});
    expect_members(records[2], {R"("rt_path_count":0,)", R"("rt_dest":"10.0.0.0")", R"("paths":[])"});

    ribtool::capture_reader reader(path("out"));
    ribtool::captured_frame frame;
    for (const uint64_t time : {0u, 1500000u, 2000001u}) {
        ASSERT_TRUE(reader.next(frame));
        EXPECT_EQ(frame.time_us, time);
    }
    EXPECT_FALSE(reader.next(frame));
}

TEST_F(import_table, a_withdrawal_may_have_its_prefix_in_front_of_its_operation)
{
    const lines records =
        imported(write("stream.tsv", "#prefix\top\tnext_hop\n10.0.0.0/8\tA\t192.0.2.1\n10.0.0.0/8\tW\n"));
    ASSERT_EQ(records.size(), 2u);
    expect_members(records[0], {R"("pe_addr_5":"192.0.2.1")"});
    expect_members(records[1], {R"("rt_path_count":0,)", R"("rt_dest":"10.0.0.0")"});
}

TEST_F(import_table, blanks_around_names_of_columns_mean_nothing)
{
    const std::string rows = "10.0.0.0/8\t192.0.2.1\n";
    const bytes plain = imported_bytes(write("table.tsv", "#prefix\tnext_hop\n" + rows));
    EXPECT_EQ(imported_bytes(write("spaced.tsv", "# prefix\t next_hop \n" + rows)), plain);
}

TEST_F(import_table, a_list_of_prefixes_gives_routes_without_paths)
{
    const lines records = imported(write("list.txt", "10.0.0.0/8\n10.0.0.0/8\n2001:db8::/32\n"));
    ASSERT_EQ(records.size(), 3u);
    expect_members(records[2], {R"("rt_family":2,"rt_prefix_len":32,)", R"("rt_path_count":0,)"});
}

TEST_F(import_table, a_limit_counts_routes_and_routes_can_be_repeated)
{
    const std::string input = write("table.tsv", TABLE);
    EXPECT_EQ(imported(input, {"--limit", "1"}).size(), 1u);
    const lines records = imported(input, {"--updates-per-route", "3"});
    ASSERT_EQ(records.size(), 6u);
    EXPECT_EQ(records[2].substr(records[2].find("record")), records[0].substr(records[0].find("record")));
    EXPECT_NE(records[3].substr(records[3].find("record")), records[0].substr(records[0].find("record")));
}

TEST_F(import_table, the_summary_counts_routes_paths_and_updates)
{
    const std::string input = write("table.tsv", TABLE);
    const run_result result = ribtool({"import", input, "-o", path("out"), "--updates-per-route", "2"});
    EXPECT_EQ(result.err, input + ": table, 2 routes with 3 paths, 4 updates\n"
                                  "  left out: 1 values of column large_communities\n");
}

TEST_F(import_table, the_standard_input_can_be_imported)
{
    const run_result result = ribtool({"import", "-", "-o", "-", "--format", "raw"}, TABLE);
    EXPECT_EQ(result.exit_code, 0);
    const bytes expected = imported_bytes(write("table.tsv", TABLE));
    EXPECT_EQ(bytes(result.out.begin(), result.out.end()), expected);
}

TEST_F(import_table, a_missing_file_is_named)
{
    const run_result result = ribtool({"import", path("absent.tsv"), "-o", path("out")});
    EXPECT_EQ(result.exit_code, 3);
    EXPECT_EQ(result.err, "ribtool: " + path("absent.tsv") + ": cannot open: No such file or directory\n");
    EXPECT_FALSE(std::filesystem::exists(path("out")));
}

TEST_F(import_table, a_capture_is_not_imported_again)
{
    EXPECT_EQ(complaint(std::string("\xd4\xc3\xb2\xa1\2\0\4\0", 8)),
              ": a capture already; import makes one of a table\n");
}

TEST_F(import_table, a_file_in_no_known_format_is_told_the_formats_that_there_are)
{
    for (const char *text : {"BGP table version is 7\n", "\x1b[31m\xff\n", "10\n", "odd"}) {
        const std::string said = complaint(text);
        EXPECT_EQ(said.rfind(": in no format that import knows (", 0), 0u) << said;
        EXPECT_NE(said.find("table: prefixes, or columns that a first line with # names"), std::string::npos) << said;
    }
}

TEST_F(import_table, a_format_that_is_given_is_not_looked_for)
{
    const std::string odd = write("odd.tsv", "odd\n");
    const run_result result = ribtool({"import", odd, "--from", "table", "-o", path("out")});
    EXPECT_EQ(result.exit_code, 4);
    EXPECT_EQ(result.err, "ribtool: " + odd + ":1: bad prefix \"odd\"\n");
}

TEST_F(import_table, an_empty_file_is_named)
{
    EXPECT_EQ(complaint(""), ": is empty\n");
    EXPECT_EQ(complaint(packed("")), ": is empty\n");
}

TEST_F(import_table, a_mark_of_utf_8_in_front_is_skipped)
{
    const bytes plain = imported_bytes(write("table.tsv", TABLE));
    EXPECT_EQ(imported_bytes(write("marked.tsv", "\xef\xbb\xbf" + TABLE)), plain);
    EXPECT_EQ(imported_bytes(write("list", "\xef\xbb\xbf"
                                           "10.0.0.0/8\n")),
              imported_bytes(write("bare", "10.0.0.0/8\n")));
}

TEST_F(import_table, a_malformed_line_is_located)
{
    const std::string good = "10.1.0.0/16\t3\t7\t192.0.2.1\tIGP\t4\t1\t2\t5\t100\tA\t1:7\t-\t-\n";
    const auto with = [&](std::string_view from, std::string_view to) {
        std::string row = good;
        row.replace(row.find(from), from.size(), to);
        return TABLE_COLUMNS + good + row;
    };
    EXPECT_EQ(complaint(with("10.1.0.0/16", "10.1.0.0")), ":3: bad prefix \"10.1.0.0\"\n");
    EXPECT_EQ(complaint(with("10.1.0.0/16", "10.1.0.0/33")), ":3: bad prefix \"10.1.0.0/33\"\n");
    EXPECT_EQ(complaint(with("10.1.0.0/16", "-")), ":3: bad prefix \"-\"\n");
    EXPECT_EQ(complaint(with("\t3\t", "\tx\t")), ":3: bad peer_index \"x\"\n");
    EXPECT_EQ(complaint(with("\t7\t", "\t4294967296\t")), ":3: bad age_s \"4294967296\"\n");
    EXPECT_EQ(complaint(with("192.0.2.1", "192.0.2")), ":3: bad next_hop \"192.0.2\"\n");
    EXPECT_EQ(complaint(with("IGP", "BGP")), ":3: bad origin \"BGP\"\n");
    EXPECT_EQ(complaint(with("\t100\t", "\t-1\t")), ":3: bad local_pref \"-1\"\n");
    EXPECT_EQ(complaint(with("\tA\t", "\tX\t")), ":3: bad flags \"X\"\n");
    EXPECT_EQ(complaint(with("1:7", "1:65536")), ":3: bad communities \"1:65536\"\n");
    EXPECT_EQ(complaint(with("1:7", "1:7  1:8")), ":3: bad communities \"\"\n");
    EXPECT_EQ(complaint(with("1:7\t-", "1:7\t0123")), ":3: bad ext_communities \"0123\"\n");
    EXPECT_EQ(complaint(with("1:7\t-", "1:7")), ":3: 13 columns, expected 14\n");
    EXPECT_EQ(complaint(with("1:7\t-", "1:7\t-\t-")), ":3: 15 columns, expected 14\n");
    EXPECT_EQ(complaint(UPDATE_COLUMNS + "0\t0\tX\t0\t10.0.0.0/8\n"), ":2: bad op \"X\"\n");
    EXPECT_EQ(complaint(UPDATE_COLUMNS + "0\t0\tW\t0\t10.0.0.0/8\t-\n"), ":2: 6 columns, expected 5\n");
    EXPECT_EQ(complaint(UPDATE_COLUMNS + "now\t0\tW\t0\t10.0.0.0/8\n"), ":2: bad t_us \"now\"\n");
    EXPECT_EQ(complaint(UPDATE_COLUMNS + "4294967296000000\t0\tW\t0\t10.0.0.0/8\n"),
              ":2: bad t_us \"4294967296000000\"\n");
    EXPECT_EQ(complaint("#route\tpeer\n10.0.0.0/8\t1\n"), ":1: no column is named prefix\n");
    EXPECT_EQ(complaint("10.0.0.0/8\n 10.0.0.0/8\n"), ":2: bad prefix \" 10.0.0.0/8\"\n");
    EXPECT_EQ(complaint("#prefix\tmed\tnext_hop\tmed\n"), ":1: two columns are named \"med\"\n");
    EXPECT_EQ(complaint("#prefix\tnote\tnote\n"), ":1: two columns are named \"note\"\n");
    EXPECT_EQ(complaint("10.0.0.0/8\n10.1.2.3/17\n"),
              ":2: \"10.1.2.3/17\" has bits behind its length: 10.1.0.0/17 has none\n");
    EXPECT_EQ(complaint("#prefix\n2001:db8::1/32\n"),
              ":2: \"2001:db8::1/32\" has bits behind its length: 2001:db8::/32 has none\n");
    EXPECT_EQ(complaint("\n10.0.0.0/8\n\nodd"), ":4: bad prefix \"odd\"\n");
}

TEST_F(import_table, an_error_shows_a_printable_piece_of_a_line_that_may_be_anything)
{
    EXPECT_EQ(complaint("#prefix\n\x1b[31m\xff\n"), ":2: bad prefix \"?[31m?\"\n");
    EXPECT_EQ(complaint("#prefix\n" + std::string(70, 'x')), ":2: bad prefix \"" + std::string(60, 'x') + "...\"\n");
}

TEST_F(import_table, lines_of_a_packed_table_are_counted_too)
{
    EXPECT_EQ(complaint(packed(TABLE + "odd\n")), ":5: 1 columns, expected 14\n");
}

TEST_F(import_table, a_damaged_packed_table_is_named_with_the_line_that_cannot_be_read)
{
    std::string cut = packed(TABLE);
    cut.resize(cut.size() - 20);
    EXPECT_EQ(complaint(cut), ":5: cannot unpack: truncated\n"); // only the end of the archive is missing
    std::string damaged = packed(TABLE);
    damaged[40] = static_cast<char>(damaged[40] ^ 0x10);
    EXPECT_EQ(complaint(damaged), ":1: cannot unpack: damaged\n");
}

TEST_F(import_table, a_route_that_no_frame_can_hold_is_located)
{
    std::string table = TABLE_COLUMNS;
    for (int index = 0; index < 3000; ++index)
        table += "10.0.0.0/8\t3\t7\t192.0.2.1\tIGP\t4\t1\t2\t5\t100\tA\t1:7\t-\t-\n";
    const std::string said = complaint(table);
    EXPECT_EQ(said.rfind(":3001: the 3000 paths of 10.0.0.0/8 take ", 0), 0u) << said;
    EXPECT_NE(said.find(" bytes, a frame holds 65535\n"), std::string::npos) << said;
}

TEST_F(import_table, a_route_of_more_paths_than_any_frame_holds_ends_before_it_fills_the_memory)
{
    std::string table = "#prefix\n";
    for (int index = 0; index < 13108; ++index)
        table += "10.0.0.0/8\n";
    EXPECT_EQ(complaint(table), ":13109: 10.0.0.0/8 has more than 13107 paths, and no frame holds them\n");
}

TEST_F(import_table, a_line_that_does_not_end_is_located)
{
    const std::string endless(3 << 20, 'a');
    EXPECT_EQ(complaint("#prefix\n" + endless), ":2: a line of more than 1048576 bytes\n");
    EXPECT_EQ(complaint(packed("#prefix\n" + endless)), ":2: a line of more than 1048576 bytes\n");
}

TEST_F(import_table, the_table_is_not_overwritten)
{
    const std::string table = write("table.tsv", TABLE);
    const run_result result = ribtool({"import", table, "-o", table});
    EXPECT_EQ(result.exit_code, 2);
    EXPECT_EQ(result.err, "ribtool: " + table + ": is the input and cannot be the output, too\n");
    EXPECT_EQ(read("table.tsv"), bytes(TABLE.begin(), TABLE.end()));
}

} // namespace ribtool_test

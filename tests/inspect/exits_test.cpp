// Every place where the converters leave something out, and every one where a decoder fails, has a reason: what is found in the
// sources is held against the tables here. A new exit belongs into neither: it says why by REJECT, LEAVE or LEFT_OUT
// (ip/rib/lib/src/witness.hpp); a new failure of the decoders gets a reason in the walk, and a row.

#include "inspect/rib_inspect.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace
{

namespace fs = std::filesystem;

// A line with an exit, by the line before it.
struct exit_line {
    std::string file;
    std::string before;
    std::string
        why; // it needs no reason of its own; of decoders: the reasons that it has, or none where it passes one on

    bool operator<(const exit_line &other) const { return std::tie(file, before) < std::tie(other.file, other.before); }
};

// clang-format off
const std::vector<exit_line> WITHOUT_REASON = {
    {"copy_member.hpp", "copy_bytes(dst, src, count * sizeof *dst);", "all is copied"},
    {"grid_list.cpp", "if (rib_server_decode_ip_addr(&key.key_extra_prefixes[i], &msg.key_extra_prefixes[i]) != ZERRNO_OK)", "what it calls says why"},
    {"grid_list.cpp", "if (decode_carrier(msg.carriers[i], srv6.carriers[i]) != ZERRNO_OK)", "what it calls says why"},
    {"grid_list.cpp", "if (decode_srv6_key(msg.srv6_carriers, key.type_data.srv6) != ZERRNO_OK)", "what it calls says why"},
    {"grid_list.cpp", "if (!has_required_members(msg))", "REQUIRES names the member"},
    {"grid_list.cpp", "if (rib_server_decode_ip_addr(&key.key_prefix, &msg.key_prefix) != ZERRNO_OK)", "what it calls says why"},
    {"grid_list.cpp", "if (rib_server_decode_ip_addr(&key.key_second_prefix, second_prefix) != ZERRNO_OK)", "what it calls says why"},
    {"grid_list.cpp", "if (decode_extra_prefixes(msg, key) != ZERRNO_OK)", "what it calls says why"},
    {"grid_update.cpp", "if (decoded.decode(update.payload, update.payload_len) != ZIDL_OK)", "the bytes of the message say why: the walk tells"},
    {"grid_update.cpp", "deliver_nhid_update(callback, *update, ctx);", "the update is delivered"},
    {"grid_update.cpp", "deliver_grid_list(callback, *update, ctx);", "the update is delivered"},
    {"opaque_update.cpp", "if (decoded.decode(update->payload, update->payload_len) != ZIDL_OK)", "the bytes of the message say why: the walk tells"},
    {"opaque_update.cpp", "decoded.release();", "the update is delivered"},
    {"opaque_update.cpp", "if (!old_opaque_fits(update->payload, update->payload_len))", "what it calls says why"},
    {"opaque_update.cpp", "callback(update->update_id, load_u16(update->payload + OLD_OPAQUE_SUB_ID), &opaque, ctx);", "the update is delivered"},
    {"path_blocks.hpp", "if (!zidl_rib_path_iid_attr_has_iid_attr_prefix(&iid) && !has_any(iid.iid_attr_prefix))", "there is nothing to convert"},
    {"path_blocks.hpp", "if (!present)", "there is nothing to convert"},
    {"path_blocks.hpp", "if (!zidl_rib_path_has_via_srv6_sid(&path))", "there is nothing to convert"},
    {"path_ecomm.hpp", "if (!zidl_rib_path_has_ecomm(&path))", "there is nothing to convert"},
    {"path_next_next_hops.hpp", "if (!zidl_rib_nnh_has_nnh_value_1(&nnh) || zidl_rib_nnh_has_nnh_value_4(&nnh))", "its caller says why"},
    {"path_next_next_hops.hpp", "if (!zidl_rib_path_has_nnh_entries(&path))", "there is nothing to convert"},
    {"path_next_next_hops.hpp", "LEFT_OUT(reason::next_next_hops_ended, nnh);", "left out above"},
    {"path_scalars.hpp", "if (!(false OR_HAS(19) OTHER_PATH_SCALARS(OR_HAS) FAR_PATH_SCALARS(OR_HAS)))", "there is nothing to convert"},
    {"proto_update.cpp", "if (decoded.decode(update->payload, update->payload_len) != ZIDL_OK)", "the bytes of the message say why: the walk tells"},
    {"proto_update.cpp", "callback(update->update_id, &map, ctx);", "the update is delivered"},
    {"proto_update.cpp", "callback(update->update_id, convert_old_protoid_map(update->payload), ctx);", "the update is delivered"},
    {"route_decode.cpp", "LEFT_OUT(reason::marked_to_be_skipped, path);", "left out above"},
    {"route_decode.cpp", "memset(place, 0, entry_size(path));", "left out above"},
    {"route_decode.cpp", "if (!zidl_rib_path_has_ecomm(&path))", "there is nothing to convert"},
    {"route_decode.cpp", "if (decoded.decode(buf, len) != ZIDL_OK)", "the bytes of the message say why: the walk tells"},
    {"route_decode.cpp", "if (!unpack_destination(msg, *route))", "what it calls says why"},
    {"route_decode.cpp", "*ecomm_out = &entry.pe_ecomm_count;", "what it calls says why"},
    {"route_extras.cpp", "label);", "left out above"},
    {"route_header.hpp", "if (unpack_prefix(msg.route_prefix, route.rt_dest, &len, &family) != ZERRNO_OK)", "what it calls says why"},
    {"route_header.hpp", "if (!zidl_rib_route_has_route_value_35(&msg))", "there is nothing to convert"},
    {"route_path.hpp", "unpack_address(path.path_address_4, entry.pe_addr_4, nullptr) != ZERRNO_OK)", "what it calls says why"},
    {"route_path.hpp", "!unpack_labels(path, entry))", "what it calls says why"},
    {"route_update.cpp", "if (route == nullptr)", "there is nothing to release"},
    {"route_update.cpp", "LEAVE(reason::no_callback, *update);", "left out above"},
    {"route_update.cpp", "route_cb(update->update_id, route, ctx);", "the update is delivered"},
};

const std::vector<exit_line> OF_DECODERS = {
    {"ordered_reader.hpp", "if (ZIDL_UNLIKELY(status != ZIDL_OK))", ""},
    {"ordered_reader.hpp", "if (ZIDL_UNLIKELY(!hold_string(member, context_, contents, len)))", "no_memory"},
    {"ordered_reader.hpp", "if (ZIDL_UNLIKELY(!hold_bytes(member, size, context_, contents, len)))", "no_memory"},
    {"reader.hpp", "if (ZIDL_UNLIKELY(tag.next == nullptr))", "cut_off"},
    {"reader.hpp", "if (known_number)", "wrong_wire_type"},
    {"reader.hpp", "if (skipped.next == nullptr)", ""},
    {"reader.hpp", "if (ZIDL_UNLIKELY(len > static_cast<size_t>(end_ - pos_)))", "past_the_end"},
    {"reader.hpp", "if (ZIDL_UNLIKELY(!hold_string(member, context_, pos_, len)))", "no_memory"},
    {"reader.hpp", "if (ZIDL_UNLIKELY(filled))", "second_value"},
    {"reader.hpp", "if (ZIDL_UNLIKELY(context_.alloc_fn == nullptr && !context_.borrow))", "no_memory"},
    {"reader.hpp", "if (ZIDL_UNLIKELY(read.next == nullptr))", "cut_off"},
    {"reader.hpp", "pos_ += len;", ""},
    {"reader.hpp", "if (ZIDL_UNLIKELY(filled))", "second_value second_run"},
    {"reader.hpp", "if (ZIDL_UNLIKELY(context_.alloc_fn == nullptr))", "no_memory"},
    {"reader.hpp", "if (ZIDL_UNLIKELY(!hold_bytes(data, size, context_, pos_, len)))", "no_memory"},
    {"reader.hpp", "if (ZIDL_UNLIKELY((!count_run<Number, Delimited>(elements))))", "cut_off past_the_end too_many_elements"},
    {"reader.hpp", "if (!is_addressable(uint64_t{elements} * sizeof(Element)))", "no_memory"},
    {"reader.hpp", "if (ZIDL_UNLIKELY(block == nullptr))", "no_memory"},
    {"varints.hpp", "if (value.next == nullptr)", "cut_off"},
    {"varints.hpp", "default:", "unknown_wire_type"},
};
// clang-format on

std::string trimmed(const std::string &line)
{
    const size_t begin = line.find_first_not_of(' ');
    return begin == std::string::npos ? "" : line.substr(begin);
}

// The lines of a folder's sources that match, with those before them.
std::vector<exit_line> exits_in(const fs::path &folder, const std::regex &exit)
{
    std::vector<exit_line> found;
    for (const auto &entry : fs::directory_iterator(folder)) {
        const fs::path &path = entry.path();
        if ((path.extension() != ".hpp" && path.extension() != ".cpp") || path.filename() == "witness.hpp")
            continue;
        std::ifstream file(path);
        std::string before;
        for (std::string line; std::getline(file, line); before = trimmed(line))
            if (std::regex_search(line, exit))
                found.push_back({path.filename(), before, trimmed(line)});
    }
    return found;
}

// Both ways: what the table lacks, and what only the table has.
void expect_same(std::vector<exit_line> found, std::vector<exit_line> table)
{
    std::sort(found.begin(), found.end());
    std::sort(table.begin(), table.end());
    std::vector<exit_line> lacking;
    std::set_difference(found.begin(), found.end(), table.begin(), table.end(), std::back_inserter(lacking));
    for (const exit_line &line : lacking)
        ADD_FAILURE() << line.file << " has an exit without a reason: " << line.before << " " << line.why;
    std::vector<exit_line> gone;
    std::set_difference(table.begin(), table.end(), found.begin(), found.end(), std::back_inserter(gone));
    for (const exit_line &line : gone)
        ADD_FAILURE() << line.file << " no longer has: " << line.before;
}

TEST(exits, each_of_the_converters_has_a_reason)
{
    const std::regex exit(R"(\breturn (false|0|ZERRNO_(?!OK)\w+);|\breturn;|\bcontinue;|\? \w+ : 0;)");
    const std::vector<exit_line> found = exits_in(RIB_SOURCES "/ip/rib/lib/src", exit);
    EXPECT_EQ(found.size(), WITHOUT_REASON.size());
    expect_same(found, WITHOUT_REASON);
}

TEST(exits, each_failure_of_the_decoders_has_a_reason)
{
    const std::regex failure(R"(ZIDL_ERR_|\bfail\((?!int32_t))");
    const std::vector<exit_line> found = exits_in(RIB_SOURCES "/codec/decode", failure);
    EXPECT_EQ(found.size(), OF_DECODERS.size());
    expect_same(found, OF_DECODERS);
}

TEST(exits, reasons_of_the_decoders_are_in_the_list)
{
    std::set<std::string> names;
    for (int i = 0; i < RIB_REASON_COUNT; i++)
        names.insert(rib_reason_name(static_cast<rib_reason>(i)));
    for (const exit_line &line : OF_DECODERS) {
        std::istringstream reasons(line.why);
        for (std::string name; reasons >> name;)
            EXPECT_EQ(names.count(name), 1U) << name;
    }
}

} // namespace

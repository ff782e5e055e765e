// Every name that generated code gives to something.

#pragma once

#include "tools/zidlc/model.hpp"

#include <string>
#include <string_view>
#include <vector>

namespace zidlc
{

// Types. A member is declared `element_type` + ("*" of a pointer) + its name.
std::string record_type(const message &m);   // zidl_rib_sample
std::string presence_type(const message &m); // uint8_t
std::string element_type(const field &f);    // uint32_t, char, uint8_t, zidl_rib_hop; zidl_bytes for repeated bytes
std::string count_type(const field &f);      // uint32_t of an array, uint64_t of bytes; empty for other fields
std::string kind_name(const field &f);       // as the schema writes it: u32, repeated bytes, rib_hop

// The accessors of a member: one that tests its presence, one that sets it unless it is an embedded record, one that marks it
// as present unless it is a number, and one that makes it absent.
std::string has_accessor(const message &m, const field &f);
std::string set_accessor(const message &m, const field &f);   // zidl_rib_sample_set_sample_id
std::string mark_accessor(const message &m, const field &f);  // zidl_rib_sample_mark_name
std::string clear_accessor(const message &m, const field &f); // zidl_rib_sample_clear_name

// The same in the C++ layer, where an accessor is a member function; one whose name is a word of codec/zidl.hpp, or begins with
// one of its verbs, gets an underscore behind it, which no name in a schema ends with. The words are what that calls its member
// functions, and its classes, which a member function must not be called; `message` is no name in a schema.
inline constexpr std::string_view cpp_verbs[] = {"has_", "set_", "clear_", "edit_", "mark_"};
inline constexpr std::string_view cpp_words[] = {
    "adopt",         "append_to", "clear",  "decode",          "decode_zero_copy", "detach", "duplicate",
    "editor",        "encodable", "encode", "encode_segments", "encoded_size",     "fields", "record",
    "release_flags", "setters",   "view"};
std::string cpp_getter(const field &f); // sample_id; encode_ of a member called encode

// The members of the record that a field takes: its own, and its count or size.
std::vector<std::string> member_names(const field &f);

// The same as members of `object`, as arguments.
std::string members(const field &f, std::string_view object); // msg.labels, msg.labels_count

// What makes a record as if nothing had been received: the message's name without its group's, and `_clear`.
std::string reset_function(const message &m); // sid_ctx_clear of ip_rib_srv6_sid_ctx in the group ip_rib_srv6

// Files, relative to the root of the tree. Includes are written with the same paths.
std::string header_path(const naming &chosen, std::string_view group);       // messages/rib_common.h
std::string cpp_header_path(const naming &chosen, std::string_view group);   // messages/rib_common.message.hpp
std::string codec_header_path(const naming &chosen, std::string_view group); // messages/rib_common.hpp
std::string codec_source_path(const naming &chosen, std::string_view group); // messages/rib_common.cpp
std::string descriptors_header_path(const naming &chosen);                   // messages/descriptors.hpp
std::string descriptors_source_path(const naming &chosen);                   // messages/descriptors.cpp
std::string proto_path(const naming &chosen, std::string_view group);        // proto/rib/rib_common.proto
std::string proto_import(const naming &chosen, std::string_view group);      // rib/rib_common.proto, seen from proto/
std::string manual_path(std::string_view group);                             // docs/messages/rib_common.md
std::string dissector_path(std::string_view protocol);                       // wireshark/rib.lua
std::string source_path(std::string_view group);                             // schema/rib_common.zidl
std::string include_guard(std::string_view path);                            // MESSAGES_RIB_COMMON_H

// The first line of every generated file, without the comment mark: of one group, or of all, and of one more file if any.
std::string generated_line(const group &source);
std::string generated_line(const model &all, const std::string &other_file = {});

} // namespace zidlc

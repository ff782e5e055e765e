// Messages as JSON and back: the JSON mapping of protocol buffers, under the fields' own names.
//
// JSON shows the values that the library keeps of a message, and only those: a number in more bytes than it needs, an
// unknown field, a bool other than 0 and 1 (which is true) come back in their plain form or not at all. Text
// (message_text.hpp) keeps every byte.

#pragma once

#include "inspect/records/record_memory.hpp"
#include "inspect/rib_inspect.h"
#include "inspect/wire/walk.hpp"
#include "messages/descriptors.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace rib_inspect
{

struct json_style {
    bool indented = false; // one member a line, two blanks a level
    bool replaces = false; // bytes of a string that are no UTF-8 become U+FFFD
};

// Why a message has no JSON, or only a part of it.
struct json_failure {
    enum { undecodable, not_utf8 } what;
    walk_result walk; // undecodable: the decoder's status and where it stops
    std::string path; // of the field
    std::string text; // for people, without the path
};

// Writes messages of one type.
class json_writer
{
public:
    explicit json_writer(const zidl::message_descriptor &type, json_style style = {});

    // Appends a message's JSON, without a line end. Of a message that cannot be decoded it appends what can be read, marked
    // by a first member "@partial" that says why; of one with a string that is no UTF-8, nothing.
    std::optional<json_failure> append(std::string &out, bytes_view bytes);

private:
    const zidl::message_descriptor &type_;
    json_style style_;
    record_memory memory_;
};

// Where a text is not the JSON of a message.
struct json_problem {
    size_t offset;    // into the text
    std::string path; // of the field; empty for the message itself
    std::string text; // what was expected, and what stands there
};

// Reads messages of one type.
class json_reader
{
public:
    explicit json_reader(const zidl::message_descriptor &type);
    ~json_reader();
    json_reader(const json_reader &) = delete;
    json_reader &operator=(const json_reader &) = delete;

    // Appends the encoding of a message to `out`; nothing where there is a problem.
    std::optional<json_problem> read(std::string_view text, std::vector<uint8_t> &out);

private:
    const zidl::message_descriptor &type_;
    record_memory memory_;
    std::vector<std::vector<uint8_t>> arrays_; // that are being read, by depth
};

} // namespace rib_inspect

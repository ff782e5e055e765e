// See message_json_check.hpp.

#include "tests/inspect/message_json_check.hpp"

#include "codec/zidl_arena.h"
#include "inspect/formats/json_text.hpp"
#include "inspect/formats/message_json.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <optional>
#include <vector>

namespace
{

using namespace rib_inspect;
using bytes_type = std::vector<uint8_t>;

struct recoded_message {
    int32_t status;
    bytes_type bytes; // as the library itself encodes what it has decoded
};

recoded_message recoded(const zidl::message_descriptor &type, std::span<const uint8_t> bytes)
{
    bytes_type record(type.size);
    recoded_message result = {};
    zidl_arena arena; // it takes back also what a replaced message held
    zidl_arena_init(&arena, nullptr, 0);
    result.status = type.decode(record.data(), bytes.data(), bytes.size(), zidl_arena_alloc, &arena, 0);
    if (result.status == ZIDL_OK) {
        result.bytes.resize(type.encode(record.data(), nullptr, 0, nullptr, nullptr, 0));
        type.encode(record.data(), result.bytes.data(), result.bytes.size(), nullptr, nullptr, 0);
    }
    zidl_arena_destroy(&arena);
    return result;
}

std::string check_failure(const zidl::message_descriptor &type, const json_failure &failure, int32_t status,
                          const std::string &json)
{
    if (failure.text.empty())
        return "a failure without words";
    if (failure.what == json_failure::not_utf8)
        return status == ZIDL_OK && json.empty() && !failure.path.empty() ? ""
                                                                          : "a string that is no UTF-8 beside JSON";
    if (status == ZIDL_OK || failure.walk.status != status)
        return "fails with " + std::to_string(failure.walk.status) + " instead of " + std::to_string(status);
    const nlohmann::json partial = nlohmann::json::parse(json, nullptr, false);
    if (partial.is_discarded() || partial["@partial"]["status"] != status)
        return "a partial message without its mark in " + json;
    bytes_type encoding;
    return json_reader(type).read(json, encoding) ? "" : "takes for whole " + json;
}

std::string check_reading(const zidl::message_descriptor &type, const std::string &json, const bytes_type &expected)
{
    bytes_type encoding;
    if (const auto problem = json_reader(type).read(json, encoding))
        return "at " + std::to_string(problem->offset) + ": " + problem->path + ": " + problem->text + " in\n" + json;
    return encoding == expected ? "" : "other bytes from\n" + json;
}

} // namespace

std::string check_bytes_through_json(const zidl::message_descriptor &type, std::span<const uint8_t> bytes)
{
    const recoded_message expected = recoded(type, bytes);
    for (const bool replaces : {false, true}) {
        std::string compact, indented;
        const auto failure = json_writer(type, {false, replaces}).append(compact, bytes);
        const auto same_failure = json_writer(type, {true, replaces}).append(indented, bytes);
        if (failure.has_value() != same_failure.has_value())
            return "fails in one style only";
        if (failure && replaces && failure->what == json_failure::not_utf8)
            return "bytes are not replaced";
        if (failure) {
            if (std::string wrong = check_failure(type, *failure, expected.status, compact); !wrong.empty())
                return wrong;
            continue;
        }
        if (expected.status != ZIDL_OK)
            return "JSON of a message that cannot be decoded";
        const nlohmann::json parsed = nlohmann::json::parse(compact, nullptr, false);
        if (parsed.is_discarded() || parsed != nlohmann::json::parse(indented, nullptr, false))
            return "no JSON, or two different ones:\n" + compact + "\n" + indented;
        // What was replaced has other bytes than before.
        bytes_type encoding = expected.bytes;
        if (std::string plain; replaces && json_writer(type).append(plain, bytes)) {
            encoding.clear();
            json_reader(type).read(compact, encoding);
        }
        for (const std::string &json : {compact, indented}) {
            if (std::string wrong = check_reading(type, json, encoding); !wrong.empty())
                return wrong;
        }
        if (std::string again; json_writer(type).append(again, encoding) || again != compact)
            return "other JSON from the bytes of\n" + compact;
        if (!replaces)
            break;
    }
    return {};
}

std::string check_json_text(const zidl::message_descriptor &type, std::string_view text)
{
    bytes_type encoding = {1, 2, 3};
    const auto problem = json_reader(type).read(text, encoding);
    if (!problem) {
        encoding.erase(encoding.begin(), encoding.begin() + 3);
        if (nlohmann::json::parse(text, nullptr, false).is_discarded())
            return "takes what is no JSON";
        return check_bytes_through_json(type, encoding);
    }
    if (encoding.size() != 3)
        return "bytes beside a problem";
    const auto is_visible = [](char c) { return c >= 0x20 && c < 0x7f; };
    if (problem->offset > text.size() || problem->text.empty() || !std::ranges::all_of(problem->text, is_visible))
        return "a problem outside of the text, or without words for a terminal: " + problem->text;
    return {};
}

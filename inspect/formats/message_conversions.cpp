// Messages as JSON and as text, and back: the C functions.

#include "inspect/formats/message_json.hpp"
#include "inspect/formats/message_text.hpp"

#include <cstdlib>
#include <cstring>
#include <new>

namespace
{

using namespace rib_inspect;

template <size_t size>
void copy_cut(char (&to)[size], std::string_view text)
{
    to[text.copy(to, size - 1)] = '\0';
}

int32_t report(rib_conversion_error *error, int32_t status, std::string_view text, std::string_view path = {},
               size_t offset = 0)
{
    if (error == nullptr)
        return status;
    *error = {};
    error->status = status;
    error->offset = offset;
    copy_cut(error->path, path);
    copy_cut(error->text, text);
    return status;
}

int32_t report(rib_conversion_error *error, const json_failure &failure)
{
    if (failure.what == json_failure::not_utf8)
        return report(error, RIB_CONVERSION_NOT_UTF8, failure.text, failure.path);
    report(error, RIB_CONVERSION_UNDECODABLE, failure.text, failure.path, failure.walk.offset);
    if (error != nullptr) {
        error->decode_status = failure.walk.status;
        error->reason = failure.walk.reason;
    }
    return RIB_CONVERSION_UNDECODABLE;
}

// What `convert` returns, which finds its type; memory that runs out is a status.
template <class Convert>
int32_t convert(const char *type_name, rib_conversion_error *error, Convert convert)
{
    try {
        const zidl::message_descriptor *const type = zidl::find_message(type_name);
        if (type == nullptr)
            return report(error, RIB_CONVERSION_UNKNOWN_TYPE, "no message type has this name");
        return convert(*type);
    } catch (const std::bad_alloc &) {
        return report(error, RIB_CONVERSION_NO_MEMORY, "out of memory");
    }
}

// A copy with a NUL behind it.
template <class Char>
Char *heap_copy(const void *data, size_t len)
{
    char *const copy = static_cast<char *>(std::malloc(len + 1));
    if (copy == nullptr)
        throw std::bad_alloc();
    if (len > 0)
        std::memcpy(copy, data, len);
    copy[len] = '\0';
    return reinterpret_cast<Char *>(copy);
}

} // namespace

extern "C" const char *rib_message_name(size_t index)
{
    return index < zidl::message_count ? zidl::all_messages[index]->name : nullptr;
}

extern "C" int32_t rib_message_to_json(const char *type_name, const uint8_t *bytes, size_t len, uint32_t flags,
                                       char **json, size_t *json_len, rib_conversion_error *error)
{
    *json = nullptr;
    return convert(type_name, error, [&](const zidl::message_descriptor &type) {
        std::string text;
        const json_style style = {(flags & RIB_JSON_INDENTED) != 0, (flags & RIB_JSON_REPLACE) != 0};
        const std::optional<json_failure> failure = json_writer(type, style).append(text, {bytes, len});
        if (!failure || failure->what == json_failure::undecodable) {
            *json = heap_copy<char>(text.data(), text.size());
            if (json_len != nullptr)
                *json_len = text.size();
        }
        return failure ? report(error, *failure) : report(error, RIB_CONVERSION_OK, "");
    });
}

extern "C" int32_t rib_message_from_json(const char *type_name, const char *json, size_t len, uint8_t **bytes,
                                         size_t *bytes_len, rib_conversion_error *error)
{
    *bytes = nullptr;
    return convert(type_name, error, [&](const zidl::message_descriptor &type) {
        std::vector<uint8_t> encoding;
        if (const auto problem = json_reader(type).read({json, len}, encoding))
            return report(error, RIB_CONVERSION_BAD_TEXT, problem->text, problem->path, problem->offset);
        *bytes = heap_copy<uint8_t>(encoding.data(), encoding.size());
        *bytes_len = encoding.size();
        return report(error, RIB_CONVERSION_OK, "");
    });
}

extern "C" int32_t rib_message_to_text(const char *type_name, const uint8_t *bytes, size_t len, char **text,
                                       size_t *text_len, rib_conversion_error *error)
{
    *text = nullptr;
    return convert(type_name, error, [&](const zidl::message_descriptor &type) {
        const std::string written = to_text(type, {bytes, len});
        *text = heap_copy<char>(written.data(), written.size());
        if (text_len != nullptr)
            *text_len = written.size();
        return report(error, RIB_CONVERSION_OK, "");
    });
}

extern "C" int32_t rib_message_from_text(const char *type_name, const char *text, size_t len, uint8_t **bytes,
                                         size_t *bytes_len, rib_conversion_error *error)
{
    *bytes = nullptr;
    return convert(type_name, error, [&](const zidl::message_descriptor &type) {
        const text_message message = from_text(type, {text, len});
        if (message.error) {
            const std::string place =
                "line " + std::to_string(message.error->line) + ", column " + std::to_string(message.error->column);
            return report(error, RIB_CONVERSION_BAD_TEXT, place + ": expected " + message.error->expected, "",
                          message.error->offset);
        }
        *bytes = heap_copy<uint8_t>(message.bytes.data(), message.bytes.size());
        *bytes_len = message.bytes.size();
        return report(error, RIB_CONVERSION_OK, "");
    });
}

extern "C" void rib_inspect_free(void *result)
{
    std::free(result);
}

#include "inspect/explain/status_name.hpp"
#include "inspect/formats/json_text.hpp"
#include "inspect/formats/message_json.hpp"
#include "inspect/formats/message_json_names.hpp"
#include "inspect/wire/load_store.hpp"

#include <algorithm>
#include <cstring>

namespace rib_inspect
{

using zidl::field_descriptor;
using zidl::kind;

namespace
{

std::string_view text_at(const void *member)
{
    const char *const text = load<const char *>(member);
    return text == nullptr ? std::string_view() : text;
}

class record_writer
{
public:
    record_writer(std::string &out, json_style style, const walk_result *failed)
        : out_(out), style_(style), failed_(failed)
    {
    }

    // The way to the string that is no UTF-8, when write() returns false.
    const field_path &path() const { return path_; }

    bool write(const json_type &type, const void *record)
    {
        const uint8_t *const bytes = static_cast<const uint8_t *>(record);
        const bool is_partial = stops_within();
        const uint64_t presence = presence_of(*type.type, bytes);
        bool is_first = true;
        open('{');
        if (failed_ != nullptr && path_.depth == 0)
            write_mark(is_first);
        for (const json_member &member : type.members) {
            const bool is_present = (presence >> member.field->bit & 1) != 0;
            const uint32_t count = is_present   ? values_of(*member.field, bytes)
                                   : is_partial ? values_begun(*member.field, bytes)
                                                : 0;
            if (count == 0)
                continue;
            write_key(member, is_first);
            if (!write_member(member, bytes, count))
                return false;
        }
        close('}', is_first);
        return true;
    }

private:
    static uint64_t presence_of(const zidl::message_descriptor &type, const uint8_t *record)
    {
        return load_number(record + type.presence_offset, type.presence_size);
    }

    // Whether the decoder stopped in the message that is being written.
    bool stops_within() const
    {
        if (failed_ == nullptr || path_.depth >= failed_->path.depth)
            return false;
        for (uint32_t i = 0; i < path_.depth; ++i) {
            const path_step &step = path_.steps[i], &failed = failed_->path.steps[i];
            if (step.field != failed.field || step.index != failed.index)
                return false;
        }
        return true;
    }

    // How many values of a field, which counts as absent, the decoder began to fill before it stopped there: they are in the
    // record. A nested message counts from its first tag on.
    uint32_t values_begun(const field_descriptor &field, const uint8_t *record) const
    {
        const path_step &stop = failed_->path.steps[path_.depth];
        if (stop.field != &field || field.type != kind::message)
            return 0;
        const bool is_deeper = failed_->path.depth > path_.depth + 1;
        const bool is_at_tag = failed_->reason == RIB_REASON_cut_off && failed_->offset == failed_->tag_offset;
        const uint32_t begun = stop.index + (is_deeper || is_at_tag ? 1 : 0);
        return std::min(begun, values_of(field, record));
    }

    static uint32_t values_of(const field_descriptor &field, const uint8_t *record)
    {
        if (!field.repeated)
            return 1;
        return load<const void *>(record + field.offset) == nullptr ? 0 : load<uint32_t>(record + field.extent_offset);
    }

    // The first `count` elements where the field is repeated.
    bool write_member(const json_member &member, const uint8_t *record, uint32_t count)
    {
        const field_descriptor &field = *member.field;
        path_step &step = path_.steps[path_.depth];
        step = {&field, field.number, 0};
        if (!field.repeated)
            return write_value(member, record + field.offset, record + field.extent_offset);

        const uint8_t *element = load<const uint8_t *>(record + field.offset);
        open('[');
        for (; step.index < count; ++step.index, element += element_size(field)) {
            if (step.index > 0)
                out_ += ',';
            begin_line();
            if (!write_value(member, element, element + offsetof(zidl_bytes, size)))
                return false;
        }
        close(']', count == 0);
        return true;
    }

    // `extent` is where the size of bytes stands.
    bool write_value(const json_member &member, const uint8_t *value, const uint8_t *extent)
    {
        switch (member.field->type) {
        case kind::u8:
            append_number(out_, unsigned{*value});
            return true;
        case kind::u32:
        case kind::fixed32:
            append_number(out_, load<uint32_t>(value));
            return true;
        case kind::u64:
            append_quoted_number(out_, load<uint64_t>(value));
            return true;
        case kind::sint64:
            append_quoted_number(out_, load<int64_t>(value));
            return true;
        case kind::boolean:
            append_bool(out_, *value != 0);
            return true;
        case kind::string:
            return write_string(text_at(value));
        case kind::bytes:
            append_base64(out_, {load<const uint8_t *>(value), load<uint64_t>(extent)});
            return true;
        case kind::message:
            break;
        }
        ++path_.depth;
        if (!write(*member.message, value))
            return false;
        --path_.depth;
        return true;
    }

    bool write_string(std::string_view text)
    {
        if (!style_.replaces && failed_ == nullptr && !is_utf8(text)) {
            ++path_.depth;
            return false;
        }
        append_string(out_, text);
        return true;
    }

    // Why this is not the whole message. No message has a member of this name, so nothing takes it for one.
    void write_mark(bool &is_first)
    {
        write_key("@partial", is_first);
        out_ += "{\"status\":";
        append_number(out_, failed_->status);
        out_ += ",\"status_name\":";
        append_string(out_, status_name(failed_->status));
        out_ += ",\"reason\":";
        append_string(out_, rib_reason_name(failed_->reason));
        if (failed_->path.depth > 0) {
            out_ += ",\"path\":";
            append_string(out_, to_string(failed_->path));
        }
        out_ += ",\"offset\":";
        append_number(out_, failed_->offset);
        out_ += '}';
    }

    void write_key(const json_member &member, bool &is_first)
    {
        if (style_.indented)
            return write_key(member.name(), is_first);
        out_.append(member.key.data() + is_first, member.key.size() - is_first);
        is_first = false;
    }

    void write_key(std::string_view name, bool &is_first)
    {
        if (!is_first)
            out_ += ',';
        is_first = false;
        begin_line();
        out_ += '"';
        out_ += name;
        out_ += style_.indented ? "\": " : "\":";
    }

    void open(char bracket)
    {
        out_ += bracket;
        ++level_;
    }

    void close(char bracket, bool is_empty)
    {
        --level_;
        if (!is_empty)
            begin_line();
        out_ += bracket;
    }

    void begin_line()
    {
        if (!style_.indented)
            return;
        out_ += '\n';
        out_.append(2 * level_, ' ');
    }

    std::string &out_;
    json_style style_;
    const walk_result *failed_; // null: the whole message was decoded
    field_path path_ = {};
    size_t level_ = 0; // of brackets that are open
};

json_failure undecodable(const walk_result &result)
{
    json_failure failure = {json_failure::undecodable, result, to_string(result.path), status_name(result.status)};
    failure.text += " at byte " + std::to_string(result.offset) + ": " + rib_reason_text(result.reason) + " (" +
                    rib_reason_name(result.reason) + ")";
    return failure;
}

} // namespace

json_writer::json_writer(const zidl::message_descriptor &type, json_style style) : type_(type), style_(style) {}

std::optional<json_failure> json_writer::append(std::string &out, bytes_view bytes)
{
    memory_.take_back();
    void *const record = memory_.allocate(type_.size);
    std::memset(record, 0, type_.size);
    const int32_t status =
        type_.decode(record, bytes.data(), bytes.size(), record_memory::allocate, &memory_, ZIDL_ZERO_COPY);
    if (status == ZIDL_ERR_NO_MEMORY)
        throw std::bad_alloc();

    walk_result failed = {};
    if (status != ZIDL_OK)
        failed = walk({&type_, bytes}, [](const walk_event &) {});
    const size_t old_len = out.size();
    record_writer writer(out, style_, status == ZIDL_OK ? nullptr : &failed);
    if (!writer.write(json_type_of(type_), record)) {
        out.resize(old_len);
        return json_failure{json_failure::not_utf8, {}, to_string(writer.path()), "a string that is no UTF-8"};
    }
    if (status != ZIDL_OK)
        return undecodable(failed);
    return std::nullopt;
}

} // namespace rib_inspect

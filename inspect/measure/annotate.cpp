#include "inspect/measure/annotate.hpp"

#include "inspect/formats/message_address.hpp"
#include "inspect/wire/hex.hpp"

#include <algorithm>
#include <memory>
#include <new>
#include <unordered_map>

namespace rib_inspect
{

using zidl::kind;
using zidl::message_descriptor;

namespace
{

constexpr size_t shown_characters = 40; // of a text
constexpr size_t bytes_a_line = 16;     // of what has no structure

struct explanation_deleter {
    void operator()(rib_explanation *explanation) const { rib_explanation_free(explanation); }
};
using explanation_handle = std::unique_ptr<rib_explanation, explanation_deleter>;

explanation_handle explain(uint32_t code, bytes_view payload)
{
    updatetype_local update = {};
    update.tlv_type = code;
    update.stripped = 1;
    update.payload_len = static_cast<uint32_t>(payload.size());
    update.payload = const_cast<uint8_t *>(payload.data());
    rib_explanation *explanation = nullptr;
    if (rib_explain_update(&update, nullptr, &explanation) != ZIDL_OK)
        throw std::bad_alloc();
    return explanation_handle(explanation);
}

std::string hex_offset(size_t offset)
{
    static constexpr char digits[] = "0123456789abcdef";
    std::string reversed;
    do {
        reversed += digits[offset % 16];
        offset /= 16;
    } while (offset != 0);
    return std::string("+0x").append(reversed.rbegin(), reversed.rend());
}

std::string counted(size_t count, const char *what)
{
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

// ---- Values for people ----

std::string quoted(bytes_view text)
{
    std::string out = "\"";
    for (const uint8_t byte : text.first(std::min(text.size(), shown_characters))) {
        if (byte == '"' || byte == '\\')
            out += '\\';
        if (byte >= 0x20 && byte < 0x7F)
            out += static_cast<char>(byte);
        else
            append_hex(out += "\\x", bytes_view(&byte, 1));
    }
    return out + (text.size() > shown_characters ? "\"..." : "\"");
}

std::string number_text(const walk_event &event)
{
    std::string text = std::to_string(event.value);
    if (event.field != nullptr && event.field->type == kind::sint64)
        text = std::to_string(static_cast<int64_t>(event.value));
    else if (event.raw != event.value)
        text += " of " + std::to_string(event.raw);
    return text;
}

std::string value_text(const walk_event &event, bytes_view all)
{
    const bytes_view bytes = all.subspan(event.value_offset, event.end_offset - event.value_offset);
    switch (event.part) {
    case walk_part::enter: {
        const std::string address = message_address(*event.field->message, bytes);
        return address.empty() ? counted(bytes.size(), "byte") : address;
    }
    case walk_part::value:
        if (event.field->type == kind::string)
            return quoted(bytes);
        if (event.field->type == kind::bytes)
            return counted(bytes.size(), "byte");
        return number_text(event);
    case walk_part::skipped:
        return event.wire_type == delimited ? counted(bytes.size(), "byte") : number_text(event);
    case walk_part::rest:
    case walk_part::leave:
        break;
    }
    return counted(event.end_offset - event.tag_offset, "byte");
}

std::string kind_text(const walk_event &event)
{
    if (event.part == walk_part::rest)
        return "rest";
    if (event.part == walk_part::enter)
        return "message";
    if (event.part == walk_part::value && event.field->type == kind::string)
        return "text";
    switch (event.wire_type) {
    case varint:
        return "varint";
    case fixed64:
        return "fixed64";
    case fixed32:
        return "fixed32";
    default:
        return "bytes";
    }
}

bool lands_whole(const landing &of)
{
    return !of.members.empty() && of.lost.empty();
}

// ---- A message ----

class message_lines
{
public:
    // `measured` and `why` are null where no entry point takes the message.
    message_lines(const message_descriptor &type, bytes_view bytes, const measurement *measured,
                  const rib_explanation *why)
        : type_(type), bytes_(bytes), measured_(measured)
    {
        if (why == nullptr)
            return;
        for (size_t i = 0; i < why->loss_count; ++i) {
            if (why->losses[i].kept == nullptr)
                losses_[why->losses[i].offset] = why->losses[i].reason;
        }
    }

    walk_result walk_all()
    {
        return walk({&type_, bytes_, nullptr, true}, [this](const walk_event &event) {
            if (event.part != walk_part::leave)
                add(event);
        });
    }

    std::vector<annotated_line> take() { return std::move(lines_); }

private:
    // A message's line ends where its contents begin.
    void add(const walk_event &event)
    {
        annotated_line line;
        line.offset = event.tag_offset;
        line.end = event.part == walk_part::enter ? event.value_offset : event.end_offset;
        line.kind = kind_text(event);
        line.value = value_text(event, bytes_);
        line.path = to_string(event.length_offset == event.tag_offset ? path_of(*event.in) : path_of(event));
        line.lands = lands(event);
        line.is_read = event.is_read;
        const measured_value *const value = measured_ == nullptr ? nullptr : measured_->find(event.tag_offset);
        line.lands_whole = value != nullptr && lands_whole(value->lands);
        if (event.reason != RIB_REASON_none)
            line.wrong = rib_reason_name(event.reason);
        lines_.push_back(std::move(line));
    }

    std::string lands(const walk_event &event) const
    {
        if (!event.is_read || event.part == walk_part::enter || event.part == walk_part::rest)
            return {};
        if (event.part == walk_part::skipped)
            return event.field == nullptr ? "skipped" : "";
        const measured_value *const value = measured_ == nullptr ? nullptr : measured_->find(event.tag_offset);
        if (value == nullptr)
            return {};
        if (value->replaced_by != no_offset)
            return std::string("replaced by ").append(hex_offset(value->replaced_by));
        if (!value->is_measured)
            return "not measured";
        std::string text = to_string(value->lands);
        const auto loss = losses_.find(event.value_offset);
        if (value->lands.is_nothing() && loss != losses_.end())
            text += std::string(": ") + rib_reason_name(loss->second);
        return text;
    }

    const message_descriptor &type_;
    const bytes_view bytes_;
    const measurement *const measured_;
    std::unordered_map<size_t, rib_reason> losses_; // of values that the record has nothing of
    std::vector<annotated_line> lines_;
};

// Whether `path` is that of a field in the message, or of the message itself.
bool is_in(std::string_view path, std::string_view message)
{
    return !message.empty() && path.starts_with(message) &&
           (path.size() == message.size() || path[message.size()] == '.');
}

// The conversion's verdict stands in the line of the field, or, where that is missing, of the message that should have it; the
// decoder's stands there already.
void mark(std::vector<annotated_line> &lines, const rib_explanation &why)
{
    if ((why.outcome != RIB_DROPPED && why.outcome != RIB_STOPPED) || why.path == nullptr)
        return;
    annotated_line *about = nullptr;
    for (annotated_line &line : lines) {
        if (!line.wrong.empty())
            return;
        if (is_in(why.path, line.path) && (about == nullptr || line.path.size() >= about->path.size()))
            about = &line;
    }
    if (about != nullptr)
        about->wrong = rib_reason_name(why.reason);
}

std::string place_text(const char *path, size_t offset)
{
    std::string text = path == nullptr || *path == '\0' ? "" : std::string(" at ") + path;
    if (offset != RIB_NO_OFFSET)
        text += (text.empty() ? " at " : " ") + hex_offset(offset);
    return text;
}

std::string verdict_of(const rib_explanation &why)
{
    std::string text = rib_outcome_name(why.outcome);
    if (why.reason != RIB_REASON_none)
        text += std::string(": ") + rib_reason_name(why.reason) + place_text(why.path, why.offset);
    else if (why.loss_count != 0)
        text += ", " + std::to_string(why.loss_count) + (why.loss_count == 1 ? " loss" : " losses");
    return text;
}

// ---- Older forms, and what has no layout at all ----

void add_raw(std::vector<annotated_line> &lines, bytes_view bytes, size_t offset, size_t end)
{
    for (; offset < end; offset += bytes_a_line) {
        const size_t line_end = std::min(end, offset + bytes_a_line);
        lines.push_back(
            {offset, line_end, "bytes", quoted(bytes.subspan(offset, line_end - offset)), {}, {}, {}, false, false});
    }
}

std::string fixed_value(const fixed_field &field, bytes_view payload)
{
    const bytes_view bytes = payload.subspan(field.offset, field.len);
    if (field.is_number) {
        uint64_t number = 0;
        for (const uint8_t byte : bytes)
            number = number << 8 | byte;
        return std::to_string(number);
    }
    const std::string_view name = field.name;
    if (name != "proto_name" && name != "proto_extra_name")
        return counted(bytes.size(), "byte");
    return quoted(bytes.first(static_cast<size_t>(std::find(bytes.begin(), bytes.end(), 0) - bytes.begin())));
}

std::vector<annotated_line> fixed_lines(uint32_t code, bytes_view payload)
{
    const measurement measured = measure(code, payload);
    std::vector<annotated_line> lines;
    for (const fixed_field &field : fixed_fields(code, payload)) {
        annotated_line line = {field.offset,
                               field.offset + field.len,
                               field.is_number ? std::string("u").append(std::to_string(8 * field.len)) : "bytes",
                               fixed_value(field, payload),
                               field.name,
                               {},
                               {},
                               true,
                               false};
        const measured_value *const value = measured.find(field.offset);
        line.lands_whole = value != nullptr && lands_whole(value->lands);
        if (value != nullptr && *field.name != '\0')
            line.lands = to_string(value->lands);
        else if (value != nullptr)
            line.lands = value->lands.is_nothing() ? "not used" : to_string(value->lands);
        lines.push_back(std::move(line));
    }
    return lines;
}

annotated_bytes annotate_encoded(uint32_t code, const message_descriptor &type, bytes_view payload)
{
    const explanation_handle why = explain(code, payload);
    const measurement measured = measure(code, payload);
    message_lines lines(type, payload, &measured, why.get());
    lines.walk_all();
    annotated_bytes out = {verdict_of(*why), why->outcome == RIB_DELIVERED, lines.take()};
    mark(out.lines, *why);
    return out;
}

} // namespace

annotated_bytes annotate_update(uint32_t code, bytes_view payload)
{
    if (const message_descriptor *type = message_of_code(code))
        return annotate_encoded(code, *type, payload);
    const explanation_handle why = explain(code, payload);
    annotated_bytes out = {verdict_of(*why), why->outcome == RIB_DELIVERED, {}};
    if (code == RIB_TLV_OLD_OPAQUE || code == RIB_TLV_OLD_PROTO)
        out.lines = fixed_lines(code, payload);
    else
        add_raw(out.lines, payload, 0, payload.size());
    mark(out.lines, *why);
    return out;
}

annotated_bytes annotate_message(const message_descriptor &type, bytes_view encoded)
{
    for (const uint32_t code : {RIB_TLV_GRID, RIB_TLV_PROTO, RIB_TLV_NHID, RIB_TLV_OPAQUE, RIB_TLV_ROUTE}) {
        if (message_of_code(code) == &type && encoded.size() <= UINT32_MAX)
            return annotate_encoded(code, type, encoded);
    }
    message_lines lines(type, encoded, nullptr, nullptr);
    const walk_result result = lines.walk_all();
    std::string verdict = "decoded";
    if (result.status != ZIDL_OK)
        verdict = std::string("not decoded: ") + rib_reason_name(result.reason) +
                  place_text(to_string(result.path).c_str(), result.offset);
    return {verdict, result.status == ZIDL_OK, lines.take()};
}

} // namespace rib_inspect

#include "tools/ribtool/explain/explanation_text.hpp"

#include "inspect/records/address_text.hpp"
#include "tools/ribtool/library/update_types.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <span>
#include <string_view>

namespace ribtool
{

namespace
{

using terminal::style;

constexpr size_t SHOWN_GROUPS = 20;    // of losses
constexpr size_t SHOWN_VALUE_LEN = 40; // characters
constexpr std::string_view INDENT = "    ";
constexpr std::string_view DEEPER = "      ";

constexpr char NO_BREAK = '\x1f'; // a blank at which a line does not end

// Breaks a text between words: the first line behind INDENT, the others behind DEEPER.
void append_wrapped(std::string &out, std::string_view text, size_t columns)
{
    out += INDENT;
    size_t column = INDENT.size();
    for (bool is_first = true; !text.empty(); is_first = false) {
        const size_t len = std::min(text.find(' '), text.size());
        const std::string_view word = text.substr(0, len);
        const size_t width = terminal::columns(word);
        if (!is_first && column + 1 + width > columns) {
            out += '\n';
            out += DEEPER;
            column = DEEPER.size();
        } else if (!is_first) {
            out += ' ';
            ++column;
        }
        out += word;
        std::ranges::replace(out.end() - static_cast<std::ptrdiff_t>(len), out.end(), NO_BREAK, ' ');
        column += width;
        text.remove_prefix(std::min(text.size(), len + 1));
    }
    out += '\n';
}

std::string counted(uint64_t count, std::string_view one, std::string_view many)
{
    return fmt::format("{} {}", count, count == 1 ? one : many);
}

std::string sentence(std::string_view text)
{
    std::string out(text);
    if (!out.empty())
        out[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(out[0])));
    return out;
}

// A path in a sentence: an unknown field has but a number.
std::string called(std::string_view path)
{
    const size_t dot = path.rfind('.');
    const std::string_view last = path.substr(dot == std::string_view::npos ? 0 : dot + 1);
    if (std::isdigit(static_cast<unsigned char>(last.front())) == 0)
        return std::string(path);
    return fmt::format("field{}{}{}", NO_BREAK, last,
                       last.size() == path.size() ? "" : fmt::format(" of {}", path.substr(0, dot)));
}

// ---- The first line ----

style style_of(const rib_explanation &explanation)
{
    switch (explanation.outcome) {
    case RIB_DELIVERED:
        return is_whole(explanation) ? style::green : style::yellow;
    case RIB_DROPPED:
        return style::red;
    case RIB_STOPPED:
        return style::magenta;
    case RIB_REFUSED:
    case RIB_OUTCOME_COUNT:
        break;
    }
    return style::cyan;
}

std::string_view consequence(const rib_explanation &explanation)
{
    switch (explanation.outcome) {
    case RIB_DELIVERED:
        return "";
    case RIB_DROPPED:
        return ": the client never sees it";
    case RIB_STOPPED:
        return ": an assertion ends the client's process";
    case RIB_REFUSED:
    case RIB_OUTCOME_COUNT:
        break;
    }
    return ": the library alone cannot tell what becomes of it";
}

// " 10.0.0.0/8" of a route that has reached the client.
void append_destination(std::string &out, const rib_explanation &explanation)
{
    if (explanation.record_kind != RIB_RECORD_ROUTE)
        return;
    const auto &route = *static_cast<const struct rib_routetype_ *>(explanation.record);
    if (route.rt_family != RIB_FAMILY_IPV4 && route.rt_family != RIB_FAMILY_IPV6)
        return;
    out += ' ';
    rib_inspect::append_address(out, route.rt_dest,
                                route.rt_family == RIB_FAMILY_IPV4 ? rib_inspect::address_family::ipv4
                                                                   : rib_inspect::address_family::ipv6);
    if (route.rt_prefix_len != 255) // the prefix has none
        out += fmt::format("/{}", route.rt_prefix_len);
}

void append_head(std::string &out, const uint64_t *frame, size_t payload_len, const rib_explanation &explanation,
                 const terminal::painter &paint)
{
    if (frame != nullptr)
        paint.append(out, style::bold, fmt::format("frame {}: ", *frame));
    const update_type *type =
        explanation.tlv_type > UINT16_MAX ? nullptr : find_update_type(static_cast<uint16_t>(explanation.tlv_type));
    out += type == nullptr ? "update" : type->name;
    append_destination(out, explanation);
    out += fmt::format(" (code {}, {}) is ", explanation.tlv_type, counted(payload_len, "byte", "bytes"));
    paint.append(out, style_of(explanation), rib_outcome_name(explanation.outcome));
    out += consequence(explanation);
    if (explanation.loss_count != 0)
        out += fmt::format(", with {}", counted(explanation.loss_count, "loss", "losses"));
    out += '\n';
}

// ---- Why and where ----

std::string place_of(const rib_explanation &explanation)
{
    std::string place;
    if (explanation.path != nullptr)
        place = fmt::format(": {}", called(explanation.path));
    if (explanation.offset != RIB_NO_OFFSET)
        place += fmt::format("{} byte{}{}", place.empty() ? ":" : ",", NO_BREAK, explanation.offset);
    return place;
}

bool is_of_decoder(const rib_explanation &explanation)
{
    return std::string_view(explanation.status_name).starts_with("ZIDL_");
}

void append_reason(std::string &out, const rib_explanation &explanation, size_t columns)
{
    if (explanation.reason == RIB_REASON_none)
        return;
    std::string text = fmt::format("{} ({}){}.", sentence(rib_reason_text(explanation.reason)),
                                   rib_reason_name(explanation.reason), place_of(explanation));
    if (explanation.assertion.expression != nullptr)
        text += fmt::format(" Assertion `{}' fails at {}:{} in {}.", explanation.assertion.expression,
                            explanation.assertion.file, explanation.assertion.line, explanation.assertion.function);
    else if (explanation.status != 0)
        text += fmt::format(" The {} ends with {}.", is_of_decoder(explanation) ? "decoder" : "conversion",
                            explanation.status_name);
    append_wrapped(out, text, columns);
}

// ---- What is lost ----

// The element of a list that a path begins in ("paths[3]"), or the whole path.
std::string_view holder_of(const char *path)
{
    const std::string_view text(path);
    return text.substr(0, std::min(text.find('.'), text.size()));
}

// Reasons that leave out whole elements of a list: runs of them are told as one.
constexpr rib_reason WHOLE_ELEMENTS[] = {
    RIB_REASON_marked_to_be_skipped, RIB_REASON_too_many_paths,
    RIB_REASON_too_many_algo_labels, RIB_REASON_too_many_next_next_hops,
    RIB_REASON_too_many_carriers,    RIB_REASON_next_next_hops_ended,
    RIB_REASON_count_wraps,
};

// Whether `next` is the element behind `holder` of the same list.
bool is_next_element(std::string_view holder, std::string_view next)
{
    const size_t bracket = holder.find('[');
    if (bracket == std::string_view::npos || holder.substr(0, bracket + 1) != next.substr(0, bracket + 1))
        return false;
    uint64_t index = 0;
    uint64_t next_index = 0;
    std::from_chars(holder.data() + bracket + 1, holder.data() + holder.size(), index);
    std::from_chars(next.data() + bracket + 1, next.data() + next.size(), next_index);
    return next_index == index + 1;
}

bool go_together(const rib_loss &before, const rib_loss &after)
{
    if (before.reason != after.reason || before.kept != nullptr || after.kept != nullptr)
        return false;
    const std::string_view holder = holder_of(before.path);
    const std::string_view next = holder_of(after.path);
    return holder == next || (std::ranges::find(WHOLE_ELEMENTS, before.reason) != std::end(WHOLE_ELEMENTS) &&
                              is_next_element(holder, next));
}

// How many losses are told together.
size_t group_len(std::span<const rib_loss> losses)
{
    size_t len = 1;
    while (len < losses.size() && go_together(losses[len - 1], losses[len]))
        ++len;
    return len;
}

// Adjacent losses for one reason: a path that is left out has many.
void append_group(std::string &out, std::span<const rib_loss> group, size_t columns)
{
    const rib_loss &first = group.front();
    const std::string value = shortened(first.value);
    const std::string name = called(first.path);
    std::string text;
    if (first.kept != nullptr)
        text = fmt::format("{} is {}; the client sees {}.", name, value, shortened(first.kept));
    else if (group.size() == 1)
        text = fmt::format("{}, which is {}, does not reach the client.", name, value);
    else
        text = fmt::format("{}, which is {}, and {} {} {} do not reach the client.", name, value,
                           counted(group.size() - 1, "more value", "more values"),
                           holder_of(first.path) == holder_of(group.back().path) ? "of" : "up to",
                           called(holder_of(group.back().path)));
    text += fmt::format(" {} ({}", sentence(rib_reason_text(first.reason)), rib_reason_name(first.reason));
    if (first.offset != RIB_NO_OFFSET)
        text += fmt::format(", byte{}{}", NO_BREAK, first.offset);
    text += ").";
    append_wrapped(out, text, columns);
}

void append_losses(std::string &out, std::span<const rib_loss> losses, size_t columns)
{
    for (size_t shown = 0; !losses.empty(); ++shown) {
        if (shown == SHOWN_GROUPS) {
            append_wrapped(out, fmt::format("And {}; --json lists all.", counted(losses.size(), "more", "more")),
                           columns);
            return;
        }
        const size_t count = group_len(losses);
        append_group(out, losses.first(count), columns);
        losses = losses.subspan(count);
    }
}

} // namespace

std::string shortened(const char *value)
{
    std::string_view text(value);
    if (text.empty())
        return "empty";
    return text.size() <= SHOWN_VALUE_LEN ? std::string(text) : fmt::format("{}...", text.substr(0, SHOWN_VALUE_LEN));
}

void append_paragraph(std::string &out, const uint64_t *frame, size_t payload_len, const rib_explanation &explanation,
                      const paragraph_style &style)
{
    append_head(out, frame, payload_len, explanation, style.paint);
    append_reason(out, explanation, style.columns);
    append_losses(out, {explanation.losses, explanation.loss_count}, style.columns);
}

namespace
{

void add_losses(json_line &line, std::span<const rib_loss> losses)
{
    line.begin_list("losses");
    for (const rib_loss &loss : losses) {
        line.begin_element();
        line.add_text("path", loss.path);
        line.add_text("reason", rib_reason_name(loss.reason));
        line.add_text("value", loss.value);
        if (loss.kept != nullptr)
            line.add_text("kept", loss.kept);
        line.end_object();
    }
    line.end_list();
}

} // namespace

void add_explanation(json_line &line, const uint64_t *frame, const rib_explanation &explanation)
{
    if (frame != nullptr)
        line.add_number("frame", *frame);
    line.add_number("type", explanation.tlv_type);
    line.add_text("outcome", rib_outcome_name(explanation.outcome));
    // An update that is not tried has no status, and one that stops the process never gets as far.
    if (explanation.outcome == RIB_DELIVERED || explanation.outcome == RIB_DROPPED) {
        line.add_number("status", explanation.status);
        line.add_text("status_name", explanation.status_name);
    }
    if (explanation.reason != RIB_REASON_none)
        line.add_text("reason", rib_reason_name(explanation.reason));
    if (explanation.path != nullptr)
        line.add_text("path", explanation.path);
    if (explanation.offset != RIB_NO_OFFSET)
        line.add_number("offset", explanation.offset);
    if (explanation.loss_count != 0)
        add_losses(line, {explanation.losses, explanation.loss_count});
    if (explanation.assertion.expression != nullptr)
        add_assertion(line, explanation.assertion);
}

} // namespace ribtool

#include "inspect/records/record_json.hpp"

#include "inspect/formats/json_text.hpp"
#include "inspect/records/address_text.hpp"

namespace rib_inspect
{

// ---- Selecting members ----

namespace
{

using part = field_selection::part;

// The type of the record that a member holds or has as elements; null where it is a value or a list of values.
const record_type *type_inside(const record_member &member)
{
    return member.kind == member_kind::list ? member.element->type : member.type;
}

std::vector<part> parts_of(const record_type &type)
{
    std::vector<part> parts;
    for (const record_member &member : type.members) {
        const record_type *inside = type_inside(member);
        parts.push_back({&member, false, inside == nullptr ? std::vector<part>() : parts_of(*inside)});
    }
    return parts;
}

bool ends_in(std::string_view path, std::string_view name)
{
    return path.ends_with(name) && (path.size() == name.size() || path[path.size() - name.size() - 1] == '.');
}

bool select(std::vector<part> &parts, const std::string &holder, std::string_view name)
{
    bool is_known = false;
    for (part &each : parts) {
        if (each.member->kind == member_kind::layout)
            continue;
        const std::string path = holder + std::string(each.member->name());
        if (ends_in(path, name)) {
            each.is_whole = true;
            is_known = true;
        }
        is_known |= select(each.inside, path + '.', name);
    }
    return is_known;
}

} // namespace

bool field_selection::part::is_empty() const
{
    return !is_whole && std::ranges::all_of(inside, &part::is_empty);
}

field_selection::field_selection()
{
    for (const record_type *type : client_record_types())
        roots_.push_back({type, parts_of(*type)});
}

field_selection::~field_selection() = default;
field_selection::field_selection(field_selection &&) noexcept = default;
field_selection &field_selection::operator=(field_selection &&) noexcept = default;

bool field_selection::add(std::string_view name)
{
    bool is_known = false;
    for (root &each : roots_)
        is_known |= !name.empty() && select(each.parts, {}, name);
    return is_known;
}

const std::vector<part> &field_selection::of(const record_type &type) const
{
    return std::ranges::find(roots_, &type, &root::type)->parts;
}

// ---- Writing ----

namespace
{

bool all_zero(std::span<const uint8_t> bytes)
{
    return std::ranges::all_of(bytes, [](uint8_t byte) { return byte == 0; });
}

// Every value is followed by a comma, which the end of its record or list takes back.
class record_writer
{
public:
    record_writer(std::string &out, const record_json_options &options, const record_type &type)
        : out_(out), is_compact_(options.is_compact)
    {
        if (options.fields != nullptr)
            selected_[0] = &options.fields->of(type);
        is_filtered_ = options.fields != nullptr;
    }

    bool enter(const record_member &member)
    {
        if (!is_filtered_)
            return true;
        const std::vector<part> *holder = selected_[depth_];
        const std::vector<part> *inside = nullptr; // everything
        if (holder != nullptr) {
            const auto found = std::ranges::find(*holder, &member, &part::member);
            if (found->is_empty())
                return false;
            inside = found->is_whole ? nullptr : &found->inside;
        }
        selected_[++depth_] = inside;
        return true;
    }
    void leave(const record_member &)
    {
        if (is_filtered_)
            --depth_;
    }

    void number(const record_member &member, uint64_t number)
    {
        if (leaves_out(member, number == member.absent))
            return;
        out_ += member.key;
        if (member.size == sizeof number)
            append_quoted_number(out_, number);
        else
            append_number(out_, static_cast<uint32_t>(number));
        out_ += ',';
    }

    void text(const record_member &member, std::string_view text)
    {
        if (leaves_out(member, text.empty()))
            return;
        out_ += member.key;
        append_string(out_, text);
        out_ += ',';
    }

    void address(const record_member &member, std::span<const uint8_t, 16> bytes, address_family family)
    {
        if (leaves_out(member, is_compact_ && all_zero(bytes)))
            return;
        out_ += member.key;
        if (family == address_family::unknown) {
            append_quoted_hex(out_, bytes);
        } else {
            out_ += '"';
            append_address(out_, bytes, family);
            out_ += '"';
        }
        out_ += ',';
    }

    void bytes(const record_member &member, std::span<const uint8_t> bytes)
    {
        // Of a block null is left out, not zeros: its length is the peer's.
        const bool is_fixed = member.kind == member_kind::bytes && member.size != 0;
        if (leaves_out(member, is_compact_ && is_fixed && all_zero(bytes)))
            return;
        out_ += member.key;
        append_quoted_hex(out_, bytes);
        out_ += ',';
    }

    void null(const record_member &member)
    {
        if (leaves_out(member, true))
            return;
        out_ += member.key;
        out_ += "null,";
        ++nulls_;
    }

    void begin_record(const record_member &member) { open(member, '{'); }
    void end_record(const record_member &member)
    {
        const opened begun = opened_[--opened_count_];
        close(member, begun, '}', out_.size() == begun.contents);
    }

    size_t begin_list(const record_member &member, size_t all, size_t filled)
    {
        open(member, '[');
        return is_compact_ ? filled : all;
    }
    void element(size_t) { ++elements_; }
    void end_list(const record_member &member)
    {
        const opened begun = opened_[--opened_count_];
        const bool has_nulls_only = elements_ - begun.elements == nulls_ - begun.nulls;
        close(member, begun, ']', has_nulls_only);
    }

    void begin() { out_ += '{'; }
    void end() { end_with('}'); }

private:
    struct opened {
        size_t begin;    // of its key
        size_t contents; // behind the bracket
        uint64_t elements, nulls;
    };

    bool leaves_out(const record_member &member, bool is_absent) const
    {
        return is_compact_ && is_absent && !member.key.empty();
    }

    void open(const record_member &member, char bracket)
    {
        const size_t begin = out_.size();
        out_ += member.key;
        out_ += bracket;
        opened_[opened_count_++] = {begin, out_.size(), elements_, nulls_};
    }

    void close(const record_member &member, const opened &begun, char bracket, bool is_empty)
    {
        if (leaves_out(member, is_empty))
            out_.resize(begun.begin);
        else {
            end_with(bracket);
            out_ += ',';
        }
    }

    void end_with(char bracket)
    {
        if (out_.back() == ',')
            out_.back() = bracket;
        else
            out_ += bracket;
    }

    std::string &out_;
    bool is_compact_;
    bool is_filtered_ = false;
    uint32_t depth_ = 0;
    uint32_t opened_count_ = 0;
    uint64_t elements_ = 0; // of all lists so far, and how many nulls
    uint64_t nulls_ = 0;
    const std::vector<part> *selected_[max_record_depth + 1] = {}; // null: everything
    opened opened_[2 * max_record_depth];
};

} // namespace

void append_json(std::string &out, const client_record &record, const record_json_options &options)
{
    record_writer writer(out, options, *record.type);
    writer.begin();
    visit_members(record, writer);
    writer.end();
}

} // namespace rib_inspect

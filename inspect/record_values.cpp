#include "inspect/record_values.hpp"

#include "inspect/address_text.hpp"
#include "inspect/hex.hpp"
#include "inspect/json_text.hpp"

#include <functional>

namespace rib_inspect
{

namespace
{

class value_collector
{
public:
    explicit value_collector(std::vector<record_value> &values) : values_(values) {}

    bool enter(const record_member &member)
    {
        path_.steps[path_.depth++] = {&member, no_index};
        return true;
    }
    void leave(const record_member &) { --path_.depth; }

    void number(const record_member &member, uint64_t number)
    {
        record_value &value = add(record_value_kind::number);
        value.number_size = static_cast<uint8_t>(member.size);
        value.number = number;
    }
    void text(const record_member &, std::string_view text) { add(record_value_kind::text).bytes = text; }
    void address(const record_member &, std::span<const uint8_t, 16> bytes, address_family family)
    {
        record_value &value = add(record_value_kind::address);
        value.family = family;
        copy(value, bytes);
    }
    void bytes(const record_member &, std::span<const uint8_t> bytes) { copy(add(record_value_kind::bytes), bytes); }
    void null(const record_member &) { add(record_value_kind::null); }

    void begin_record(const record_member &) {}
    void end_record(const record_member &) {}
    size_t begin_list(const record_member &, size_t all, size_t) { return all; }
    void element(size_t index) { path_.steps[path_.depth - 1].index = static_cast<uint32_t>(index); }
    void end_list(const record_member &) {}

private:
    record_value &add(record_value_kind kind)
    {
        return values_.emplace_back(record_value{path_, kind, address_family::unknown, 0, 0, {}});
    }

    static void copy(record_value &value, std::span<const uint8_t> bytes)
    {
        value.bytes.assign(reinterpret_cast<const char *>(bytes.data()), bytes.size());
    }

    std::vector<record_value> &values_;
    record_path path_;
};

} // namespace

bool operator==(const record_path &a, const record_path &b)
{
    return std::equal(a.steps, a.steps + a.depth, b.steps, b.steps + b.depth,
                      [](const record_path::step &x, const record_path::step &y) {
                          return x.member == y.member && x.index == y.index;
                      });
}

bool operator<(const record_path &a, const record_path &b)
{
    return std::lexicographical_compare(a.steps, a.steps + a.depth, b.steps, b.steps + b.depth,
                                        [](const record_path::step &x, const record_path::step &y) {
                                            return x.member == y.member ? x.index < y.index
                                                                        : std::less<>()(x.member, y.member);
                                        });
}

void append_path(std::string &out, const record_path &path)
{
    for (uint32_t depth = 0; depth < path.depth; ++depth) {
        const record_path::step &step = path.steps[depth];
        if (depth != 0)
            out += '.';
        out += step.member->name();
        if (step.index != no_index) {
            out += '[';
            append_number(out, step.index);
            out += ']';
        }
    }
}

std::string to_string(const record_path &path)
{
    std::string text;
    append_path(text, path);
    return text;
}

bool record_value::is_zero() const
{
    return number == 0 && bytes.find_first_not_of('\0') == std::string::npos;
}

bool same_content(const record_value &a, const record_value &b)
{
    return a.path == b.path && a.kind == b.kind && a.number == b.number && a.bytes == b.bytes;
}

void append_value(std::string &out, const record_value &value)
{
    const std::span<const uint8_t> bytes(reinterpret_cast<const uint8_t *>(value.bytes.data()), value.bytes.size());
    switch (value.kind) {
    case record_value_kind::number:
        append_number(out, value.number);
        return;
    case record_value_kind::text:
        append_string(out, value.bytes);
        return;
    case record_value_kind::address:
        append_address(out, bytes.first<16>(), value.family);
        return;
    case record_value_kind::bytes:
        append_hex(out, bytes);
        return;
    case record_value_kind::null:
        out += "null";
        return;
    }
}

std::vector<record_value> values_of(const client_record &record)
{
    std::vector<record_value> values;
    value_collector collector(values);
    visit_members(record, collector);
    return values;
}

std::vector<record_difference> differences(const std::vector<record_value> &before,
                                           const std::vector<record_value> &after)
{
    std::vector<record_difference> found;
    auto old = before.begin();
    auto now = after.begin();
    while (old != before.end() || now != after.end()) {
        if (now == after.end() || (old != before.end() && old->path < now->path)) {
            found.push_back({&*old++, nullptr});
        } else if (old == before.end() || now->path < old->path) {
            found.push_back({nullptr, &*now++});
        } else {
            if (!same_content(*old, *now))
                found.push_back({&*old, &*now});
            ++old;
            ++now;
        }
    }
    return found;
}

} // namespace rib_inspect

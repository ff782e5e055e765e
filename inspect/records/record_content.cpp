#include "inspect/records/record_content.hpp"

#include <algorithm>
#include <cstring>

namespace rib_inspect
{

namespace
{

constexpr uint32_t no_index = UINT32_MAX;

uint64_t mixed(uint64_t key, const void *member, uint32_t index)
{
    key = (key ^ reinterpret_cast<uintptr_t>(member)) * 0x9E3779B97F4A7C15;
    key = (key ^ key >> 29 ^ index) * 0xBF58476D1CE4E5B9;
    return key ^ key >> 32;
}

// A list of paths, keys or IDs: they are many of the same, and a member's name does not say which one holds it.
bool is_of_many(const record_member &list)
{
    return list.place == list_place::pointed_at || (list.element != nullptr && list.element->type == &PATH_ENTRY);
}

} // namespace

// A visitor of a record's members.
class content_reader
{
public:
    content_reader(record_content &content) : content_(content)
    {
        content.holders_.push_back({0, nullptr, no_index, 0});
        holder_ = static_cast<uint32_t>(content.holders_.size() - 1);
    }

    bool enter(const record_member &member) { return is_content(member); }
    void leave(const record_member &) {}

    void number(const record_member &member, uint64_t value) { append(member, &value, sizeof value); }
    void text(const record_member &member, std::string_view value) { append(member, value.data(), value.size()); }
    void address(const record_member &member, std::span<const uint8_t, 16> value, address_family)
    {
        append(member, value.data(), value.size());
    }
    void bytes(const record_member &member, std::span<const uint8_t> value)
    {
        append(member, value.data(), value.size(), 1);
    }
    void null(const record_member &member) { append(member, nullptr, 0); }

    void begin_record(const record_member &member)
    {
        if (!member.name().empty())
            push(&member, no_index);
    }
    void end_record(const record_member &member)
    {
        if (!member.name().empty())
            pop();
    }

    size_t begin_list(const record_member &member, size_t all, size_t)
    {
        push(&member, no_index);
        content_.lists_.push_back(all);
        return all;
    }
    void element(size_t index)
    {
        record_content::holder &list = content_.holders_[holder_];
        if (list.index == no_index && index == 0)
            list.index = 0;
        else
            replace(static_cast<uint32_t>(index));
    }
    void end_list(const record_member &) { pop(); }

private:
    void push(const record_member *member, uint32_t index)
    {
        const uint64_t key = mixed(content_.holders_[holder_].key, member, 0);
        content_.holders_.push_back({holder_, member, index, key});
        holder_ = static_cast<uint32_t>(content_.holders_.size() - 1);
    }
    // The next element of the list takes the place of the one before.
    void replace(uint32_t index)
    {
        const record_content::holder before = content_.holders_[holder_];
        content_.holders_.push_back({before.outer, before.member, index, before.key});
        content_.holders_.back().key = before.key + 1;
        holder_ = static_cast<uint32_t>(content_.holders_.size() - 1);
    }
    void pop() { holder_ = content_.holders_[holder_].outer; }

    // `mark` tells an empty block from a null one.
    void append(const record_member &member, const void *value, size_t len, size_t mark = 0)
    {
        std::vector<uint8_t> &all = content_.bytes_;
        const size_t begin = all.size();
        all.resize(begin + mark + len);
        if (mark != 0)
            all[begin] = 1;
        if (len != 0)
            std::memcpy(all.data() + begin + mark, value, len);
        content_.slots_.push_back({&member, holder_, static_cast<uint32_t>(begin), static_cast<uint32_t>(mark + len),
                                   mixed(content_.holders_[holder_].key, &member, 1)});
    }

    record_content &content_;
    uint32_t holder_ = 0;
};

void record_content::clear()
{
    slots_.clear();
    bytes_.clear();
    holders_.clear();
    lists_.clear();
}

void record_content::read(const client_record &record)
{
    type_ = record.type;
    content_reader reader(*this);
    visit_members(record, reader);
}

void record_content::add_number(const record_member &member, uint64_t value)
{
    content_reader(*this).number(member, value);
}

bool record_content::is_in_key(const slot &of) const
{
    const holder &key = holders_[of.holder];
    return key.member != nullptr && key.member->place == list_place::pointed_at && key.member->element->type != nullptr;
}

bool record_content::is_count(const slot &of) const
{
    const record_member *const around = holders_[of.holder].member;
    const record_type *type = type_;
    if (around != nullptr)
        type = around->kind == member_kind::list ? around->element->type : around->type;
    return type != nullptr && of.member->kind == member_kind::number &&
           std::any_of(type->members.begin(), type->members.end(), [&](const record_member &each) {
               return each.kind == member_kind::list && each.extent.size != 0 &&
                      each.extent.offset == of.member->offset;
           });
}

std::string record_content::name(const slot &of) const
{
    std::string out;
    append_name(out, of.holder);
    if (!of.member->name().empty()) {
        if (!out.empty())
            out += '.';
        out += of.member->name();
    }
    return out;
}

void record_content::append_name(std::string &out, uint32_t of) const
{
    const holder &at = holders_[of];
    if (at.member == nullptr)
        return;
    if (is_of_many(*at.member)) {
        if (at.member->element->type == nullptr)
            out += at.member->name();
        return;
    }
    append_name(out, at.outer);
    if (!out.empty())
        out += '.';
    out += at.member->name();
    if (at.index != no_index)
        out += '[' + std::to_string(at.index) + ']';
}

} // namespace rib_inspect

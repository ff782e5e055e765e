// What a client's record holds, without where it lies: every member's value by itself, so that two records can be compared
// member by member. Pointers do not count, only what they lead to.

#pragma once

#include "inspect/records/client_records.hpp"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace rib_inspect
{

class record_content
{
public:
    // One value: a number, a text, an address or bytes. A null block is a value, too.
    struct slot {
        const record_member *member;
        uint32_t holder; // the record or element around it
        uint32_t begin;  // in the bytes of all values
        uint32_t len;
        uint64_t key; // the same for the same member of two records
    };

    void clear();
    // Both append to what is there.
    void read(const client_record &record);
    void add_number(const record_member &member, uint64_t value);

    std::span<const slot> slots() const { return slots_; }
    std::span<const uint8_t> value(const slot &of) const { return {bytes_.data() + of.begin, of.len}; }

    // Whether a record has the same members, whatever their values: a list of another length makes a difference. If so,
    // `changed(slot, value)` is called for each value that is another; the view holds for the call.
    template <class Changed>
    bool compare(const client_record &record, size_t first_slot, Changed &&changed) const;
    // Of a slot that is a number.
    bool holds(const slot &of, uint64_t number) const
    {
        return std::memcmp(bytes_.data() + of.begin, &number, sizeof number) == 0;
    }

    // Whether the slot is a member of a grid list's key itself, and not of what the key holds.
    bool is_in_key(const slot &of) const;
    // Whether it counts the elements of a list beside it.
    bool is_count(const slot &of) const;

    // "pe_sid_infos[2].prefix_len": without the list and the index of the path or key that it belongs to.
    std::string name(const slot &of) const;

private:
    friend class content_reader;
    template <class Changed>
    friend class content_follower;

    struct holder {
        uint32_t outer;
        const record_member *member; // null: the whole record
        uint32_t index;
        uint64_t key;
    };

    void append_name(std::string &out, uint32_t of) const;

    const record_type *type_ = nullptr;
    std::vector<slot> slots_;
    std::vector<uint8_t> bytes_;
    std::vector<holder> holders_;
    std::vector<size_t> lists_; // their lengths, in the order of their beginnings
};

// The one pointer into the record itself: what it leads to is seen there. And how many elements a list has is content by the
// elements.
inline bool is_content(const record_member &member)
{
    return member.kind != member_kind::far_record;
}

// A visitor that goes along with the slots of a record that was read before.
template <class Changed>
class content_follower
{
public:
    content_follower(const record_content &base, size_t first_slot, Changed &changed)
        : base_(base), slots_(base.slots()), next_(first_slot), changed_(changed)
    {
    }

    bool is_shaped_like() const { return is_same_shape_; }

    bool enter(const record_member &member) { return is_same_shape_ && is_content(member); }
    void leave(const record_member &) {}
    void number(const record_member &member, uint64_t value)
    {
        if (follow(member) && !base_.holds(slots_[next_ - 1], value))
            changed_(next_ - 1, bytes_of(&value, sizeof value));
    }
    void text(const record_member &member, std::string_view value)
    {
        compare(member, bytes_of(value.data(), value.size()));
    }
    void address(const record_member &member, std::span<const uint8_t, 16> value, address_family)
    {
        compare(member, value);
    }
    void bytes(const record_member &member, std::span<const uint8_t> value)
    {
        marked_.assign(1, 1);
        marked_.insert(marked_.end(), value.begin(), value.end());
        compare(member, marked_);
    }
    void null(const record_member &member) { compare(member, {}); }
    void begin_record(const record_member &) {}
    void end_record(const record_member &) {}
    size_t begin_list(const record_member &, size_t all, size_t)
    {
        is_same_shape_ = is_same_shape_ && next_list_ < base_.lists_.size() && base_.lists_[next_list_++] == all;
        return is_same_shape_ ? all : 0;
    }
    void element(size_t) {}
    void end_list(const record_member &) {}

private:
    static std::span<const uint8_t> bytes_of(const void *bytes, size_t len)
    {
        return {static_cast<const uint8_t *>(bytes), len};
    }

    bool follow(const record_member &member)
    {
        is_same_shape_ = is_same_shape_ && next_ < slots_.size() && slots_[next_].member == &member;
        next_ += is_same_shape_;
        return is_same_shape_;
    }

    void compare(const record_member &member, std::span<const uint8_t> value)
    {
        if (!follow(member))
            return;
        const std::span<const uint8_t> before = base_.value(slots_[next_ - 1]);
        if (before.size() != value.size() ||
            (!value.empty() && std::memcmp(before.data(), value.data(), value.size()) != 0))
            changed_(next_ - 1, value);
    }

    const record_content &base_;
    const std::span<const record_content::slot> slots_;
    size_t next_;
    size_t next_list_ = 0;
    Changed &changed_;
    bool is_same_shape_ = true;
    std::vector<uint8_t> marked_;
};

template <class Changed>
bool record_content::compare(const client_record &record, size_t first_slot, Changed &&changed) const
{
    content_follower follower(*this, first_slot, changed);
    visit_members(record, follower);
    return follower.is_shaped_like();
}

} // namespace rib_inspect

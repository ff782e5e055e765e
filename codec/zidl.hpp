// Messages in C++17: what all types share. A type's own accessors stand in its group's header, messages/<group>.message.hpp,
// generated; docs/cpp.md shows how all this is used.
//
//     message<T>   owns what decoding or duplicating it allocated, and gives it back. Read only.
//     record<T>    a record to fill in and encode. Borrows what its setters take: owns nothing.
//     view<T>      reads a record that stands elsewhere; editor<T> fills one in.
//
// A temporary message does not show its record, and a temporary record turns into no view. Not caught is what else a temporary
// leads to and what is kept beyond its line: the strings, ranges and views that getters return, an editor of edit_x(), and the
// record that a chain of setters ends with, which the compiler no longer knows for a temporary.
//
// T is the record's C type, zidl_rib_route. All four have the accessors of its members: has_x() and x(); record and editor also
// set_x(value), clear_x(), and edit_x() and mark_x() of an embedded message. (Where `x` is a word of this layer, or begins with
// one of these verbs, its value is read by x_().) `*` and `->` reach the C record.
//
// Nothing here throws or needs RTTI; what data or a lack of memory can make fail says so. Messages allocate from their memory,
// an arena by malloc when its block is full. append_to() lets its container allocate and passes on what that throws: std::bad_alloc,
// std::length_error. One mistake, to which no data leads, ends the process by std::abort: a setter that is given more than
// UINT32_MAX elements of an array, which its count does not hold.

#pragma once

#include "codec/cpp/members.hpp"
#include "codec/cpp/memory.hpp"
#include "codec/cpp/span.hpp"
#include "codec/zidl.h"

namespace zidl
{

// How an operation went: true when well. The codes are those of codec/zidl.h.
class [[nodiscard]] status
{
public:
    constexpr status(std::int32_t code = ZIDL_OK) : code_(code) {}
    template <class Bool, std::enable_if_t<std::is_same_v<Bool, bool>, int> = 0>
    status(Bool) = delete; // false would be ZIDL_OK
    constexpr explicit operator bool() const { return code_ == ZIDL_OK; }
    constexpr std::int32_t code() const { return code_; }
    const char *name() const { return zidl_status_name(code_); } // "ZIDL_ERR_MALFORMED"; a function of librib itself
    friend constexpr bool operator==(status left, status right) { return left.code_ == right.code_; }
    friend constexpr bool operator!=(status left, status right) { return left.code_ != right.code_; }

private:
    std::int32_t code_;
};

// Generated for each type: its operations, each with every argument (one that the type goes without is ignored), and its
// accessors for whatever `Self` dereferences to a T.
template <class T>
struct traits;
template <class T, class Self>
class fields;
template <class T, class Self>
class setters;

// How a record is encoded. What is encoded are the members whose presence bits are set.
template <class T, class Self>
class encodable
{
    const T &held_() const { return *static_cast<const Self &>(*this); }

public:
    // Bytes of the whole encoding.
    [[nodiscard]] std::size_t encoded_size() const
    {
        return traits<T>::encode(&held_(), nullptr, 0, nullptr, nullptr, 0);
    }

    // Writes the encoding into `buffer`. Returns the bytes of the whole encoding, also where that is more than there is room
    // for: then the contents of `buffer` are of no use.
    [[nodiscard]] std::size_t encode(span<std::uint8_t> buffer) const
    {
        return traits<T>::encode(&held_(), buffer.data(), buffer.size(), nullptr, nullptr, 0);
    }

    // Appends the encoding to a std::vector<uint8_t>, a std::string or the like: it needs data(), size() and resize(), which
    // does not return if it cannot: a std::vector throws, or ends the process where nothing can be thrown. It is asked for
    // SIZE_MAX when the whole would be longer than that.
    template <class Container>
    void append_to(Container &container) const
    {
        static_assert(sizeof(*container.data()) == 1, "a container of bytes or characters");
        const std::size_t before = container.size();
        const std::size_t len = encoded_size();
        container.resize(len > SIZE_MAX - before ? SIZE_MAX : before + len);
        std::uint8_t *const room = reinterpret_cast<std::uint8_t *>(container.data()) + before;
        static_cast<void>(traits<T>::encode(&held_(), room, len, nullptr, nullptr, 0));
    }

    // Writes the encoding without the contents of bytes members, which segments lead to: in their order they are the encoding,
    // partly in `buffer`, partly in the record's bytes. `needed` receives how many segments that takes, which may be more than
    // there is room for. Returns the bytes without those contents. The lengths of embedded messages do not count contents,
    // either: docs/wire-format.md says of which messages a decoder can read the whole.
    [[nodiscard]] std::size_t encode_segments(span<std::uint8_t> buffer, span<zidl_segment> segments,
                                              std::uint32_t &needed) const
    {
        needed = segments.size() < UINT32_MAX ? static_cast<std::uint32_t>(segments.size()) : UINT32_MAX;
        return traits<T>::encode(&held_(), buffer.data(), buffer.size(), segments.data(), &needed, ZIDL_ZERO_COPY);
    }
};

// Reads a record that outlives the view.
template <class T>
class view : public fields<T, view<T>>
{
public:
    view(const T &record) : held_(&record) {}
    view(const T &&) = delete;

    const T &operator*() const { return *held_; }
    const T *operator->() const { return held_; }

private:
    const T *held_;
};

// Fills in a record that outlives the editor. Borrows what its setters take, as a record<T> does.
template <class T>
class editor : public setters<T, editor<T>>
{
public:
    editor(T &record) : held_(&record) {}

    T &operator*() const { return *held_; }
    T *operator->() const { return held_; }
    operator view<T>() const { return view<T>(*held_); }

private:
    T *held_;
};

// A record to fill in. Setters of strings, bytes and arrays borrow: what they take, and whatever that points to, must outlive
// the record's use, and nothing writes to it. A copy of the record borrows the same.
template <class T>
class record : public setters<T, record<T>>
{
public:
    record() = default;
    explicit record(const T &source) : held_(source) {} // borrows all that `source` owns

    T &operator*() { return held_; }
    const T &operator*() const { return held_; }
    T *operator->() { return &held_; }
    const T *operator->() const { return &held_; }
    operator view<T>() const & { return view<T>(held_); }
    operator view<T>() const && = delete;

private:
    T held_{};
};

// Owns what it was decoded or duplicated into. Always a valid record, at first an empty one; so again after clear(), a failed
// decode or duplicate, and when it has been moved from. What an embedded message has allocated that occurs a second time in
// the input, only an arena gets back (docs/ownership.md).
//
// It is read only, since its end releases whatever its pointers lead to. To change a message, fill in a record<T> made of it,
// which borrows from it, and encode that or duplicate it into a message, this one or another.
template <class T, class Memory = heap>
class message : public fields<T, message<T, Memory>>
{
public:
    template <class M = Memory, std::enable_if_t<std::is_default_constructible_v<M>, int> = 0>
    message() : held_(M())
    {
    }
    explicit message(Memory memory) : held_(memory) {}
    ~message() { release_(); }

    message(message &&other) noexcept : held_(other.held_) { other.forget_(); }
    message &operator=(message &&other) noexcept
    {
        if (this != &other) {
            release_();
            held_ = other.held_;
            other.forget_();
        }
        return *this;
    }
    message(const message &) = delete; // duplicate() tells whether there was memory
    message &operator=(const message &) = delete;

    const T &operator*() const & { return held_.record; }
    const T &operator*() const && = delete; // would end before the record is read
    const T *operator->() const & { return &held_.record; }
    const T *operator->() const && = delete;
    operator view<T>() const & { return view<T>(held_.record); }
    operator view<T>() const && = delete;

    // REQUIRES: `input` does not lie in memory that the message owns, as a view of one of its own bytes members does. To release
    // that afterwards, as duplicate() does, would take 2 % more instructions where a message is used again.
    //
    // Releases what the message held and reads `input`, which may go afterwards. A failure leaves the message empty.
    status decode(bytes input) { return decode(input, 0); }

    // The same, but bytes members borrow `input`, which outlives the message's use.
    status decode_zero_copy(borrowed<std::uint8_t> input)
    {
        return decode({input.data(), input.size()}, traits<T>::may_borrow ? std::uint32_t{ZIDL_ZERO_COPY} : 0);
    }

    // Makes the message a deep copy of `source`, also of what that borrows, and releases what the message held: afterwards,
    // since `source` may be this message's own record, or borrow from it. A failure, for which there is but one reason,
    // ZIDL_ERR_NO_MEMORY, leaves the message empty.
    status duplicate(const T &source)
    {
        if (!held_.owns && &source != &held_.record)
            return fill_(source);
        message copy(static_cast<const Memory &>(held_));
        const status done = copy.fill_(source);
        *this = std::move(copy);
        return done;
    }

    // Releases what the message held.
    void clear()
    {
        release_();
        forget_();
    }

    // Hands the record over to C: the caller releases it, by the type's free_ext with the functions of the message's memory and
    // `release_flags()` as it was before. The message is empty afterwards.
    [[nodiscard]] T detach()
    {
        const T record = held_.record;
        forget_();
        return record;
    }
    std::uint32_t release_flags() const { return held_.flags; }

    // Takes a record over from C that was allocated with the functions of the message's memory: by a decode with these flags.
    void adopt(const T &source, std::uint32_t flags)
    {
        begin_(flags & ZIDL_ZERO_COPY);
        held_.record = source;
    }

private:
    struct state_ : Memory {
        explicit state_(const Memory &memory) : Memory(memory) {}
        T record{};
        std::uint32_t flags = 0;
        bool owns = false;
    };

    status decode(bytes input, std::uint32_t flags)
    {
        begin_(flags);
        return end_(
            traits<T>::decode(&held_.record, input.data(), input.size(), held_.alloc_fn(), held_.alloc_ctx(), flags));
    }

    // Of a message that owns nothing.
    status fill_(const T &source)
    {
        held_.owns = true;
        return end_(traits<T>::duplicate(&held_.record, &source, held_.alloc_fn(), held_.alloc_ctx()));
    }

    // What comes next overwrites the record.
    void begin_(std::uint32_t flags)
    {
        release_();
        held_.flags = flags;
        held_.owns = true;
    }

    status end_(std::int32_t code)
    {
        if (code != ZIDL_OK)
            clear();
        return code;
    }

    void release_()
    {
        if constexpr (Memory::releases && traits<T>::owns_memory) {
            if (held_.owns)
                traits<T>::release(&held_.record, held_.free_fn(), held_.free_ctx(), held_.flags);
        }
    }

    void forget_()
    {
        held_.record = T{};
        held_.flags = 0;
        held_.owns = false;
    }

    state_ held_;
};

// Nothing is released: the arena takes back all at once. It may end before the message, which must not be looked into then.
template <class T>
using arena_message = message<T, in_arena>;

template <class T, class Memory>
view(const message<T, Memory> &) -> view<T>;
template <class T>
view(const record<T> &) -> view<T>;
template <class T>
view(const editor<T> &) -> view<T>;

} // namespace zidl

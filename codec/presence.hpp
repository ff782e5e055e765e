// Presence bits. A record's last member holds one bit a field; the bits above the last field belong to nobody, and no
// operation changes them in a record of the caller's.

#pragma once

#include "codec/wire.hpp"

#include <type_traits>

namespace zidl::detail
{
inline namespace ZIDL_VARIANT
{

// What the generated code says of a record type, by specialisation.
//   presence_words  presence words of the record, embedded records included
//   fixed_bound     bytes that the encoding takes at most, strings, bytes and repeated members left out
//   owns_memory     some member, here or below, points to memory
//   is_small        decoded in the schema's order first, see decode/ordered_reader.hpp
//   is_rare         one build of its encoder and decoder serves all that hold it, see built_once.hpp
//   is_bounded      what the encoding takes at most is known from fixed_bound and the sizes of bytes members
//   holds_bytes     some member, here or below, is a bytes member
template <class Record>
struct shape;

template <unsigned Bit, class Record>
ZIDL_INLINE constexpr bool has(const Record &msg)
{
    return msg.presence >> Bit & 1;
}

template <unsigned Bit>
constexpr uint64_t bit = uint64_t{1} << Bit;

template <class Record>
ZIDL_INLINE void clear_presence(Record &msg, uint64_t bits)
{
    msg.presence = static_cast<decltype(msg.presence)>(msg.presence & ~bits);
}

// Non-zero when some member, here or in an embedded record, is present: the message may have content then. Spare bits do
// not count: they may never have been written.
template <class Record>
ZIDL_INLINE constexpr uint64_t any_presence(const Record &msg)
{
    uint64_t any = 0;
    each_presence(const_cast<Record &>(msg), [&](const auto &word, uint64_t used) { any |= word & used; });
    return any;
}

// Where a member begins, for what treats neighbouring members as an array.
template <class Record>
ZIDL_INLINE uint8_t *member_bytes(Record &msg, size_t offset)
{
    return reinterpret_cast<uint8_t *>(&msg) + offset;
}

template <class Record>
ZIDL_INLINE const uint8_t *member_bytes(const Record &msg, size_t offset)
{
    return reinterpret_cast<const uint8_t *>(&msg) + offset;
}

// Asks for all cache lines of a large record at once: encoding looks into presence words all over it, and would else wait
// for one line after the other. An absent array may have any address, so none is computed as a pointer.
template <class Record>
ZIDL_INLINE constexpr void prefetch(const Record *msg, uint32_t count)
{
    constexpr size_t line = 64;
    if constexpr (sizeof(Record) > 2 * line) {
        if (count == 0)
            return;
        for (size_t offset = 0; offset < sizeof(Record); offset += line)
            __builtin_prefetch(reinterpret_cast<const void *>(reinterpret_cast<uintptr_t>(msg) + offset));
    }
}

// Keeps the spare bits of a record's presence words, embedded records included, while the record is overwritten.
// The generated each_presence visits the words, always in the same order.
template <class Record>
class spare_bits
{
public:
    ZIDL_INLINE explicit spare_bits(const Record &msg)
    {
        unsigned i = 0;
        each_presence(const_cast<Record &>(msg), [&](auto &word, uint64_t used) { kept_[i++] = word & ~used; });
    }

    // Puts the kept bits back into a record that was cleared.
    ZIDL_INLINE void restore(Record &msg) const
    {
        unsigned i = 0;
        each_presence(msg, [&](auto &word, uint64_t) {
            word = static_cast<std::remove_reference_t<decltype(word)>>(kept_[i++]);
        });
    }

private:
    uint64_t kept_[shape<Record>::presence_words];
};

// All members absent, zero and null; nothing is released.
template <class Record>
ZIDL_INLINE void clear(Record &msg)
{
    const spare_bits<Record> spare(msg);
    memset(&msg, 0, sizeof msg);
    spare.restore(msg);
}

// What decoders start with: the generated function of the record's type, which ZIDL_RESET defines.
template <class Record>
void reset(Record &msg);

#define ZIDL_RESET(name, record)                                                                                       \
    inline void name(record &msg)                                                                                      \
    {                                                                                                                  \
        clear(msg);                                                                                                    \
    }                                                                                                                  \
    template <>                                                                                                        \
    ZIDL_INLINE void reset(record &msg)                                                                                \
    {                                                                                                                  \
        name(msg);                                                                                                     \
    }

// What the presence words of `dst` become when it is overwritten by `src`: the used bits are the source's. They are read
// there, and not from what was just stored.
template <class Record>
class copied_presence
{
public:
    ZIDL_INLINE copied_presence(const Record &dst, const Record &src)
    {
        unsigned i = 0;
        each_presence(const_cast<Record &>(dst), [&](const auto &word, uint64_t used) {
            const uint64_t other = same_member(word, dst, src);
            words_[i++] = (other & used) | (word & ~used);
        });
    }

    ZIDL_INLINE void store_to(Record &dst) const
    {
        unsigned i = 0;
        each_presence(dst, [&](auto &word, uint64_t) {
            word = static_cast<std::remove_reference_t<decltype(word)>>(words_[i++]);
        });
    }

private:
    // The member of `other` that stands where `member` stands in `msg`.
    template <class Word>
    static ZIDL_INLINE Word same_member(const Word &member, const Record &msg, const Record &other)
    {
        const auto offset = reinterpret_cast<const uint8_t *>(&member) - reinterpret_cast<const uint8_t *>(&msg);
        return load<Word>(member_bytes(other, static_cast<size_t>(offset)));
    }

    uint64_t words_[shape<Record>::presence_words];
};

// The record as it stands, pointers shared.
template <class Record>
ZIDL_INLINE void copy_record(Record &dst, const Record &src)
{
    const copied_presence<Record> presence(dst, src);
    memcpy(&dst, &src, sizeof dst);
    presence.store_to(dst);
}

} // namespace ZIDL_VARIANT
} // namespace zidl::detail

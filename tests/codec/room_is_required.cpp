// What must not compile: a field of bounded size that goes to a fast writer without room, room that is not what the fields in it
// take, and a message that is called bounded without its bound. tests/codec/CMakeLists.txt compiles each case by itself and looks for the compiler's reason; the case
// without a mistake shows that it is the mistake that stops the others.

#include "codec/operations.hpp"
#include "messages/rib_common.hpp"

namespace zidl::detail
{

struct block_sample {
    uint8_t *block;
    uint64_t block_size;
    uint8_t presence;
};

struct array_sample {
    uint32_t *array;
    uint32_t array_count;
    uint8_t presence;
};

struct sample {
    uint32_t value;
    uint8_t block;
    zidl_rib_ipv6_address address;
    uint8_t presence;
};

inline namespace ZIDL_VARIANT
{

template <>
struct shape<sample> {
    static constexpr size_t fixed_bound = 6 + 24;
    static constexpr bool owns_memory = true;
    static constexpr bool is_bounded = false;
};

template <class Sink>
ZIDL_INLINE constexpr void encode_fields(Sink &out, const sample &msg)
{
#if defined(NO_ROOM_FOR_A_NUMBER)
    encode_u32<1>(out, has<0>(msg), msg.value);
#elif defined(NO_ROOM_FOR_A_NUMBER_OF_ANY_LENGTH)
    encode_varied_u32<1>(out, has<0>(msg), msg.value);
#elif defined(NO_ROOM_FOR_A_BYTE)
    encode_bool<1>(out, has<0>(msg), msg.block);
#elif defined(NO_ROOM_FOR_FOUR_BYTES)
    encode_fixed32<1>(out, has<0>(msg), msg.value);
#elif defined(NO_ROOM_FOR_A_MESSAGE)
    encode_message<2>(out, has<1>(msg), msg.address);
#elif defined(TOO_LITTLE_ROOM)
    within<29>(out, [&](auto &room) {
        encode_u32<1>(room, has<0>(msg), msg.value);
        encode_message<2>(room, has<1>(msg), msg.address);
    });
#elif defined(ANOTHER_BOUND)
    within<6>(out, [&](auto &room) { encode_u32<1>(room, has<0>(msg), msg.value); });
#else
    within<30>(out, [&](auto &room) {
        encode_u32<1>(room, has<0>(msg), msg.value);
        encode_message<2>(room, has<1>(msg), msg.address);
    });
#endif
}

template <>
struct shape<block_sample> {
    static constexpr size_t fixed_bound = 0;
#if defined(BYTES_FORGOTTEN)
    static constexpr bool owns_memory = false;
#else
    static constexpr bool owns_memory = true;
#endif
    static constexpr bool is_bounded = true;
};

constexpr void add_sizes([[maybe_unused]] content_sizes &sizes, [[maybe_unused]] const block_sample &msg)
{
#if !defined(SIZE_FORGOTTEN)
    sizes.add<1>(has<0>(msg), msg.block_size);
#endif
}

template <class Sink>
ZIDL_INLINE constexpr void encode_fields(Sink &out, const block_sample &msg)
{
    encode_bytes<1>(out, has<0>(msg), msg.block, msg.block_size);
}

template <>
struct shape<array_sample> {
    static constexpr size_t fixed_bound = 0;
#if defined(ARRAY_FORGOTTEN)
    static constexpr bool owns_memory = false;
    static constexpr bool is_bounded = true;
#else
    static constexpr bool owns_memory = true;
    static constexpr bool is_bounded = false;
#endif
};

template <class Sink>
ZIDL_INLINE constexpr void encode_fields(Sink &out, const array_sample &msg)
{
    encode_u32s<1>(out, has<0>(msg), msg.array, msg.array_count);
}

static_assert(bounds_are_right<block_sample>(), "the bounds differ");
static_assert(bounds_are_right<array_sample>(), "the bounds differ");

fast_writer write(const sample &msg, fast_writer out)
{
    static_assert(bounds_are_right<sample>(), "the bounds differ");
    return encode(out, msg);
}

} // namespace ZIDL_VARIANT
} // namespace zidl::detail

// Everything of librib for C++17: all message types as codec/zidl.hpp has them, and the client library with callables.
// docs/cpp.md shows how both are used; the headers below ip/rib/lib/src/ say what records hold and what stops the process.
//
// Nothing here throws. What allocates, by malloc, are decode_route and the C functions that the entry points call; of the latter
// docs/client-guide.md says when that is released. A callable must not throw, either: that ends the process, since the library is C.

#ifndef RIB_HPP
#define RIB_HPP

#include "codec/zidl.hpp"
#include "messages/ip_rib.message.hpp"
#include "messages/ip_rib_srv6.message.hpp"
#include "messages/rib_common.message.hpp"
#include "messages/rib_encap.message.hpp"
#include "rib.h"
#include "rib_frames.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>
#include <string_view>
#include <type_traits>
#include <utility>

namespace rib
{

// ---- Updates ----

// The bytes of one update, which the parse functions write to: parse the same bytes once.
class update
{
public:
    // A frame: its header, and at least as many bytes behind it as that says.
    explicit update(zidl::span<std::uint8_t> frame) : held_{}
    {
        if (rib_frame_size(frame.data(), frame.size()) == 0)
            return;
        code_ = rib_frame_code(frame.data());
        payload_len_ = static_cast<std::uint32_t>(rib_frame_payload_len(frame.data()));
        held_.payload = frame.data();
    }

    // A payload without its header.
    update(std::uint32_t code, zidl::span<std::uint8_t> payload) : held_{}
    {
        if (payload.size() > UINT32_MAX)
            return;
        code_ = code;
        payload_len_ = static_cast<std::uint32_t>(payload.size());
        held_.stripped = 1;
        held_.tlv_type = code;
        held_.payload = payload.data();
        held_.payload_len = payload_len_;
    }

    std::uint32_t code() const { return code_; } // RIB_TLV_; RIB_FRAME_DELIMITER also of what is no whole frame
    std::uint32_t payload_len() const { return payload_len_; }
    updatetype_local *record() { return &held_; } // for the C functions, which write to it

private:
    updatetype_local held_;
    std::uint32_t code_ = RIB_FRAME_DELIMITER;
    std::uint32_t payload_len_ = 0;
};

namespace detail
{

// What stands behind the context of a C callback. The callback is noexcept: nothing unwinds through the library.
template <class F>
struct call {
    F &callable;
    const update &from;

    static call &of(void *ctx) { return *static_cast<call *>(ctx); }
};

// Hands a record, and what is told with it, to a callable that takes both or the record alone; one that takes only others is
// spared it.
template <class Record, class F, class... More>
void hand_over(F &callable, const Record &record, More... more)
{
    if constexpr (std::is_invocable_v<F &, const Record &, More...>)
        static_cast<void>(callable(record, more...));
    else if constexpr (std::is_invocable_v<F &, const Record &>)
        static_cast<void>(callable(record));
}

// A record that may stand at any address, where a callable gets a reference.
template <class Record, class F>
void hand_over_aligned(F &callable, const Record *record)
{
    if (reinterpret_cast<std::uintptr_t>(record) % alignof(Record) == 0)
        return static_cast<void>(callable(*record));
    Record aligned;
    std::memcpy(static_cast<void *>(&aligned), static_cast<const void *>(record), sizeof aligned);
    static_cast<void>(callable(static_cast<const Record &>(aligned)));
}

// The fixed part of the older form of an opaque update.
constexpr std::uint32_t older_opaque_len = 24;

// Whether the blocks lie within the payload: the library has compared their sum, which wraps.
inline bool has_its_blocks(const update &from, const rib_opaque_update &opaque)
{
    if (from.code() != RIB_TLV_OLD_OPAQUE)
        return true;
    const std::uint32_t room = from.payload_len() - older_opaque_len;
    return opaque.first_len <= room && opaque.second_len <= room - opaque.first_len;
}

// What a conversion of an older-form route reaches: its C function gets no context.
template <class Convert, class F>
struct older_route {
    using owner = std::decay_t<std::invoke_result_t<Convert &, rib_tlv_t *, uchar_t *&>>;

    rib_route_client client; // first: it is the context of the callback
    Convert &convert;
    F &callable;
    owner route;

    static older_route *&current()
    {
        static thread_local older_route *innermost = nullptr;
        return innermost;
    }
};

} // namespace detail

// Several callables as one, which chooses by the type of the record.
template <class... F>
struct overloaded : F... {
    using F::operator()...;
};
template <class... F>
overloaded(F...) -> overloaded<F...>;

// ---- The entry points ----
//
// Each hands the client record that the update holds to `callable`, once, on this thread, before it returns; not if the library
// drops the update. The record and all that it points to are valid until the callable returns. What it returns is ignored.
//
// False when the update is no whole frame, when the code belongs to another entry point, when a protocol update of the older form
// is shorter than its record, and when a grid list is empty: nothing has been done then. In C, each of these stops the process or
// reads beyond the payload.

// callable(const rib_protoid_map &)
template <class F>
bool parse_proto(update from, F &&callable)
{
    const bool is_older = from.code() == RIB_TLV_OLD_PROTO && from.payload_len() >= sizeof(rib_protoid_map);
    if (from.code() != RIB_TLV_PROTO && !is_older)
        return false;
    using one = detail::call<std::remove_reference_t<F>>;
    one made{callable, from};
    rib_lib_pvt_parse_proto_update(
        [](std::uint32_t, rib_protoid_map *map, void *ctx) noexcept {
            detail::hand_over_aligned<rib_protoid_map>(one::of(ctx).callable, map);
            return 0;
        },
        from.record(), &made);
    return true;
}

// callable(const rib_opaque_update &) or callable(const rib_opaque_update &, uint32_t sub_id). Older-form updates whose blocks
// reach beyond the payload are dropped.
template <class F>
bool parse_opaque(update from, F &&callable)
{
    static_assert(std::is_invocable_v<F &, const rib_opaque_update &> ||
                      std::is_invocable_v<F &, const rib_opaque_update &, std::uint32_t>,
                  "the callable does not take the record");
    if (from.code() != RIB_TLV_OPAQUE && from.code() != RIB_TLV_OLD_OPAQUE)
        return false;
    using one = detail::call<std::remove_reference_t<F>>;
    one made{callable, from};
    rib_lib_pvt_parse_opaque_update(
        [](std::uint32_t, std::uint32_t sub_id, rib_opaque_update *opaque, void *ctx) noexcept {
            one &self = one::of(ctx);
            if (detail::has_its_blocks(self.from, *opaque))
                detail::hand_over<rib_opaque_update>(self.callable, *opaque, sub_id);
            return 0;
        },
        from.record(), &made);
    return true;
}

// callable(const grid_sync_list &), callable(const nhid_update_local &) or both; a record that it does not take is dropped. An
// empty grid list, which would stop the process, is none.
template <class F>
bool parse_grid(update from, F &&callable)
{
    static_assert(std::is_invocable_v<F &, const grid_sync_list &> ||
                      std::is_invocable_v<F &, const nhid_update_local &>,
                  "the callable takes neither of the two records");
    if ((from.code() != RIB_TLV_GRID || from.payload_len() == 0) && from.code() != RIB_TLV_NHID)
        return false;
    using one = detail::call<std::remove_reference_t<F>>;
    one made{callable, from};
    rib_lib_pvt_parse_grid_update(
        [](void *parsed, void *ctx, std::uint32_t code) noexcept {
            if (code == RIB_TLV_GRID)
                detail::hand_over(one::of(ctx).callable, *static_cast<const grid_sync_list *>(parsed));
            else
                detail::hand_over(one::of(ctx).callable, *static_cast<const nhid_update_local *>(parsed));
            return 0;
        },
        from.record(), &made);
    return true;
}

// callable(const rib_routetype_ &). Routes of the older form are dropped.
template <class F>
bool parse_route(update from, F &&callable)
{
    if (from.code() != RIB_TLV_ROUTE && from.code() != RIB_TLV_OLD_ROUTE)
        return false;
    using one = detail::call<std::remove_reference_t<F>>;
    one made{callable, from};
    rib_route_client client{};
    client.context = &made;
    client.encoded_route = [](std::uint32_t, rib_routetype_ *route, void *ctx) noexcept {
        static_cast<void>(one::of(ctx).callable(static_cast<const rib_routetype_ &>(*route)));
        return 0;
    };
    rib_lib_pvt_parse_route_update(from.record(), nullptr, nullptr, nullptr, 0, &client);
    return true;
}

// The same with routes of the older form, whose layout only the client knows. `convert(rib_tlv_t *header, uchar_t *&cursor)` makes
// a route of what stands at the cursor and returns its owner, such as a std::unique_ptr<rib_routetype_, ...>: the header is null
// when the update came without one, and the owner is empty when the payload is no route. `older(owner)` gets it in either
// case, and keeps the route or lets it go.
template <class F, class Convert, class Older>
bool parse_route(update from, F &&callable, Convert &&convert, Older &&older)
{
    if (from.code() != RIB_TLV_OLD_ROUTE)
        return parse_route(from, std::forward<F>(callable));
    using one = detail::older_route<std::remove_reference_t<Convert>, std::remove_reference_t<Older>>;
    one made{{}, convert, older, {}};
    one::current() = &made; // convert_one reads it before anything of the client runs
    const auto deliver = [](std::uint32_t, rib_routetype_ *, void *ctx) noexcept {
        one &self = *static_cast<one *>(ctx);
        static_cast<void>(self.callable(std::move(self.route)));
        return 0;
    };
    const auto convert_one = [](rib_tlv_t *header, uchar_t **cursor) noexcept -> rib_routetype_ * {
        one &self = *one::current();
        self.route = self.convert(header, *cursor);
        return self.route.get();
    };
    rib_lib_pvt_parse_route_update(from.record(), deliver, convert_one, nullptr, 1, &made);
    one::current() = nullptr;
    return true;
}

// Whichever record the update holds, if the callable takes it: an `overloaded` of lambdas, or a generic one; an opaque update also
// with its sub_id. Routes of the older form are dropped. False also for codes that no entry point knows.
template <class F>
bool parse(const update &from, F &&callable)
{
    static_assert(
        std::is_invocable_v<F &, const rib_protoid_map &> || std::is_invocable_v<F &, const rib_opaque_update &> ||
            std::is_invocable_v<F &, const rib_opaque_update &, std::uint32_t> ||
            std::is_invocable_v<F &, const grid_sync_list &> || std::is_invocable_v<F &, const nhid_update_local &> ||
            std::is_invocable_v<F &, const rib_routetype_ &>,
        "the callable takes none of the records");
    const auto deliver = [&callable](const auto &record, auto... sub_id) -> void {
        detail::hand_over(callable, record, sub_id...);
    };
    return parse_proto(from, deliver) || parse_opaque(from, deliver) || parse_grid(from, deliver) ||
           parse_route(from, deliver);
}

// ---- Reading client records ----

inline zidl::bytes first_block(const rib_opaque_update &opaque)
{
    return {opaque.first_block, opaque.first_block != nullptr ? opaque.first_len : 0};
}
inline zidl::bytes second_block(const rib_opaque_update &opaque)
{
    return {opaque.second_block, opaque.second_block != nullptr ? opaque.second_len : 0};
}

// As far as its NUL; a name that runs on into proto_extra_name is cut where that begins.
inline std::string_view proto_name(const rib_protoid_map &map)
{
    return {map.proto_name, strnlen(map.proto_name, sizeof map.proto_name)};
}
inline std::string_view proto_extra_name(const rib_protoid_map &map)
{
    return {map.proto_extra_name, strnlen(map.proto_extra_name, sizeof map.proto_extra_name)};
}

inline zidl::span<const rib_encap_id_path_key_t> keys(const grid_sync_list &list)
{
    return {list.keys, list.count};
}
inline zidl::span<const std::uint64_t> encap_ids(const grid_sync_list &list)
{
    return {list.encap_ids, list.multi_key == 1 ? list.count : 0};
}

// The paths of a route, which lie packed behind it: a range of const rib_path_entry.
class paths
{
public:
    class iterator
    {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = const rib_path_entry;
        using difference_type = std::ptrdiff_t;
        using pointer = const rib_path_entry *;
        using reference = const rib_path_entry &;

        iterator() = default;
        iterator(const rib_path_entry *at, std::uint32_t left) : at_(at), left_(left) {}
        reference operator*() const { return *at_; }
        pointer operator->() const { return at_; }
        iterator &operator++()
        {
            if (--left_ != 0)
                at_ = rib_route_next_path(at_);
            return *this;
        }
        iterator operator++(int)
        {
            const iterator before = *this;
            ++*this;
            return before;
        }
        friend bool operator==(const iterator &one, const iterator &other) { return one.left_ == other.left_; }
        friend bool operator!=(const iterator &one, const iterator &other) { return one.left_ != other.left_; }

    private:
        const rib_path_entry *at_ = nullptr;
        std::uint32_t left_ = 0;
    };

    explicit paths(const rib_routetype_ &route) : route_(&route) {}
    std::size_t size() const { return route_->rt_path_count; }
    bool empty() const { return size() == 0; }
    iterator begin() const { return {rib_route_first_path(route_), route_->rt_path_count}; }
    iterator end() const { return {}; }

private:
    const rib_routetype_ *route_;
};

inline zidl::span<const std::uint64_t> communities(const rib_path_entry &path)
{
    return {rib_path_ecomm_values(&path), path.pe_ecomm_count};
}
inline zidl::span<const std::uint32_t> labels(const rib_path_entry &path)
{
    return {path.pe_labels, path.pe_label_count};
}
inline zidl::span<const rib_nnh_entry> next_next_hops(const rib_path_entry &path)
{
    return {path.pe_nnh, path.pe_nnh_count};
}
inline zidl::span<const rib_sid_info_entry> sid_infos(const rib_path_entry &path)
{
    return {path.pe_sid_infos, path.pe_sid_info_count};
}
inline zidl::span<const rib_algo_label_entry> algo_labels(const rib_routetype_ &route)
{
    return {route.rt_algo_labels, route.rt_algo_label_count};
}

// ---- Routes that outlive their update ----

struct route_release {
    void operator()(rib_routetype_ *route) const
    {
        std::free(route->rt_advertisement);
        for (void *block : route->rt_attr_blocks)
            std::free(block);
        std::free(route);
    }
};
using route_owner = std::unique_ptr<rib_routetype_, route_release>;

// Converts an encoded rib_route, a payload of RIB_TLV_ROUTE, into a record of the caller's. The status is that of
// rib_lib_route_decode; `out` is empty unless it is ZERRNO_OK.
[[nodiscard]] inline zerrno decode_route(zidl::bytes message, route_owner &out)
{
    out.reset();
    if (message.size() > UINT32_MAX)
        return ZERRNO_MALFORMED;
    rib_routetype_ *route = nullptr;
    const zerrno status = rib_lib_route_decode(message.data(), static_cast<std::uint32_t>(message.size()), &route);
    route_owner owned(route);
    if (status == ZERRNO_OK)
        out = std::move(owned);
    return status;
}

} // namespace rib

#endif

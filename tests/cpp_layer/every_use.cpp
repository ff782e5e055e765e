// A program that uses each template of the C++ layer. It is compiled alone, by each compiler and standard, with warnings as errors.

#include "rib.hpp"

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>
#if __cplusplus >= 202002L
#include <span>
#endif

namespace
{

using route_message = zidl::message<zidl_rib_route>;
using arena_route = zidl::arena_message<zidl_rib_route>;
using functions_route = zidl::message<zidl_rib_route, zidl::functions>;

// ---- Messages, with memory from everywhere, in what the standard library has for values ----

static_assert(std::is_default_constructible_v<route_message>);
static_assert(!std::is_default_constructible_v<arena_route> && !std::is_default_constructible_v<functions_route>);

template <class Message>
std::size_t use_message(Message &msg, zidl::bytes input)
{
    std::vector<std::uint8_t> encoded;
    std::string text;
    if (msg.decode(input) && msg.decode_zero_copy({input.data(), input.size()}) && msg.duplicate(*msg)) {
        msg.append_to(encoded);
        msg.append_to(text);
    }
    const std::uint32_t flags = msg.release_flags();
    msg.adopt(msg.detach(), flags);
    const zidl::view<zidl_rib_route> seen = msg;
    std::size_t sum = encoded.size() + text.size() + seen.encoded_size();
    for (const auto path : msg.paths())
        sum += path.path_values_9().size();
    Message moved = std::move(msg);
    msg = std::move(moved);
    msg.clear();
    return sum;
}

template <class Message, class... Memory>
std::size_t use_memory(zidl::bytes input, Memory &&...memory)
{
    Message msg(memory...);
    std::optional<Message> maybe;
    maybe.emplace(memory...);
    std::pair<int, Message> pair(1, Message(memory...));
    std::map<int, Message> by_number;
    by_number.emplace(1, Message(memory...));
    std::vector<Message> list;
    list.emplace_back(memory...);
    return use_message(msg, input) + use_message(*maybe, input) + use_message(pair.second, input) +
           use_message(by_number.at(1), input) + use_message(list.back(), input);
}

std::size_t use_memories(zidl::bytes input)
{
    zidl::arena arena;
    std::map<int, route_message> by_number;
    const std::pair<int, route_message> empty;
    return use_memory<route_message>(input) + use_memory<arena_route>(input, arena) +
           use_memory<functions_route>(input, zidl::functions(zidl::heap::allocate, zidl::heap::release, nullptr)) +
           use_message(by_number[1], input) + empty.second.encoded_size();
}

// ---- Records ----

std::size_t use_record(zidl::span<std::uint8_t> room)
{
    static const std::uint32_t labels[] = {16, 17};
    std::vector<zidl::record<zidl_rib_path>> paths(1);
    paths[0].set_path_value_1(1).set_path_values_9(labels).clear_path_value_8();
    zidl::record<zidl_rib_route> route;
    route.edit_route_prefix().set_prefix_len(24).edit_address().set_family(1);
    route.set_paths(paths).mark_route_prefix();
    zidl::record<zidl_ip_rib_proto_update> protocol;
    protocol.set_proto_name("bgp").set_proto_extra_name(nullptr);
    zidl::record<zidl_rib_route> same_paths;
    same_paths.set_paths(route.paths());
    const zidl_bytes entries[] = {zidl::block_of(room)};
    zidl::record<zidl_rib_encap_id_path_key_srv6> key;
    key.set_entries(entries);
    zidl::record<zidl_rib_encap_id_path_key_srv6> same_entries;
    same_entries.set_entries(key.entries());
#if __cplusplus >= 202002L
    paths[0].set_path_values_9(std::span(labels).first(1));
#endif
    zidl_segment segments[2];
    std::uint32_t needed = 0;
    return route.encode(room) + same_paths.encode(room) + same_entries.encode(room) +
           route.encode_segments(room, segments, needed) + protocol.encoded_size();
}

// ---- Entry points, with callables that return nothing, a number, and a status that must not be ignored elsewhere ----

template <class Result>
unsigned use_entry_points(const rib::update &from)
{
    const auto take = [](const auto &) { return Result(); };
    const auto take_opaque = [](const rib_opaque_update &, std::uint32_t) { return Result(); };
    const auto take_older = [](rib::route_owner) { return Result(); };
    const auto convert = [](rib_tlv_t *, uchar_t *&) { return rib::route_owner(); };
    const auto take_some = rib::overloaded{[](const nhid_update_local &) { return Result(); }, take_opaque};
    unsigned taken = 0;
    taken += rib::parse_proto(from, take);
    taken += rib::parse_opaque(from, take);
    taken += rib::parse_opaque(from, take_opaque);
    taken += rib::parse_grid(from, take);
    taken += rib::parse_route(from, take);
    taken += rib::parse_route(from, take, convert, take_older);
    taken += rib::parse(from, take);
    taken += rib::parse(from, take_opaque);
    taken += rib::parse(from, take_some);
    return taken;
}

std::size_t use_route(zidl::bytes payload)
{
    rib::route_owner route;
    if (rib::decode_route(payload, route) != ZERRNO_OK)
        return 0;
    std::size_t sum = rib::algo_labels(*route).size();
    for (const rib_path_entry &path : rib::paths(*route))
        sum += rib::labels(path).size() + rib::communities(path).size();
    return sum;
}

} // namespace

int main()
{
    std::uint8_t room[64] = {};
    const rib::update none((zidl::span<std::uint8_t>()));
    return static_cast<int>(use_memories(room) + use_record(room) + use_route(room)) +
           static_cast<int>(use_entry_points<void>(none) + use_entry_points<int>(none) +
                            use_entry_points<zidl::status>(none));
}

#include "tools/ribtool/stats/update_stats.hpp"

#include "messages/rib_encap.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>
#include <optional>

namespace ribtool
{

namespace
{

using steady_clock = std::chrono::steady_clock;

struct explanation_deleter {
    void operator()(rib_explanation *explanation) const { rib_explanation_free(explanation); }
};

// Of an update that was not delivered: the explanation repeats the conversion, which a healthy stream need not pay for.
rib_reason reason_of(const captured_frame &frame)
{
    updatetype_local update = {};
    update.payload = const_cast<uint8_t *>(frame.bytes.data()); // read only
    rib_explain_options options = {};
    options.without = RIB_WITHOUT_LOSSES;
    rib_explanation *made = nullptr;
    if (rib_explain_update(&update, &options, &made) != ZIDL_OK)
        throw std::bad_alloc();
    const std::unique_ptr<rib_explanation, explanation_deleter> explanation(made);
    return explanation->reason;
}

void *allocate(size_t size, void *)
{
    return std::malloc(size);
}

void release(void *block, void *)
{
    std::free(block);
}

// Whether the message is as every encoder writes it: IDs and keys, each whole, and multi_key, once and last. That must be there for a
// list to be delivered, so the decoder came to it, which is the end.
bool ends_with_multi_key(byte_span payload)
{
    constexpr uint8_t ENCAP_ID = 1 << 3 | 2;
    constexpr uint8_t KEY = 2 << 3 | 2;
    constexpr uint8_t MULTI_KEY = 4 << 3 | 0;
    while (payload.size() > 2 && (payload[0] == ENCAP_ID || payload[0] == KEY)) {
        const bool is_short = payload[1] < 0x80;
        if (!is_short && payload[2] >= 0x80)
            return false; // a length of 16 KB and more
        const size_t len = is_short ? payload[1] : size_t{payload[1] & 0x7fu} | size_t{payload[2]} << 7;
        payload = payload.subspan(is_short ? 2 : 3);
        if (len > payload.size())
            return false;
        payload = payload.subspan(len);
    }
    return payload.size() == 2 && payload[0] == MULTI_KEY && payload[1] < 0x80;
}

// A delivered update has no reason, but that of a grid list may be that its message breaks off: the only one of which the library
// delivers what came before.
rib_reason reason_of_delivered(uint16_t code, byte_span payload)
{
    if (code != RIB_TLV_GRID || ends_with_multi_key(payload))
        return RIB_REASON_none;
    zidl_rib_grid_sync_list message;
    const int32_t status =
        zidl_rib_grid_sync_list_decode_ext(&message, payload.data(), payload.size(), allocate, nullptr, ZIDL_ZERO_COPY);
    zidl_rib_grid_sync_list_free_ext(&message, release, nullptr, ZIDL_ZERO_COPY);
    return status == ZIDL_OK ? RIB_REASON_none : RIB_REASON_lenient_end;
}

rib_outcome outcome_of(const library_call &call, const delivery &to)
{
    if (call.assertion)
        return RIB_STOPPED;
    return to.callbacks == 0 ? RIB_DROPPED : RIB_DELIVERED;
}

} // namespace

void stats_counts::add(const stats_counts &other)
{
    updates += other.updates;
    bytes += other.bytes;
    times.add(other.times);
    allocations.add(other.allocations);
    record_bytes += other.record_bytes;
}

void route_shapes::add(const route_shape &route)
{
    if (route.family == RIB_FAMILY_IPV4 || route.family == RIB_FAMILY_IPV6)
        ++prefix_lengths[route.family == RIB_FAMILY_IPV6][route.prefix_len];
    else
        ++without_prefix;
    if (route.paths >= path_counts.size())
        path_counts.resize(route.paths + size_t{1});
    ++path_counts[route.paths];
}

steady_clock::time_point update_stats::add(const captured_frame &frame)
{
    const uint16_t code = frame_code(frame.bytes);
    const byte_span payload = byte_span(frame.bytes).subspan(FRAME_HEADER_LEN);
    const update_type *const type = find_update_type(code);
    if (type == nullptr || !type->violation(payload).empty()) {
        stats_counts &counts = rows_[{code, RIB_REFUSED, reason_of(frame)}];
        ++counts.updates;
        counts.bytes += frame.bytes.size();
        return steady_clock::now();
    }

    record_facts facts;
    delivery to;
    to.facts = &facts;
    const library_call call = call_library(frame, *type, update_form::unstripped, to);
    const rib_outcome outcome = outcome_of(call, to);
    const rib_reason reason = outcome == RIB_DELIVERED ? reason_of_delivered(code, payload) : reason_of(frame);
    stats_counts &counts = rows_[{code, outcome, reason}];
    ++counts.updates;
    counts.bytes += frame.bytes.size();
    counts.times.add(call.time);
    counts.allocations.add(call.allocations);
    counts.record_bytes += facts.bytes;
    if (facts.route)
        routes_.add(*facts.route);
    return call.ended;
}

stats_counts update_stats::total() const
{
    stats_counts sum;
    for (const auto &[key, counts] : rows_)
        sum.add(counts);
    return sum;
}

bool update_stats::all_went_through() const
{
    return std::ranges::none_of(
        rows_, [](const auto &row) { return row.first.outcome == RIB_STOPPED || row.first.outcome == RIB_REFUSED; });
}

} // namespace ribtool

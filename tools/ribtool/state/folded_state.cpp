#include "tools/ribtool/state/folded_state.hpp"

#include <fmt/format.h>

#include <numeric>

namespace ribtool
{

void folded_state::take(const captured_frame &frame)
{
    ++frames_;
    const uint16_t code = frame_code(frame.bytes);
    if (code == DELIMITER_CODE) {
        ++delimiters_;
        return;
    }
    const byte_span payload = byte_span(frame.bytes).subspan(FRAME_HEADER_LEN);
    const update_effect effect = reader_.read(code, payload);
    ++counts_[effect.outcome][effect.reason];
    if (effect.outcome != RIB_DELIVERED)
        return;
    if (code == RIB_TLV_GRID)
        take_list(reader_.list(), frame.number);
    else if (effect.withdraws)
        table_.withdraw(effect.key);
    else
        table_.set(effect.key, code, payload, frame.number);
}

void folded_state::take_list(const grid_sync_list &list, uint64_t frame)
{
    for (uint32_t index = 0; index < list.count; ++index) {
        const auto *const key = reinterpret_cast<const uint8_t *>(&list.keys[index]);
        table_.set(grid_key(list.encap_ids[index]), RIB_TLV_GRID, {key, sizeof list.keys[index]}, frame);
    }
}

std::string folded_state::summary() const
{
    std::string text = fmt::format("{} frame{}", frames_, frames_ == 1 ? "" : "s");
    for (const rib_outcome outcome : {RIB_DELIVERED, RIB_DROPPED, RIB_STOPPED, RIB_REFUSED}) {
        const auto &reasons = counts_[outcome];
        const uint64_t all = std::accumulate(reasons.begin(), reasons.end(), uint64_t{0});
        if (all == 0)
            continue;
        text += fmt::format(", {} {}", all, rib_outcome_name(outcome));
        std::string why;
        for (int reason = RIB_REASON_none + 1; reason < RIB_REASON_COUNT; ++reason) {
            if (reasons[static_cast<size_t>(reason)] != 0)
                why += fmt::format("{}{} {}", why.empty() ? "" : ", ", reasons[static_cast<size_t>(reason)],
                                   rib_reason_name(static_cast<rib_reason>(reason)));
        }
        if (!why.empty())
            text += fmt::format(" ({})", why);
    }
    if (delimiters_ != 0)
        text += fmt::format(", {} delimiter{}", delimiters_, delimiters_ == 1 ? "" : "s");
    return text + fmt::format(": {} entr{}", table_.size(), table_.size() == 1 ? "y" : "ies");
}

} // namespace ribtool

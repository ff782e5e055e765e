#include "tools/ribtool/explain/explain_summary.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <bitset>
#include <span>
#include <utility>
#include <vector>

namespace ribtool
{

void explain_summary::add(const rib_explanation &explanation)
{
    ++updates_;
    whole_ += is_whole(explanation);
    ++outcomes_[explanation.outcome];
    std::bitset<RIB_REASON_COUNT> seen;
    if (explanation.reason != RIB_REASON_none)
        seen.set(explanation.reason);
    for (const rib_loss &loss : std::span(explanation.losses, explanation.loss_count)) {
        seen.set(loss.reason);
        ++reasons_[loss.reason].values;
    }
    for (size_t reason = 0; seen.any() && reason < seen.size(); ++reason) {
        reasons_[reason].updates += seen[reason];
        seen.reset(reason);
    }
}

void explain_summary::print(const std::string &what) const
{
    terminal::say("{}, {} updates{}\n", what, updates_,
                  delimiters_ == 0 ? "" : fmt::format(", {} delimiters skipped", delimiters_));
    if (updates_ == 0)
        return;
    print_reasons();
    terminal::say("  {} delivered ({} with losses), {} dropped, {} stopped, {} refused\n", outcomes_[RIB_DELIVERED],
                  outcomes_[RIB_DELIVERED] - whole_, outcomes_[RIB_DROPPED], outcomes_[RIB_STOPPED],
                  outcomes_[RIB_REFUSED]);
}

void explain_summary::print_reasons() const
{
    std::vector<rib_reason> met;
    for (size_t reason = 0; reason < reasons_.size(); ++reason) {
        if (reasons_[reason].updates != 0)
            met.push_back(static_cast<rib_reason>(reason));
    }
    if (met.empty())
        return;
    const auto comes_first = [&](rib_reason a, rib_reason b) {
        return std::pair(reasons_[b].updates, a) < std::pair(reasons_[a].updates, b);
    };
    std::ranges::sort(met, comes_first);
    terminal::say("  {:>10} {:>12}  {}\n", "updates", "lost values", "reason");
    for (const rib_reason reason : met) {
        const reason_counts &counts = reasons_[reason];
        terminal::say("  {:>10} {:>12}  {}: {}\n", counts.updates, counts.values, rib_reason_name(reason),
                      rib_reason_text(reason));
    }
}

} // namespace ribtool

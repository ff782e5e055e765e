#include "tools/ribtool/explain/explanation_comment.hpp"

#include "tools/ribtool/explain/explanation_text.hpp"

#include <fmt/format.h>

#include <algorithm>

namespace ribtool
{

namespace
{

constexpr size_t SHOWN_LOSSES = 5;

std::string place(const char *path, size_t offset)
{
    std::string text;
    if (path != nullptr)
        text = fmt::format(" at {}", path);
    if (offset != RIB_NO_OFFSET)
        text += fmt::format("{} byte {}", path != nullptr ? "," : " at", offset);
    return text;
}

std::string shown(const rib_loss &loss)
{
    std::string text =
        fmt::format("{}{}: {}", rib_reason_name(loss.reason), place(loss.path, loss.offset), shortened(loss.value));
    if (loss.kept != nullptr)
        text += fmt::format(" kept as {}", shortened(loss.kept));
    return text;
}

} // namespace

std::string comment_of(const rib_explanation &explanation)
{
    std::string text = rib_outcome_name(explanation.outcome);
    if (explanation.reason != RIB_REASON_none)
        text += fmt::format(": {}{}", rib_reason_name(explanation.reason), place(explanation.path, explanation.offset));
    if (explanation.loss_count == 0)
        return text;
    text += fmt::format("{}with {} {}", explanation.reason == RIB_REASON_none ? " " : ", ", explanation.loss_count,
                        explanation.loss_count == 1 ? "loss" : "losses");
    const size_t count = std::min(explanation.loss_count, SHOWN_LOSSES);
    for (size_t index = 0; index < count; ++index)
        text += (index == 0 ? ": " : "; ") + shown(explanation.losses[index]);
    if (count < explanation.loss_count)
        text += fmt::format("; and {} more", explanation.loss_count - count);
    return text;
}

} // namespace ribtool

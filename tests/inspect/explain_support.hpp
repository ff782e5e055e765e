// Explanations of payloads, for tests: they give themselves back.

#pragma once

#include "inspect/rib_inspect.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace rib_test
{

using bytes = std::vector<uint8_t>;

struct explanation_deleter {
    void operator()(rib_explanation *explanation) const { rib_explanation_free(explanation); }
};
using explanation = std::unique_ptr<rib_explanation, explanation_deleter>;

// Of a stripped update.
inline explanation explain(uint32_t code, bytes payload, const rib_explain_options &options = {})
{
    updatetype_local update = {};
    update.tlv_type = code;
    update.stripped = 1;
    update.payload = payload.data();
    update.payload_len = static_cast<uint32_t>(payload.size());
    rib_explanation *out = nullptr;
    EXPECT_EQ(rib_explain_update(&update, &options, &out), ZIDL_OK);
    return explanation(out);
}

inline explanation explain_message(const char *name, const bytes &payload, const rib_explain_options &options = {})
{
    rib_explanation *out = nullptr;
    EXPECT_EQ(rib_explain_message(name, payload.data(), payload.size(), &options, &out), ZIDL_OK);
    return explanation(out);
}

inline std::string text(const char *text_or_null)
{
    return text_or_null == nullptr ? "(none)" : text_or_null;
}

// "reason path+offset", or "reason" alone.
inline std::string place(const rib_explanation &why)
{
    std::string out = rib_reason_name(why.reason);
    if (why.path != nullptr)
        out += std::string(" ") + why.path;
    if (why.offset != RIB_NO_OFFSET)
        out += " +" + std::to_string(why.offset);
    return out;
}

// "reason path +offset value -> kept", one each.
inline std::vector<std::string> losses(const rib_explanation &why)
{
    std::vector<std::string> out;
    for (size_t i = 0; i < why.loss_count; i++) {
        const rib_loss &loss = why.losses[i];
        out.push_back(std::string(rib_reason_name(loss.reason)) + " " + loss.path + " +" + std::to_string(loss.offset) +
                      " " + loss.value + " -> " + text(loss.kept));
    }
    return out;
}

} // namespace rib_test

// What an explanation of a whole capture counts, and the table that it prints at the end.

#pragma once

#include "tools/ribtool/explain/explanation_text.hpp"
#include "tools/ribtool/frames/capture.hpp"

#include <array>
#include <cstdint>
#include <string>

namespace ribtool
{

class explain_summary
{
public:
    void add(const rib_explanation &explanation);
    void add_delimiter() { ++delimiters_; }

    bool all_is_whole() const { return whole_ == updates_; }

    // To the standard error. `what` is the file and its format.
    void print(const std::string &what) const;

private:
    struct reason_counts {
        uint64_t updates = 0; // that end for this reason or lose something for it
        uint64_t values = 0;  // that are lost
    };

    void print_reasons() const;

    uint64_t updates_ = 0;
    uint64_t whole_ = 0;
    uint64_t delimiters_ = 0;
    std::array<uint64_t, RIB_OUTCOME_COUNT> outcomes_{};
    std::array<reason_counts, RIB_REASON_COUNT> reasons_{};
};

} // namespace ribtool

// Which updates a command takes: by type code, prefix, family, outcome and reason. Options of different names narrow the choice
// together; of the values of one option any will do.

#pragma once

#include "inspect/rib_inspect.h"
#include "tools/ribtool/frames/frame.hpp"
#include "tools/ribtool/options/command_line.hpp"
#include "tools/ribtool/options/prefix_set.hpp"
#include "tools/ribtool/state/update_effect.hpp"

#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace ribtool
{

struct selection_criteria {
    std::set<uint16_t> codes; // empty: any
    prefix_set prefixes;      // without a prefix: any, and other updates than routes
    bool has_prefixes = false;
    std::vector<std::string> prefix_files; // where some of them come from
    bool or_longer = false;
    bool or_shorter = false;
    bool ipv4 = false; // neither: any, and other updates than routes
    bool ipv6 = false;
    std::set<rib_outcome> outcomes; // empty: any
    std::set<rib_reason> reasons;   // empty: any
    bool is_inverted = false;
};

class update_selection
{
public:
    // `criteria` outlive this.
    explicit update_selection(const selection_criteria &criteria) : criteria_(criteria) {}

    bool takes(byte_span frame);

private:
    bool fits(byte_span frame);
    bool fits_route(const update_effect &effect) const;
    bool has_prefix(const ip_prefix &prefix) const;
    bool has_reason(uint16_t code, byte_span payload, const update_effect &effect) const;

    const selection_criteria &criteria_;
    effect_reader reader_;
};

// The options of the criteria. Values may be lists with commas.
void add_codes(CLI::App &line, selection_criteria &criteria);
void add_prefixes(CLI::App &line, selection_criteria &criteria, const std::string &description);
void add_other_criteria(CLI::App &line, selection_criteria &criteria);

} // namespace ribtool

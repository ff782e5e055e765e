// Routes of a table, drawn with the frequencies of real ones.

#pragma once

#include "tools/ribtool/generate/random.hpp"
#include "tools/ribtool/tables/table_route.hpp"

#include <array>
#include <cstdint>
#include <set>
#include <utility>

namespace ribtool
{

// Draws prefix lengths, paths per prefix and attributes out of the histograms, and no prefix twice (unless the lengths
// drawn leave hardly any choice).
class table_source
{
public:
    table_route draw(random_source &random);             // all the paths that a collector sees
    table_route draw_single_path(random_source &random); // the view of one router

private:
    ip_prefix draw_prefix(random_source &random, bool is_ipv6);

    std::set<std::pair<std::array<uint8_t, 16>, uint32_t>> seen_;
};

} // namespace ribtool

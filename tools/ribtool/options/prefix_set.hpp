// Prefixes to look for, few or a whole table of them: each question is one search among the sorted ones.

#pragma once

#include "tools/ribtool/addresses.hpp"

#include <cstddef>
#include <string>
#include <vector>

namespace ribtool
{

class prefix_set
{
public:
    // Bits behind the length do not count, here and in what is looked for.
    void add(const ip_prefix &prefix);

    // The prefixes of a text file, packed or not: one a line; empty lines, and what follows a #, are skipped. A failure says where.
    void add_file(const std::string &path);

    // Sorts what was added. Only then may be asked.
    void finish();

    bool is_empty() const { return all_.empty(); }

    bool has(const ip_prefix &prefix) const;
    bool has_one_around(const ip_prefix &prefix) const; // or the prefix itself
    bool has_one_inside(const ip_prefix &prefix) const; // or the prefix itself

private:
    std::vector<ip_prefix> all_;       // by family, address and length: what is inside a prefix follows it
    std::vector<ip_prefix> outermost_; // those of them that are inside no other
};

} // namespace ribtool

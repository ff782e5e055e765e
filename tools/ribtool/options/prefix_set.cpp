#include "tools/ribtool/options/prefix_set.hpp"

#include "tools/ribtool/errors.hpp"
#include "tools/ribtool/input/text_input.hpp"

#include <algorithm>
#include <tuple>

namespace ribtool
{

namespace
{

ip_prefix masked(ip_prefix prefix)
{
    mask_address(prefix.address, prefix.length);
    return prefix;
}

auto order_of(const ip_prefix &prefix)
{
    return std::tie(prefix.address.is_ipv6, prefix.address.bytes, prefix.length);
}

bool is_before(const ip_prefix &a, const ip_prefix &b)
{
    return order_of(a) < order_of(b);
}

// Both are masked.
bool is_inside(ip_prefix inner, const ip_prefix &outer)
{
    if (inner.address.is_ipv6 != outer.address.is_ipv6 || inner.length < outer.length)
        return false;
    mask_address(inner.address, outer.length);
    return inner.address.bytes == outer.address.bytes;
}

std::string_view without_comment_and_blanks(std::string_view line)
{
    constexpr std::string_view BLANKS = " \t";
    line = line.substr(0, line.find('#'));
    line.remove_prefix(std::min(line.find_first_not_of(BLANKS), line.size()));
    return line.substr(0, line.find_last_not_of(BLANKS) + 1);
}

} // namespace

void prefix_set::add(const ip_prefix &prefix)
{
    all_.push_back(masked(prefix));
}

void prefix_set::add_file(const std::string &path)
{
    text_input input(path);
    for (std::string_view line; input.next_line(line);) {
        const std::string_view text = without_comment_and_blanks(line);
        if (text.empty())
            continue;
        const std::optional<ip_prefix> prefix = parse_prefix(text);
        if (!prefix)
            fail(EXIT_MALFORMED, "{}: \"{}\" is not a prefix such as 10.0.0.0/8", input.place(), text);
        add(*prefix);
    }
}

void prefix_set::finish()
{
    std::sort(all_.begin(), all_.end(), is_before);
    outermost_.clear();
    for (const ip_prefix &prefix : all_) {
        if (outermost_.empty() || !is_inside(prefix, outermost_.back()))
            outermost_.push_back(prefix);
    }
}

bool prefix_set::has(const ip_prefix &prefix) const
{
    return std::binary_search(all_.begin(), all_.end(), masked(prefix), is_before);
}

// None of the outermost is inside another: the one that may be around is the last that does not come behind.
bool prefix_set::has_one_around(const ip_prefix &prefix) const
{
    const ip_prefix inner = masked(prefix);
    const auto behind = std::upper_bound(outermost_.begin(), outermost_.end(), inner, is_before);
    return behind != outermost_.begin() && is_inside(inner, *std::prev(behind));
}

bool prefix_set::has_one_inside(const ip_prefix &prefix) const
{
    const ip_prefix outer = masked(prefix);
    const auto first = std::lower_bound(all_.begin(), all_.end(), outer, is_before);
    return first != all_.end() && is_inside(*first, outer);
}

} // namespace ribtool

#include "tools/ribtool/options/nearest_names.hpp"

#include <algorithm>
#include <numeric>

namespace ribtool
{

namespace
{

constexpr size_t MAX_NAME = 100; // of what is compared with all names
constexpr size_t NAMES_SHOWN = 3;

// Characters to insert, remove or change.
size_t edit_distance(std::string_view a, std::string_view b)
{
    std::vector<size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 0; i < a.size(); ++i) {
        size_t diagonal = row[0];
        row[0] = i + 1;
        for (size_t j = 0; j < b.size(); ++j) {
            const size_t changed = diagonal + (a[i] == b[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({changed, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

} // namespace

std::vector<std::string> nearest_names(std::string_view name, std::vector<std::string> all)
{
    name = name.substr(0, MAX_NAME);
    const auto is_nearer = [name](const std::string &a, const std::string &b) {
        return edit_distance(name, a) < edit_distance(name, b);
    };
    std::stable_sort(all.begin(), all.end(), is_nearer);
    all.resize(std::min(all.size(), NAMES_SHOWN));
    return all;
}

} // namespace ribtool

#include "tools/ribtool/options/nearest_names.hpp"

#include <algorithm>
#include <numeric>
#include <utility>

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
    std::vector<std::pair<size_t, size_t>> nearest; // distance, and place in `all`
    for (size_t i = 0; i < all.size(); ++i)
        nearest.emplace_back(edit_distance(name, all[i]), i);
    std::sort(nearest.begin(), nearest.end());
    nearest.resize(std::min(nearest.size(), NAMES_SHOWN));
    std::vector<std::string> names;
    for (const auto &[distance, place] : nearest)
        names.push_back(std::move(all[place]));
    return names;
}

} // namespace ribtool

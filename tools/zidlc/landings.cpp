#include "tools/zidlc/landings.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace zidlc
{

namespace
{

std::vector<std::string> columns_of(std::string_view line)
{
    std::vector<std::string> columns(1);
    for (const char c : line) {
        if (c == '\t')
            columns.emplace_back();
        else
            columns.back() += c;
    }
    return columns;
}

} // namespace

landings landings::read(std::string_view text)
{
    constexpr std::size_t column_count = 4;
    landings all;
    for (std::size_t number = 1; !text.empty(); ++number) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::vector<std::string> columns = columns_of(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        if (columns.size() != column_count)
            throw std::runtime_error(
                fmt::format("line {}: {} columns instead of {}", number, columns.size(), column_count));
        if (number > 1)
            all.by_message_[columns[0]][columns[1]].push_back({columns[2], columns[3]});
    }
    return all;
}

landings landings::read_file(const std::filesystem::path &file)
{
    std::ifstream in(file, std::ios::binary);
    if (!in)
        throw std::runtime_error(fmt::format("{}: cannot open", file.string()));
    const std::string text{std::istreambuf_iterator<char>(in), {}};
    try {
        return read(text);
    } catch (const std::runtime_error &failure) {
        throw std::runtime_error(fmt::format("{}: {}", file.string(), failure.what()));
    }
}

const std::vector<landing> &landings::of(const std::string &message, const std::string &field) const
{
    static const std::vector<landing> none;
    const auto fields = by_message_.find(message);
    if (fields == by_message_.end())
        return none;
    const auto found = fields->second.find(field);
    return found == fields->second.end() ? none : found->second;
}

} // namespace zidlc

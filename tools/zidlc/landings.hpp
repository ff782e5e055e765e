// Where fields land in records that a project makes of its messages: a table that the project measures and hands over
// (--lands-in), and that the reference manual shows. The compiler knows nothing of it but the names.

#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace zidlc
{

// One way to a field, from an outermost message: its names with dots between, and where a value that comes this way lands.
struct landing {
    std::string way;
    std::string text;
};

class landings
{
public:
    // Lines of message, field, way and landing with tabs between, behind a header line. Throws std::runtime_error, which names
    // the line.
    static landings read(std::string_view text);
    static landings read_file(const std::filesystem::path &file);

    bool empty() const { return by_message_.empty(); }
    bool has(const std::string &message) const { return by_message_.count(message) != 0; }
    const std::vector<landing> &of(const std::string &message, const std::string &field) const;

private:
    std::map<std::string, std::map<std::string, std::vector<landing>>> by_message_;
};

} // namespace zidlc

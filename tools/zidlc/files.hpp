// Whole files.

#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

namespace zidlc
{

// What the file holds; when it cannot be read, or holds more than `most` bytes, the reason stands in `error`.
std::string contents(const std::filesystem::path &path, std::string &error, std::size_t most = std::string::npos);

} // namespace zidlc

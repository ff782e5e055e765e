// Whole files, read and written.

#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

namespace zidlc
{

// What the file holds; when it cannot be read, or holds more than `most` bytes, the reason stands in `error`.
std::string contents(const std::filesystem::path &path, std::string &error, std::size_t most = std::string::npos);

// Replaces what the file holds, and makes the folders above it. Returns the reason of a failure, or nothing.
std::string replace_contents(const std::filesystem::path &path, const std::string &text);

} // namespace zidlc

// Whole files, read and written.

#pragma once

#include <filesystem>
#include <string>

namespace zidlc
{

// What the file holds; when it cannot be read, the reason stands in `error`.
std::string contents(const std::filesystem::path &path, std::string &error);

// Replaces what the file holds, and makes the folders above it. Returns the reason of a failure, or nothing.
std::string replace_contents(const std::filesystem::path &path, const std::string &text);

} // namespace zidlc

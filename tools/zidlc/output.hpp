// Generated files and the disk.

#pragma once

#include "tools/zidlc/artefacts.hpp"

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace zidlc
{

// A file or folder that cannot be written. Its text says what to do.
struct unwritable_file : std::runtime_error {
    using runtime_error::runtime_error;
};

// Writes one file, and the folders above it. What stood there stays until the new one is whole.
void write(const std::filesystem::path &path, const std::string &text);

// Writes the files below `root`, but only those whose contents change, so that builds see no needless news. Where one cannot be
// written, all stay as they were.
void write_changed(const std::vector<generated_file> &files, const std::filesystem::path &root);

// The paths of those files that are missing below `root` or that hold something else.
std::vector<std::string> stale_files(const std::vector<generated_file> &files, const std::filesystem::path &root);

} // namespace zidlc

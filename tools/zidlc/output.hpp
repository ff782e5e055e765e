// Generated files and the disk.

#pragma once

#include "tools/zidlc/artefacts.hpp"

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace zidlc
{

// A file or folder that cannot be written. Its text says what to do.
struct unwritable_file : std::runtime_error {
    using runtime_error::runtime_error;
};

// Writes the files below `root`, but only those whose contents change, so that builds see no needless news, and the folders above
// them. Then the dependency file if any, whose path is not below `root`, in any case: it may be what a rule makes. None gets
// its name before all are whole: where one cannot be written, all stay as they were. Only where a whole one cannot get its name, as
// over a mount point, those before it have theirs.
void write_changed(const std::vector<generated_file> &files, const std::filesystem::path &root,
                   const std::optional<generated_file> &depfile);

// The paths of those files that are missing below `root` or that hold something else.
std::vector<std::string> stale_files(const std::vector<generated_file> &files, const std::filesystem::path &root);

} // namespace zidlc

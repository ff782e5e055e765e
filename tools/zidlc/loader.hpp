// Schema files read and parsed, together with the files of the groups that they use.

#pragma once

#include "tools/zidlc/parser.hpp"
#include "tools/zidlc/source.hpp"

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace zidlc
{

struct schema_file {
    source_file source;
    file_syntax tree;
    std::vector<const schema_file *> uses; // as the tree's `uses`, those that were found
    bool requested = true;                 // named by the caller; else only used by another file
};

// A file that the caller named cannot be read.
struct unreadable_file : std::runtime_error {
    using runtime_error::runtime_error;
};

// The files at `paths` and those that they use, each after the files that it uses and otherwise by name. A used group
// NAME is the file NAME.zidl beside the file that says so, or else in the first of `folders` that has one.
std::vector<std::unique_ptr<schema_file>> load(const std::vector<std::filesystem::path> &paths,
                                               const std::vector<std::filesystem::path> &folders, diagnostics &errors);

} // namespace zidlc

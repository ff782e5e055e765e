// What generated files depend on, in the words of Make and Ninja.

#pragma once

#include "tools/zidlc/loader.hpp"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace zidlc
{

// One rule: the targets, a colon, all schemas that the run has read, and one more file if any.
std::string depfile(const std::vector<std::filesystem::path> &targets,
                    const std::vector<std::unique_ptr<schema_file>> &schemas,
                    const std::filesystem::path &other_file = {});

} // namespace zidlc

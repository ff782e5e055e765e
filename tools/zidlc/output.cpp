// Generated files and the disk.

#include "tools/zidlc/output.hpp"

#include "tools/zidlc/files.hpp"

#include <fmt/format.h>

namespace zidlc
{

namespace fs = std::filesystem;

namespace
{

bool holds(const fs::path &path, const std::string &text)
{
    std::string error;
    return contents(path, error) == text && error.empty();
}

} // namespace

void write(const fs::path &path, const std::string &text)
{
    const std::string error = replace_contents(path, text);
    if (!error.empty())
        throw unwritable_file(fmt::format("cannot write '{}': {}", path.string(), error));
}

void write_changed(const std::vector<generated_file> &files, const fs::path &root)
{
    for (const generated_file &file : files) {
        if (!holds(root / file.path, file.text))
            write(root / file.path, file.text);
    }
}

std::vector<std::string> stale_files(const std::vector<generated_file> &files, const fs::path &root)
{
    std::vector<std::string> stale;
    for (const generated_file &file : files) {
        if (!holds(root / file.path, file.text))
            stale.push_back((root / file.path).lexically_normal().string());
    }
    return stale;
}

} // namespace zidlc

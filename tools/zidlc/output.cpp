// Generated files and the disk.

#include "tools/zidlc/output.hpp"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>

namespace zidlc
{

namespace fs = std::filesystem;

namespace
{

bool holds(const fs::path &path, const std::string &text)
{
    std::ifstream in(path, std::ios::binary);
    return in && std::string(std::istreambuf_iterator<char>(in), {}) == text;
}

void write(const fs::path &path, const std::string &text)
{
    std::error_code status;
    fs::create_directories(path.parent_path(), status);
    if (status)
        throw unwritable_file(fmt::format("cannot create '{}': {}", path.parent_path().string(), status.message()));
    errno = 0;
    std::ofstream out(path, std::ios::binary);
    out << text;
    out.close();
    if (!out)
        throw unwritable_file(fmt::format("cannot write '{}': {}", path.string(), std::strerror(errno)));
}

} // namespace

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

// Whole files.

#include "tools/zidlc/files.hpp"

#include <fmt/format.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace zidlc
{

namespace
{

using file_handle = std::unique_ptr<std::FILE, int (*)(std::FILE *)>;

file_handle open(const std::filesystem::path &path, const char *mode)
{
    return {std::fopen(path.c_str(), mode), std::fclose};
}

} // namespace

std::string contents(const std::filesystem::path &path, std::string &error, std::size_t most)
{
    const file_handle in = open(path, "rb");
    std::string text;
    char part[65536];
    std::size_t got = 0;
    while (in && text.size() <= most && (got = std::fread(part, 1, sizeof part, in.get())) > 0)
        text.append(part, got);
    if (!in || std::ferror(in.get()))
        error = std::strerror(errno);
    else if (text.size() > most)
        error = fmt::format("it holds more than {} bytes", most);
    return text;
}

} // namespace zidlc

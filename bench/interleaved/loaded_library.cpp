#include "bench/interleaved/loaded_library.hpp"

#include <dlfcn.h>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

namespace bench
{
namespace
{

constexpr std::string_view soname("librib.so.1\0", 12);

std::string read_file(const std::filesystem::path &file)
{
    std::ifstream in(file, std::ios::binary);
    std::string content((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (!in)
        throw std::runtime_error("cannot read " + file.string());
    return content;
}

std::string with_other_soname(std::string library, char mark)
{
    size_t at = library.find(soname);
    if (at == std::string::npos)
        throw std::runtime_error("this is no librib.so.1");
    for (; at != std::string::npos; at = library.find(soname, at))
        library[at + soname.size() - 2] = mark;
    return library;
}

// A file in memory alone. Returns its descriptor.
int write_memory_file(const std::string &content)
{
    const int file = memfd_create("librib", MFD_CLOEXEC);
    for (size_t done = 0; file >= 0 && done < content.size();) {
        const ssize_t written = write(file, content.data() + done, content.size() - done);
        if (written <= 0)
            throw std::runtime_error("cannot write a copy of the library");
        done += static_cast<size_t>(written);
    }
    return file;
}

// Takes some addresses away, so that the next library lies elsewhere. They are never given back.
void skip_addresses()
{
    static std::random_device random;
    const size_t pages = 1 + random() % 8192;
    mmap(nullptr, pages * static_cast<size_t>(sysconf(_SC_PAGESIZE)), PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
}

} // namespace

loaded_library::loaded_library(const std::filesystem::path &file, char mark)
    : copy_((skip_addresses(), write_memory_file(with_other_soname(read_file(file), mark)))),
      handle_(dlopen(("/proc/self/fd/" + std::to_string(copy_)).c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_DEEPBIND))
{
    if (handle_ == nullptr)
        throw std::runtime_error(file.string() + ": " + dlerror());
}

loaded_library::~loaded_library()
{
    dlclose(handle_);
    close(copy_);
}

void *loaded_library::symbol(const std::string &name) const
{
    void *const found = dlsym(handle_, name.c_str());
    if (found == nullptr)
        throw std::runtime_error(dlerror());
    return found;
}

codec_functions::codec_functions(const loaded_library &library, const zidl::message_descriptor &type)
{
    const std::string prefix = std::string("zidl_") + type.name;
    encode = library.function<decltype(encode)>(prefix + "_encode_ext");
    decode = library.function<decltype(decode)>(prefix + "_decode_ext");
    duplicate = library.function<decltype(duplicate)>(prefix + "_duplicate");
    release = library.function<decltype(release)>(prefix + "_free_ext");
}

} // namespace bench

#include "tools/ribtool/state/payload_store.hpp"

#include "tools/ribtool/errors.hpp"

#include <fcntl.h>
#include <sys/mman.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>

namespace ribtool
{

namespace
{

std::string folder_for_temporary_files()
{
    const char *folder = std::getenv("TMPDIR");
    return folder != nullptr && *folder != 0 ? folder : "/var/tmp";
}

// Open, and removed at once.
int nameless_file()
{
    std::string path = folder_for_temporary_files() + "/ribtool-XXXXXX";
    const int descriptor = mkostemp(path.data(), O_CLOEXEC);
    if (descriptor < 0)
        fail(EXIT_FILE, "{}: cannot make a temporary file (TMPDIR names another folder): {}",
             folder_for_temporary_files(), std::strerror(errno));
    unlink(path.c_str());
    return descriptor;
}

} // namespace

payload_store::payload_store() : descriptor_(nameless_file())
{
    spare_.fill(NOWHERE);
}

payload_store::~payload_store()
{
    for (uint8_t *part : parts_)
        munmap(part, PART_LEN);
    close(descriptor_);
}

uint64_t payload_store::keep(byte_span payload)
{
    const size_t size = units(payload.size());
    uint64_t place = spare_[size];
    if (place == NOWHERE)
        place = new_place(size);
    else
        std::memcpy(&spare_[size], address(place), sizeof spare_[size]);
    if (!payload.empty())
        std::memcpy(address(place), payload.data(), payload.size());
    return place;
}

void payload_store::give_back(uint64_t place, size_t len)
{
    uint64_t &spare = spare_[units(len)];
    std::memcpy(address(place), &spare, sizeof spare);
    spare = place;
}

uint64_t payload_store::new_place(size_t size)
{
    const size_t len = size * UNIT;
    if (parts_.size() * PART_LEN - end_ < len)
        add_part();
    const uint64_t place = end_;
    end_ += len;
    return place;
}

// The room is allocated before it is written to: a write to a mapped page that the file system has no room for would end the process.
void payload_store::add_part()
{
    const uint64_t begin = parts_.size() * uint64_t{PART_LEN};
    parts_.reserve(parts_.size() + 1);
    const int problem = posix_fallocate(descriptor_, static_cast<off_t>(begin), PART_LEN);
    if (problem != 0)
        fail(EXIT_FILE, "{}: no room for a temporary file (TMPDIR names another folder): {}",
             folder_for_temporary_files(), std::strerror(problem));
    void *const part =
        mmap(nullptr, PART_LEN, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor_, static_cast<off_t>(begin));
    if (part == MAP_FAILED)
        fail(EXIT_FILE, "{}: cannot map a temporary file: {}", folder_for_temporary_files(), std::strerror(errno));
    parts_.push_back(static_cast<uint8_t *>(part));
    end_ = begin;
}

} // namespace ribtool

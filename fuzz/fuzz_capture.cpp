// Any file as a capture, packed or not: ribtool's reader gives frames and says where the contents go wrong.

#include "tools/ribtool/frames/capture.hpp"
#include "tools/ribtool/errors.hpp"

#include <cstdlib>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace
{

// A file that lives in memory for one run.
class memory_file
{
public:
    memory_file(const uint8_t *data, size_t size) : descriptor_(memfd_create("fuzzed", 0))
    {
        if (descriptor_ < 0 || write(descriptor_, data, size) != static_cast<ssize_t>(size))
            std::abort();
    }
    ~memory_file() { close(descriptor_); }
    memory_file(const memory_file &) = delete;
    memory_file &operator=(const memory_file &) = delete;

    std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

private:
    int descriptor_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const memory_file file(data, size);
    try {
        ribtool::capture_reader reader(file.path());
        ribtool::captured_frame frame;
        while (reader.next(frame)) {
            if (frame.bytes.size() < 8)
                std::abort();
        }
        if (reader.next(frame) || (reader.found_damage() && reader.found_damage()->text.empty()))
            std::abort();
    } catch (const ribtool::failure &) {
    }
    return 0;
}

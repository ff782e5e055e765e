// Any file as a capture, packed or not: ribtool's reader gives frames and says where the contents go wrong.

#include "fuzz/memory_file.hpp"
#include "tools/ribtool/errors.hpp"
#include "tools/ribtool/frames/capture.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const memory_file file({data, size});
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

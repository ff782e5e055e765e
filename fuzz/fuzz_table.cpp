// Any file as import opens it, packed or not, in the format that its first bytes show: tables of text and lines of bgpdump above all.

#include "fuzz/memory_file.hpp"
#include "fuzz/source_routes.hpp"
#include "tools/ribtool/tables/detect.hpp"

#include <span>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const memory_file file(std::span(data, size));
    try {
        const ribtool::open_table table = ribtool::open_route_source(file.path());
        routes_of(*table.routes);
    } catch (const ribtool::failure &) {
    }
    return 0;
}

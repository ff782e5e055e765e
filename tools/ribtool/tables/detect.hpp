// What formats of tables `import` reads, and which of them a file is in.

#pragma once

#include "tools/ribtool/frames/frame.hpp"
#include "tools/ribtool/tables/route_source.hpp"

#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace ribtool
{

class compressed_input;

struct table_format {
    std::string_view name;  // as --from and the summary have it
    std::string_view files; // what such a file is, for who has another one

    // Whether a file that starts like this is in the format; `start` may be all of a short file.
    bool (*fits)(byte_span start);

    // Takes the file before any of its bytes was read.
    std::unique_ptr<route_source> (*open)(std::unique_ptr<compressed_input> input);
};

// In the order in which they are tried: what has a mark of its own comes before text that may be anything.
std::span<const table_format> table_formats();

struct open_table {
    std::string format; // its name
    std::unique_ptr<route_source> routes;
};

// Opens a file, packed or not, in the format that its first bytes show, or in `forced`. "-" is the standard input. A failure says
// that the file is empty or which formats there are.
open_table open_route_source(const std::string &path, const table_format *forced = nullptr);

} // namespace ribtool

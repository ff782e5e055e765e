#include "tools/ribtool/tables/detect.hpp"

#include "tools/ribtool/errors.hpp"
#include "tools/ribtool/frames/capture.hpp"
#include "tools/ribtool/input/compressed_input.hpp"
#include "tools/ribtool/tables/bgpdump_file.hpp"
#include "tools/ribtool/tables/kernel_json.hpp"
#include "tools/ribtool/tables/mrt_file.hpp"
#include "tools/ribtool/tables/route_save.hpp"
#include "tools/ribtool/tables/table_file.hpp"

#include <algorithm>

namespace ribtool
{

namespace
{

// So many first bytes tell the formats apart. More would make a pipe wait whose program writes a line at a time.
constexpr size_t START_LEN = 16;

template <class Reader>
std::unique_ptr<route_source> open_with(std::unique_ptr<compressed_input> input)
{
    return std::make_unique<Reader>(std::move(input));
}

constexpr table_format FORMATS[] = {
    {"route-save", "what ip route save writes", is_route_save, open_with<route_save>},
    {"route-json", "what ip -j route prints", is_kernel_json, open_with<kernel_json>},
    {"mrt", "MRT with tables or messages of BGP", is_mrt, open_with<mrt_file>},
    {"bgpdump", "lines of bgpdump -m", is_bgpdump, open_with<bgpdump_file>},
    {"table", "prefixes, or columns that a first line with # names", is_table_text, open_with<table_file>},
};

} // namespace

std::span<const table_format> table_formats()
{
    return FORMATS;
}

open_table open_route_source(const std::string &path, const table_format *forced)
{
    auto input = std::make_unique<compressed_input>(path);
    const byte_span start = input->peek(START_LEN);
    if (start.empty() && input->error())
        fail(input->error()->code, "{}: {}", input->name(), input->error()->text);
    if (start.empty())
        fail(EXIT_MALFORMED, "{}: is empty", input->name());
    if (forced == nullptr && is_pcap(start))
        fail(EXIT_MALFORMED, "{}: a capture already; import makes one of a table", input->name());
    const auto formats = table_formats();
    const auto found =
        std::find_if(formats.begin(), formats.end(), [&](const table_format &format) { return format.fits(start); });
    if (forced == nullptr && found == formats.end()) {
        std::string known;
        for (const table_format &format : formats)
            known += fmt::format("{}{}: {}", known.empty() ? "" : "; ", format.name, format.files);
        fail(EXIT_MALFORMED, "{}: in no format that import knows ({})", input->name(), known);
    }
    const table_format *format = forced != nullptr ? forced : &*found;
    return {std::string(format->name), format->open(std::move(input))};
}

} // namespace ribtool

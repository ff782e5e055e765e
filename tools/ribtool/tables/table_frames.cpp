#include "tools/ribtool/tables/table_frames.hpp"

#include "tools/ribtool/errors.hpp"
#include "tools/ribtool/frames/capture.hpp"
#include "tools/ribtool/input/compressed_input.hpp"
#include "tools/ribtool/library/update_types.hpp"
#include "tools/ribtool/messages/encode.hpp"

namespace ribtool
{

byte_vector payload_of(const table_route &route, scratch &memory, const route_source &from)
{
    memory.reset();
    byte_vector payload = encoded(route_message(route, memory));
    if (payload.size() > MAX_PAYLOAD_LEN)
        fail(EXIT_MALFORMED, "{}: the {} paths of {} take {} bytes, a frame holds {}", from.place(), route.paths.size(),
             prefix_text(route.prefix), payload.size(), MAX_PAYLOAD_LEN);
    return payload;
}

bool table_frames::next(captured_frame &frame)
{
    if (!table_.routes->next(route_, frame.time_us))
        return false;
    frame.number = ++number_;
    frame.bytes = framed(RIB_TLV_ROUTE, payload_of(route_, memory_, *table_.routes));
    return true;
}

// The code of a frame tells raw frames from all tables: text has no byte of zero, and records of other formats have other numbers
// there.
bool starts_like_capture(byte_span start)
{
    if (is_pcap(start))
        return true;
    return start.size() >= FRAME_HEADER_LEN &&
           (frame_code(start) == DELIMITER_CODE || find_update_type(frame_code(start)) != nullptr);
}

std::unique_ptr<frame_source> open_capture_or_table(const std::string &path)
{
    constexpr size_t LOOKED_AT_LEN = 16;
    auto input = std::make_unique<compressed_input>(path);
    const byte_span start = input->peek(LOOKED_AT_LEN);
    if (start.empty() || starts_like_capture(start))
        return std::make_unique<capture_reader>(std::move(input));
    for (const table_format &format : table_formats()) {
        if (format.fits(start)) {
            const std::string name = input->name();
            return std::make_unique<table_frames>(name,
                                                  open_table{std::string(format.name), format.open(std::move(input))});
        }
    }
    return std::make_unique<capture_reader>(std::move(input));
}

} // namespace ribtool

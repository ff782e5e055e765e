#include "tools/ribtool/tables/table_frames.hpp"

#include "tools/ribtool/encode.hpp"

namespace ribtool
{

bool table_frames::next(captured_frame &frame)
{
    if (!table_.routes->next(route_, frame.time_us))
        return false;
    memory_.reset();
    const byte_vector payload = encoded(route_message(route_, memory_));
    if (payload.size() > MAX_PAYLOAD_LEN)
        fail(EXIT_MALFORMED, "{}: the route's {} paths take {} bytes, a frame holds {}", place(), route_.paths.size(),
             payload.size(), MAX_PAYLOAD_LEN);
    frame.bytes = framed(RIB_TLV_ROUTE, payload);
    frame.number = ++number_;
    return true;
}

} // namespace ribtool

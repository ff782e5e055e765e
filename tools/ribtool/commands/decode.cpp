// ribtool decode: messages out of their encoding.

#include "tools/ribtool/messages/message_conversion.hpp"

#include <memory>

namespace ribtool
{

command add_decode(CLI::App &app)
{
    CLI::App *line = app.add_subcommand("decode", "Show a message, or a stream of them, as JSON, text or hex.");
    const auto conversion = std::make_shared<message_conversion>();
    conversion->from = message_format::bin;
    conversion->to = message_format::json;
    add_conversion(*line, *conversion);
    return {line, "ribtool decode rib_route updates.pcap --code 51 | jq -c .route_prefix",
            [conversion] { return convert(*conversion); }};
}

} // namespace ribtool

// ribtool encode: messages into their encoding.

#include "tools/ribtool/messages/message_conversion.hpp"

#include <memory>

namespace ribtool
{

command add_encode(CLI::App &app)
{
    CLI::App *line = app.add_subcommand("encode", "Make messages of JSON, text or hex.");
    const auto conversion = std::make_shared<message_conversion>();
    conversion->from = message_format::json;
    conversion->to = message_format::bin;
    add_conversion(*line, *conversion);
    return {line, "ribtool encode rib_prefix prefix.json --to hex", [conversion] { return convert(*conversion); }};
}

} // namespace ribtool

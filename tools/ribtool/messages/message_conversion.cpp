#include "tools/ribtool/messages/message_conversion.hpp"

#include "inspect/formats/message_json.hpp"
#include "inspect/formats/message_text.hpp"
#include "inspect/wire/hex.hpp"
#include "tools/ribtool/messages/message_sink.hpp"
#include "tools/ribtool/messages/message_types.hpp"
#include "tools/ribtool/output/partial_output.hpp"
#include "tools/ribtool/output/progress.hpp"

namespace ribtool
{

namespace
{

using zidl::message_descriptor;

constexpr uint64_t FAILURES_SHOWN = 10;

byte_span as_bytes(std::string_view text)
{
    return {reinterpret_cast<const uint8_t *>(text.data()), text.size()};
}

// "FILE:LINE:COLUMN" of a place in the message's text, whose first line may begin inside a line of the file.
std::string place_of(const message_source &source, size_t line, size_t column)
{
    if (line == 1)
        column += source.column() - 1;
    return fmt::format("{}:{}:{}", source.file_name(), source.line() + line - 1, column);
}

class message_reader
{
public:
    message_reader(const message_descriptor &type, message_format format) : type_(type), format_(format), json_(type) {}

    // The encoding of a message that stands in `contents`; a failure where it is none. Valid until the next call, and as long
    // as the contents.
    byte_span read(const message_source &source, std::string_view contents)
    {
        encoding_.clear();
        switch (format_) {
        case message_format::bin:
            return as_bytes(contents);
        case message_format::hex:
            read_hex(source, contents);
            break;
        case message_format::text:
            read_text(source, contents);
            break;
        case message_format::json:
            read_json(source, contents);
            break;
        }
        return encoding_;
    }

private:
    void read_hex(const message_source &source, std::string_view contents)
    {
        rib_inspect::hex_bytes read = rib_inspect::from_hex(contents);
        if (!read.is_good) {
            const auto [line, column] = rib_inspect::place_in(contents, read.offset);
            fail(EXIT_MALFORMED, "{}: expected {}", place_of(source, line, column), read.expected);
        }
        encoding_ = std::move(read.bytes);
    }

    void read_text(const message_source &source, std::string_view contents)
    {
        rib_inspect::text_message read = rib_inspect::from_text(type_, contents);
        if (read.error)
            fail(EXIT_MALFORMED, "{}: expected {}", place_of(source, read.error->line, read.error->column),
                 read.error->expected);
        encoding_ = std::move(read.bytes);
    }

    void read_json(const message_source &source, std::string_view contents)
    {
        const auto problem = json_.read(contents, encoding_);
        if (!problem)
            return;
        const auto [line, column] = rib_inspect::place_in(contents, problem->offset);
        fail(EXIT_MALFORMED, "{}: {}{}{}", place_of(source, line, column), problem->path,
             problem->path.empty() ? "" : ": ", problem->text);
    }

    const message_descriptor &type_;
    message_format format_;
    rib_inspect::json_reader json_;
    byte_vector encoding_;
};

// What helps where these bytes have no JSON.
std::string_view way_out(const rib_inspect::json_failure &failure, byte_span bytes)
{
    if (failure.what == rib_inspect::json_failure::not_utf8)
        return "--to text keeps it, --replace writes U+FFFD";
    return is_pcap(bytes) ? "of a capture --code CODE takes the updates" : "--to text shows every byte";
}

void complain_of(const message_source &source, const rib_inspect::json_failure &failure, byte_span bytes,
                 bool is_last_shown)
{
    complain("{}: {}{}{}; {}{}", source.place(), failure.path, failure.path.empty() ? "" : ": ", failure.text,
             way_out(failure, bytes), is_last_shown ? ". Further ones are counted only." : "");
}

message_layout layout_of(const message_conversion &conversion, message_format format)
{
    if (conversion.code && format == message_format::bin)
        return message_layout::capture;
    return conversion.code || conversion.is_delimited ? message_layout::delimited : message_layout::single;
}

const message_descriptor &type_of(const message_conversion &conversion)
{
    const message_descriptor &type = message_type_named(conversion.type_name);
    if (!conversion.code)
        return type;
    const message_descriptor *const carried = message_type_of(*conversion.code);
    if (carried == nullptr)
        fail(EXIT_USAGE, "--code: no message is the payload of updates of type code {}", *conversion.code);
    if (carried != &type)
        fail(EXIT_USAGE, "--code: the payload of updates of type code {} is a {}, no {}", *conversion.code,
             carried->name, type.name);
    return type;
}

message_output output_of(const message_conversion &conversion)
{
    const message_layout layout = layout_of(conversion, conversion.to);
    const bool is_for_reading = layout == message_layout::single && goes_to_terminal(conversion.output);
    return {conversion.output,
            conversion.to,
            layout,
            conversion.code.value_or(0),
            conversion.capture,
            {conversion.is_indented || is_for_reading, conversion.replaces}};
}

} // namespace

exit_code convert(const message_conversion &conversion)
{
    const message_descriptor &type = type_of(conversion);
    const auto source = open_messages(conversion.input, conversion.from, layout_of(conversion, conversion.from),
                                      conversion.code.value_or(0));
    require_other_file(conversion.input, conversion.output);
    message_reader reader(type, conversion.from);
    const auto sink = create_messages(output_of(conversion), type);
    progress_bar progress("convert", source->size(), goes_to_terminal(conversion.output));
    written_part part = {"messages", 0, conversion.is_partial_kept};
    uint64_t failures = 0;
    std::string contents;
    const exit_code written = write_all(sink->file(), part, [&] {
        if ((conversion.limit && part.count == *conversion.limit) || !source->next(contents))
            return false;
        const byte_span bytes = reader.read(*source, contents);
        const auto failure = sink->write(bytes);
        if (failure && ++failures <= FAILURES_SHOWN) {
            progress.clear();
            complain_of(*source, *failure, bytes, failures == FAILURES_SHOWN);
        }
        progress.show(source->position(), ++part.count);
        return true;
    });
    progress.clear();
    if (failures > FAILURES_SHOWN)
        complain("{}: {} of {} messages have no JSON or only a part of it", source->file_name(), failures, part.count);
    if (written != EXIT_DONE)
        return written;
    const exit_code result = source->finish();
    return result == EXIT_DONE && failures > 0 ? EXIT_MALFORMED : result;
}

void add_conversion(CLI::App &line, message_conversion &conversion)
{
    const std::map<std::string, message_format> formats = {{"bin", message_format::bin},
                                                           {"hex", message_format::hex},
                                                           {"text", message_format::text},
                                                           {"json", message_format::json}};
    const auto default_name = [&](message_format format) {
        return std::find_if(formats.begin(), formats.end(), [&](const auto &each) { return each.second == format; })
            ->first;
    };
    line.add_option("TYPE", conversion.type_name, "The message's name (rib_route)")->option_text(" ")->required();
    line.add_option("FILE", conversion.input, "What is read, - for the standard input")->option_text(" ")->required();
    add_choice(line, "--from", conversion.from, formats,
               fmt::format("The format that is read (default: {})", default_name(conversion.from)))
        ->option_text("bin|hex|text|json");
    add_choice(line, "--to", conversion.to, formats,
               fmt::format("The format that is written (default: {})", default_name(conversion.to)))
        ->option_text("bin|hex|text|json");
    line.add_option("-o,--output", conversion.output, "The file to write (default: -, the standard output)")
        ->option_text("FILE");
    CLI::Option *const delimited = line.add_flag(
        "--delimited", conversion.is_delimited,
        "Any number of messages: bin each behind its length as a varint, hex one a line, text each before "
        "a line ---, JSON one behind the other");
    line.add_option(
            "--code", conversion.code,
            "Bin is a capture: the payloads of its updates of this type code. The other formats as with --delimited")
        ->option_text("CODE")
        ->check(type_code())
        ->excludes(delimited);
    add_format(line, conversion.capture);
    add_limit(line, conversion.limit, "messages");
    add_partial(line, conversion.is_partial_kept);
    line.add_flag("--indent", conversion.is_indented,
                  "Write JSON in lines (default: for a single message on a terminal; else one object a line)");
    line.add_flag("--replace", conversion.replaces,
                  "Write U+FFFD to JSON for what is no UTF-8, instead of refusing the message");
}

} // namespace ribtool

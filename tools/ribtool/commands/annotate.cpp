// ribtool annotate: what each byte of an update is, and where it lands in the client's record.

#include "inspect/measure/annotate.hpp"
#include "inspect/wire/hex.hpp"
#include "tools/ribtool/input/payload_input.hpp"
#include "tools/ribtool/library/update_types.hpp"
#include "tools/ribtool/messages/message_types.hpp"
#include "tools/ribtool/options/command_line.hpp"
#include "tools/terminal/terminal.hpp"

#include <algorithm>
#include <filesystem>
#include <memory>

namespace ribtool
{

namespace
{

using rib_inspect::annotated_bytes;
using rib_inspect::annotated_line;
using terminal::style;

constexpr size_t MOST_BYTES = 12; // of a line: a tag with the longest number; what is longer is cut
constexpr size_t FEW_BYTES = 4;   // where the terminal is narrow
constexpr size_t NARROW = 110;    // columns
constexpr size_t MOST_VALUE = 44; // columns that a value makes all others take

struct annotate_options {
    std::string input;
    std::string message;
    std::optional<uint32_t> code;
    std::optional<uint64_t> frame;
    bool resynchronises = false;
    std::optional<uint64_t> limit; // frames
    bool is_ascii = false;
};

// The columns of one update: what is widest decides.
class hexdump
{
public:
    hexdump(output_file &out, bool is_ascii)
        : out_(out), paint_(stdout), width_(terminal::width(stdout)),
          most_(width_ != 0 && width_ < NARROW ? FEW_BYTES : MOST_BYTES), bar_(is_ascii ? " | " : " │ "),
          arrow_(is_ascii ? " -> " : " → "), cut_(is_ascii ? ".." : "…")
    {
    }

    void print(const std::vector<annotated_line> &lines, byte_span bytes, size_t base = 0)
    {
        size_t digits = 2;
        size_t hex = 0;
        size_t kind = 0;
        size_t value = 0;
        for (const annotated_line &line : lines) {
            digits = std::max(digits, fmt::formatted_size("{:x}", line.offset));
            hex = std::max(hex, terminal::columns(hex_of(line, bytes)));
            kind = std::max(kind, line.kind.size());
            value = std::max(value, std::min(line.value.size(), MOST_VALUE));
        }
        for (const annotated_line &line : lines) {
            const std::string digits_of = hex_of(line, bytes);
            const std::string sign = base != 0 ? "-" : "+";
            const size_t offset = base != 0 ? base - line.offset : line.offset;
            std::string text = paint_(style::dim, fmt::format("{}0x{:0{}x}", sign, offset, digits)) + bar_ + digits_of +
                               std::string(hex - terminal::columns(digits_of), ' ') + bar_ +
                               paint_(style::dim, fmt::format("{:{}}", line.kind, kind)) + bar_ +
                               fmt::format("{:{}}", line.value, value) + bar_ + described(line);
            out_.write(terminal::fitted(text, width_) + "\n");
        }
    }

    const terminal::painter &paint() const { return paint_; }

private:
    std::string hex_of(const annotated_line &line, byte_span bytes) const
    {
        const size_t len = line.end - line.offset;
        const bool is_cut = len > most_ && line.kind != "varint";
        std::string text = rib_inspect::to_hex(bytes.subspan(line.offset, is_cut ? most_ : len), " ");
        return is_cut ? text + " " + cut_ : text;
    }

    std::string described(const annotated_line &line) const
    {
        std::string text = line.is_read ? line.path : paint_(style::dim, line.path);
        if (!line.lands.empty()) {
            text += arrow_ + paint_(line.lands_whole ? style::green : style::yellow, line.lands);
        }
        if (!line.wrong.empty())
            text += (text.empty() ? "" : "  ") + paint_(style::red, "! " + line.wrong);
        return text;
    }

    output_file &out_;
    const terminal::painter paint_;
    const size_t width_;
    const size_t most_;
    const std::string bar_;
    const std::string arrow_;
    const std::string cut_;
};

class annotator
{
public:
    explicit annotator(const annotate_options &options)
        : out_("-"), dump_(out_, options.is_ascii || (terminal::is_terminal(stdout) && terminal::is_dumb()))
    {
    }

    void print(const std::string &what, const annotated_bytes &annotated, byte_span bytes)
    {
        print_title(what, annotated, bytes.size());
        dump_.print(annotated.lines, bytes);
    }

    void print_frame(const captured_frame &frame)
    {
        const byte_span payload = byte_span(frame.bytes).subspan(FRAME_HEADER_LEN);
        const uint16_t code = frame_code(frame.bytes);
        if (has_printed_)
            out_.write("\n");
        has_printed_ = true;
        const std::string number = fmt::format("frame {}: ", frame.number);
        if (code == DELIMITER_CODE) {
            out_.write(dump_.paint()(style::bold, number + "delimiter") + "\n");
            print_header(frame, "delimiter");
            return;
        }
        const annotated_bytes annotated = rib_inspect::annotate_update(code, payload);
        print_title(number + name_of(code), annotated, payload.size());
        print_header(frame, find_update_type(code) == nullptr ? "unknown" : std::string(find_update_type(code)->name));
        dump_.print(annotated.lines, payload);
    }

    void flush() { out_.flush(); }
    void finish() { out_.close(); }

    static std::string name_of(uint32_t code)
    {
        const zidl::message_descriptor *const type = rib_inspect::message_of_code(code);
        const update_type *const known = code <= UINT16_MAX ? find_update_type(static_cast<uint16_t>(code)) : nullptr;
        return fmt::format("{} {}", code, type != nullptr ? type->name : known != nullptr ? known->name : "unknown");
    }

private:
    void print_title(const std::string &what, const annotated_bytes &annotated, size_t len)
    {
        const std::string title = fmt::format("{}, {} byte{}", what, len, len == 1 ? "" : "s");
        out_.write(dump_.paint()(style::bold, title) + ": " +
                   dump_.paint()(annotated.is_good ? style::green : style::red, annotated.verdict) + "\n");
    }

    // Offsets count from the payload on, as everywhere: those of the header are below.
    void print_header(const captured_frame &frame, const std::string &type)
    {
        const auto number = [&](size_t offset) { return std::to_string(read_be16(frame.bytes.data() + offset)); };
        dump_.print({{0, 4, "bytes", "4 bytes", "frame header: not read", {}, {}, false, false},
                     {4, 6, "u16", number(4), "type code: " + type, {}, {}, true, false},
                     {6, 8, "u16", number(6), "payload length", {}, {}, true, false}},
                    frame.bytes, FRAME_HEADER_LEN);
    }

    output_file out_;
    hexdump dump_;
    bool has_printed_ = false;
};

// A file of this name, else digits.
byte_vector bytes_of(const std::string &input)
{
    std::error_code nothing_there;
    if (input == "-" || std::filesystem::exists(input, nothing_there))
        return read_payload(input, payload_format::bin);
    rib_inspect::hex_bytes read = rib_inspect::from_hex(input);
    if (!read.is_good)
        fail(EXIT_FILE, "{}: there is no such file, and no hexadecimal digits either: expected {} at character {}",
             terminal::shown_on(stderr, input), read.expected, read.offset + 1);
    return std::move(read.bytes);
}

exit_code annotate_bytes(const annotate_options &options)
{
    const byte_vector bytes = bytes_of(options.input);
    annotator each(options);
    if (options.code)
        each.print(annotator::name_of(*options.code), rib_inspect::annotate_update(*options.code, bytes), bytes);
    else
        each.print(options.message, rib_inspect::annotate_message(message_type_named(options.message), bytes), bytes);
    each.finish();
    return EXIT_DONE;
}

// Digits alone do not say what they are of.
void require_no_digits(const std::string &input)
{
    std::error_code nothing_there;
    if (input != "-" && !input.empty() && !std::filesystem::exists(input, nothing_there) &&
        rib_inspect::from_hex(input).is_good)
        fail(EXIT_FILE, "{}: there is no such file; hexadecimal digits need --code CODE or --message TYPE",
             terminal::shown_on(stderr, input));
}

exit_code annotate_capture(const annotate_options &options)
{
    require_no_digits(options.input);
    capture_reader reader(options.input, options.frame, options.resynchronises);
    annotator each(options);
    reader.while_waiting([&each] { each.flush(); });
    captured_frame frame;
    for (uint64_t shown = 0; (!options.limit || shown < *options.limit) && reader.next(frame); ++shown)
        each.print_frame(frame);
    each.finish();
    return report_damage(reader, EXIT_DONE);
}

exit_code run(const annotate_options &options)
{
    return options.code || !options.message.empty() ? annotate_bytes(options) : annotate_capture(options);
}

} // namespace

command add_annotate(CLI::App &app)
{
    CLI::App *line =
        app.add_subcommand("annotate", "Show what each byte of an update or a message is, and where it lands in "
                                       "the client's record, which is measured: by changing it.");
    const auto options = std::make_shared<annotate_options>();
    line->add_option("FILE|HEX", options->input,
                     "A capture; with --code or --message one payload: a file of its bytes (- for the standard input), "
                     "or hexadecimal digits")
        ->option_text(" ")
        ->required();
    CLI::Option *code = line->add_option("--code", options->code, "The payload is that of an update of this type code")
                            ->option_text("CODE")
                            ->check(type_code());
    CLI::Option *message = line->add_option("--message", options->message, "The payload is a message")
                               ->option_text("TYPE")
                               ->excludes(code);
    CLI::Option *frame = add_frame(*line, options->frame)->excludes(code)->excludes(message);
    add_resync(*line, options->resynchronises)->excludes(code)->excludes(message);
    line->add_option("--limit", options->limit, "Stop after N frames")
        ->option_text("N")
        ->check(whole_number(0))
        ->excludes(code)
        ->excludes(message)
        ->excludes(frame);
    line->add_flag("--ascii", options->is_ascii, "Bars and arrows of ASCII, as on a terminal without more");
    return {line, "ribtool annotate updates.pcap --frame 3, or: ribtool annotate --code 47 '08 81 80 04'",
            [options] { return run(*options); }};
}

} // namespace ribtool

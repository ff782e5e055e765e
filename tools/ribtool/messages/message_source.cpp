#include "tools/ribtool/messages/message_source.hpp"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace ribtool
{

namespace
{

// Bytes of a file with a look ahead.
class buffered_input
{
public:
    explicit buffered_input(const std::string &path) : input_(path) {}

    std::string_view unread() const { return std::string_view(buffer_).substr(start_); }

    // More behind what is unread; false at the end and at an error.
    bool read_more()
    {
        if (start_ > 0 && start_ >= buffer_.size() / 2) {
            buffer_.erase(0, start_);
            start_ = 0;
        }
        const size_t old_len = buffer_.size();
        buffer_.resize(old_len + READ_BLOCK_LEN);
        const size_t got = input_.read({reinterpret_cast<uint8_t *>(buffer_.data()) + old_len, READ_BLOCK_LEN});
        buffer_.resize(old_len + got);
        return got > 0;
    }

    // What has been read is no more unread.
    void skip(size_t len)
    {
        const std::string_view skipped = unread().substr(0, len);
        offset_ += skipped.size();
        if (const size_t line_end = skipped.rfind('\n'); line_end != std::string_view::npos) {
            line_ += static_cast<uint64_t>(std::count(skipped.begin(), skipped.end(), '\n'));
            line_start_ = offset_ - skipped.size() + line_end + 1;
        }
        start_ += skipped.size();
    }

    uint64_t offset() const { return offset_; } // of the first unread byte in what the file holds
    uint64_t line() const { return line_; }     // that it stands in
    uint64_t column() const { return offset_ - line_start_ + 1; }

    const compressed_input &file() const { return input_; }

private:
    compressed_input input_;
    std::string buffer_;
    size_t start_ = 0;
    uint64_t offset_ = 0;
    uint64_t line_ = 1;
    uint64_t line_start_ = 0;
};

class file_source : public message_source
{
public:
    explicit file_source(const std::string &path, message_format format) : input_(path), format_(format) {}

    std::string place() const override
    {
        return is_text() ? file_name() : fmt::format("{}: message {} at byte {}", file_name(), number_, offset_);
    }
    uint64_t line() const override { return is_text() ? line_ : 0; }
    uint64_t column() const override { return column_; }

    exit_code finish() override
    {
        if (const auto &error = input_.file().error()) {
            complain("{}: {}", file_name(), error->text);
            return error->code;
        }
        if (!damage_.empty()) {
            complain("{}: {}", place(), damage_);
            return EXIT_MALFORMED;
        }
        return EXIT_DONE;
    }

    const std::string &file_name() const override { return input_.file().name(); }
    uint64_t position() const override { return input_.file().position(); }
    uint64_t size() const override { return input_.file().size(); }

protected:
    // The next message begins at what is unread.
    void begin_message()
    {
        ++number_;
        offset_ = input_.offset();
        line_ = input_.line();
        column_ = input_.column();
    }

    void take(std::string &message, size_t len)
    {
        message.assign(input_.unread().substr(0, len));
        input_.skip(len);
    }

    // Where the next line that is unread ends, without its end; false: nothing is unread.
    bool find_line_end(size_t from, size_t &end)
    {
        for (size_t searched = from;;) {
            end = input_.unread().find('\n', searched);
            if (end != std::string_view::npos)
                return true;
            searched = input_.unread().size();
            if (!input_.read_more()) {
                end = input_.unread().size();
                return end > from;
            }
        }
    }

    bool failed() const { return input_.file().error().has_value(); }

    buffered_input input_;
    std::string damage_;

private:
    bool is_text() const { return format_ != message_format::bin; }

    message_format format_;
    uint64_t number_ = 0;
    uint64_t offset_ = 0;
    uint64_t line_ = 1;
    uint64_t column_ = 1;
};

class single_source : public file_source
{
public:
    using file_source::file_source;

    std::string place() const override { return file_name(); }

    bool next(std::string &message) override
    {
        if (is_done_)
            return false;
        is_done_ = true;
        begin_message();
        while (input_.read_more()) {}
        take(message, input_.unread().size());
        return !failed();
    }

private:
    bool is_done_ = false;
};

// Each behind its length.
class delimited_source : public file_source
{
public:
    using file_source::file_source;

    bool next(std::string &message) override
    {
        if (!damage_.empty() || (input_.unread().empty() && !input_.read_more()))
            return false;
        begin_message();
        const std::optional<uint64_t> len = read_length();
        if (!len)
            return false;
        if (*len > MAX_LEN) {
            damage_ = fmt::format("its length promises {} bytes, more than {} MiB", *len, MAX_LEN >> 20);
            return false;
        }
        while (input_.unread().size() < *len && input_.read_more()) {}
        if (input_.unread().size() < *len) {
            damage_ = fmt::format("truncated: its length promises {} bytes, {} are left", *len, input_.unread().size());
            return false;
        }
        take(message, *len);
        return true;
    }

private:
    // Of a message: a damaged length must not bring all that follows into memory.
    static constexpr uint64_t MAX_LEN = uint64_t{1} << 28;

    std::optional<uint64_t> read_length()
    {
        constexpr size_t MAX_VARINT_LEN = 10;
        uint64_t value = 0;
        for (size_t i = 0; i < MAX_VARINT_LEN; ++i) {
            if (input_.unread().size() == i && !input_.read_more()) {
                damage_ = "truncated inside the length";
                return std::nullopt;
            }
            const auto byte = static_cast<uint8_t>(input_.unread()[i]);
            value |= static_cast<uint64_t>(byte & 0x7f) << (7 * i);
            if (byte < 0x80) {
                input_.skip(i + 1);
                return value;
            }
        }
        damage_ = "its length has more than 10 bytes: not a stream of messages behind their lengths";
        return std::nullopt;
    }
};

// One a line; an empty line is an empty message.
class hex_lines_source : public file_source
{
public:
    using file_source::file_source;

    bool next(std::string &message) override
    {
        begin_message();
        size_t end = 0;
        if (!find_line_end(0, end) || failed())
            return false;
        take(message, end);
        input_.skip(1);
        return true;
    }
};

// Each ends before a line ---; the last one may do without.
class texts_source : public file_source
{
public:
    using file_source::file_source;

    bool next(std::string &message) override
    {
        begin_message();
        size_t end = 0;
        for (size_t begin = 0; find_line_end(begin, end); begin = end + 1) {
            std::string_view line = input_.unread().substr(begin, end - begin);
            if (line.ends_with('\r'))
                line.remove_suffix(1);
            if (line != TEXT_END)
                continue;
            take(message, begin);
            input_.skip(end - begin + 1);
            return !failed();
        }
        take(message, input_.unread().size());
        return !failed() && message.find_first_not_of(" \t\r\n") != std::string::npos;
    }
};

// One value behind the other, with or without line ends between them. Only brackets and strings are looked at: what else is
// wrong with a value is for its reader to say.
class json_values_source : public file_source
{
public:
    using file_source::file_source;

    bool next(std::string &message) override
    {
        if (!skip_blanks())
            return false;
        begin_message();
        take(message, value_len());
        return !failed();
    }

private:
    bool skip_blanks()
    {
        for (;;) {
            const std::string_view unread = input_.unread();
            const size_t blanks = std::min(unread.find_first_not_of(" \t\r\n"), unread.size());
            input_.skip(blanks);
            if (!input_.unread().empty())
                return true;
            if (!input_.read_more())
                return false;
        }
    }

    // Reads on until what is unread has this byte; false: it ends before.
    bool is_read(size_t at)
    {
        while (at >= input_.unread().size()) {
            if (!input_.read_more())
                return false;
        }
        return true;
    }

    // An object; of anything else as much as its reader needs to refuse it.
    size_t value_len()
    {
        constexpr size_t MAX_REFUSED = 64;
        if (input_.unread().front() != '{')
            return MAX_REFUSED;
        size_t depth = 0;
        bool is_in_string = false;
        for (size_t at = 0; is_read(at); ++at) {
            const char c = input_.unread()[at];
            if (is_in_string) {
                at += c == '\\';
                is_in_string = c != '"';
            } else if (c == '"') {
                is_in_string = true;
            } else if (c == '{' || c == '[') {
                ++depth;
            } else if ((c == '}' || c == ']') && --depth == 0) {
                return at + 1;
            }
        }
        return input_.unread().size();
    }
};

class capture_source : public message_source
{
public:
    capture_source(const std::string &path, uint16_t code) : reader_(path), code_(code) {}

    bool next(std::string &message) override
    {
        while (reader_.next(frame_)) {
            if (frame_code(frame_.bytes) != code_)
                continue;
            const byte_span payload = byte_span(frame_.bytes).subspan(FRAME_HEADER_LEN);
            message.assign(reinterpret_cast<const char *>(payload.data()), payload.size());
            return true;
        }
        return false;
    }

    std::string place() const override { return reader_.place(); }
    exit_code finish() override { return report_damage(reader_, EXIT_DONE); }
    const std::string &file_name() const override { return reader_.name(); }
    uint64_t position() const override { return reader_.position(); }
    uint64_t size() const override { return reader_.size(); }

private:
    capture_reader reader_;
    captured_frame frame_;
    uint16_t code_;
};

} // namespace

std::unique_ptr<message_source> open_messages(const std::string &path, message_format format, message_layout layout,
                                              uint16_t code)
{
    if (layout == message_layout::capture)
        return std::make_unique<capture_source>(path, code);
    if (layout == message_layout::single)
        return std::make_unique<single_source>(path, format);
    switch (format) {
    case message_format::hex:
        return std::make_unique<hex_lines_source>(path, format);
    case message_format::text:
        return std::make_unique<texts_source>(path, format);
    case message_format::json:
        return std::make_unique<json_values_source>(path, format);
    case message_format::bin:
        break;
    }
    return std::make_unique<delimited_source>(path, format);
}

} // namespace ribtool

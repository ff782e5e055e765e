#include "tools/ribtool/messages/message_sink.hpp"

#include "inspect/formats/message_text.hpp"
#include "inspect/wire/hex.hpp"

namespace ribtool
{

namespace
{

using rib_inspect::json_failure;
using zidl::message_descriptor;

constexpr uint64_t MICROSECONDS_APART = 10; // updates of a capture

class file_sink : public message_sink
{
public:
    explicit file_sink(const std::string &path) : file_(path) {}

    output_file &file() override { return file_; }

protected:
    void put(byte_span bytes) { file_.write({reinterpret_cast<const char *>(bytes.data()), bytes.size()}); }

    output_file file_;
};

class bin_sink : public file_sink
{
public:
    bin_sink(const std::string &path, bool is_stream) : file_sink(path), is_stream_(is_stream) {}

    std::optional<json_failure> write(byte_span message) override
    {
        if (is_stream_)
            write_length(message.size());
        put(message);
        return std::nullopt;
    }

private:
    void write_length(uint64_t len)
    {
        std::string varint;
        for (; len > 127; len >>= 7)
            varint += static_cast<char>(len | 128);
        varint += static_cast<char>(len);
        file_.write(varint);
    }

    bool is_stream_;
};

class hex_sink : public file_sink
{
public:
    using file_sink::file_sink;

    std::optional<json_failure> write(byte_span message) override
    {
        file_.write(rib_inspect::to_hex(message) + '\n');
        return std::nullopt;
    }
};

class text_sink : public file_sink
{
public:
    text_sink(const std::string &path, const message_descriptor &type, bool is_stream)
        : file_sink(path), type_(type), is_stream_(is_stream)
    {
    }

    std::optional<json_failure> write(byte_span message) override
    {
        file_.write(rib_inspect::to_text(type_, message));
        if (is_stream_)
            file_.write(std::string(TEXT_END) + '\n');
        return std::nullopt;
    }

private:
    const message_descriptor &type_;
    bool is_stream_;
};

class json_sink : public file_sink
{
public:
    json_sink(const std::string &path, const message_descriptor &type, rib_inspect::json_style style)
        : file_sink(path), json_(type, style)
    {
    }

    std::optional<json_failure> write(byte_span message) override
    {
        text_.clear();
        std::optional<json_failure> failure = json_.append(text_, message);
        if (text_.empty())
            return failure;
        text_ += '\n';
        file_.write(text_);
        return failure;
    }

private:
    rib_inspect::json_writer json_;
    std::string text_;
};

class capture_sink : public message_sink
{
public:
    capture_sink(const std::string &path, capture_format format, uint16_t code) : writer_(path, format), code_(code) {}

    std::optional<json_failure> write(byte_span message) override
    {
        ++number_;
        if (message.size() > MAX_PAYLOAD_LEN)
            fail(EXIT_MALFORMED, "message {} takes {} bytes, a frame holds {}", number_, message.size(),
                 MAX_PAYLOAD_LEN);
        writer_.write(MICROSECONDS_APART * (number_ - 1), framed(code_, message));
        return std::nullopt;
    }

    output_file &file() override { return writer_.file(); }

private:
    capture_writer writer_;
    uint16_t code_;
    uint64_t number_ = 0;
};

} // namespace

std::unique_ptr<message_sink> create_messages(const message_output &output, const message_descriptor &type)
{
    const bool is_stream = output.layout != message_layout::single;
    switch (output.format) {
    case message_format::hex:
        return std::make_unique<hex_sink>(output.path);
    case message_format::text:
        return std::make_unique<text_sink>(output.path, type, is_stream);
    case message_format::json:
        return std::make_unique<json_sink>(output.path, type, output.style);
    case message_format::bin:
        break;
    }
    if (output.layout == message_layout::capture)
        return std::make_unique<capture_sink>(output.path, output.capture, output.code);
    return std::make_unique<bin_sink>(output.path, is_stream);
}

} // namespace ribtool

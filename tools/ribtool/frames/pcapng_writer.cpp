#include "tools/ribtool/frames/pcapng_writer.hpp"

namespace ribtool
{

namespace
{

constexpr uint32_t SECTION_HEADER = 0x0A0D0D0A;
constexpr uint32_t INTERFACE_DESCRIPTION = 1;
constexpr uint32_t ENHANCED_PACKET = 6;

constexpr uint32_t BYTE_ORDER_MAGIC = 0x1A2B3C4D;
constexpr uint16_t LINK_TYPE_USER0 = 147;
constexpr uint64_t NANOSECONDS = 1000; // in a microsecond

constexpr uint16_t OPTION_END = 0;
constexpr uint16_t OPTION_COMMENT = 1;
constexpr uint16_t OPTION_TIME_RESOLUTION = 9;
constexpr char TIMES_IN_NANOSECONDS = 9; // 10^-9 seconds
constexpr size_t MAX_OPTION_LEN = 65532; // with its padding still a number of 16 bits

// Numbers in the section's order of bytes, which is ours to choose: the least significant first.
void append_u16(std::string &out, uint16_t value)
{
    out += static_cast<char>(value);
    out += static_cast<char>(value >> 8);
}

void append_u32(std::string &out, uint32_t value)
{
    append_u16(out, static_cast<uint16_t>(value));
    append_u16(out, static_cast<uint16_t>(value >> 16));
}

void append_padded(std::string &out, std::string_view bytes)
{
    out += bytes;
    out.append((4 - bytes.size() % 4) % 4, '\0');
}

void append_option(std::string &out, uint16_t code, std::string_view value)
{
    append_u16(out, code);
    append_u16(out, static_cast<uint16_t>(value.size()));
    append_padded(out, value);
}

// The type and the length go around what stands between, the length twice.
constexpr size_t BLOCK_FRAME_LEN = 12;

void begin_block(std::string &block, uint32_t type)
{
    block.clear();
    append_u32(block, type);
    append_u32(block, 0); // the length, once it is known
}

void end_block(std::string &block)
{
    const uint32_t len = static_cast<uint32_t>(block.size() - 8 + BLOCK_FRAME_LEN);
    std::string text;
    append_u32(text, len);
    block.replace(4, 4, text);
    block += text;
}

} // namespace

pcapng_writer::pcapng_writer(const std::string &path) : file_(path)
{
    begin_block(block_, SECTION_HEADER);
    append_u32(block_, BYTE_ORDER_MAGIC);
    append_u16(block_, 1); // version 1.0
    append_u16(block_, 0);
    block_.append(8, '\xff'); // the section's length is not said
    end_block(block_);
    file_.write(block_);

    begin_block(block_, INTERFACE_DESCRIPTION);
    append_u16(block_, LINK_TYPE_USER0);
    append_u16(block_, 0); // reserved
    append_u32(block_, 0); // packets of any length
    append_option(block_, OPTION_TIME_RESOLUTION, {&TIMES_IN_NANOSECONDS, 1});
    append_option(block_, OPTION_END, {});
    end_block(block_);
    file_.write(block_);
}

void pcapng_writer::write(const captured_frame &frame, std::string_view comment)
{
    const uint64_t time = frame.time_us * NANOSECONDS + frame.time_rest_ns;
    const uint32_t len = static_cast<uint32_t>(frame.bytes.size());
    begin_block(block_, ENHANCED_PACKET);
    append_u32(block_, 0); // the interface
    append_u32(block_, static_cast<uint32_t>(time >> 32));
    append_u32(block_, static_cast<uint32_t>(time));
    append_u32(block_, len); // in the file
    append_u32(block_, len); // in the original
    append_padded(block_, {reinterpret_cast<const char *>(frame.bytes.data()), frame.bytes.size()});
    if (!comment.empty()) {
        append_option(block_, OPTION_COMMENT, comment.substr(0, MAX_OPTION_LEN));
        append_option(block_, OPTION_END, {});
    }
    end_block(block_);
    file_.write(block_);
}

} // namespace ribtool

#include "tools/ribtool/input/text_input.hpp"

#include "tools/ribtool/errors.hpp"

namespace ribtool
{

namespace
{

constexpr size_t MAX_LINE_LEN = 1 << 20; // a line that fills a frame is shorter

} // namespace

std::string_view without_byte_order_mark(std::string_view start)
{
    constexpr std::string_view MARK = "\xef\xbb\xbf";
    return start.starts_with(MARK) ? start.substr(MARK.size()) : start;
}

std::string text_input::place_of(uint64_t line_number) const
{
    return fmt::format("{}:{}", input_->name(), line_number);
}

// Appends the next piece of text to the buffer; false at the end.
bool text_input::read_more()
{
    buffer_.erase(0, start_);
    start_ = 0;
    const size_t old_len = buffer_.size();
    buffer_.resize(old_len + READ_BLOCK_LEN);
    const size_t got = input_->read({reinterpret_cast<uint8_t *>(buffer_.data()) + old_len, READ_BLOCK_LEN});
    buffer_.resize(old_len + got);
    if (got == 0 && input_->error())
        fail(input_->error()->code, "{}:{}: {}", input_->name(), line_number_ + 1, input_->error()->text);
    return got > 0;
}

bool text_input::next_line(std::string_view &line)
{
    size_t searched = start_;
    size_t end = buffer_.find('\n', searched);
    while (end == std::string::npos) {
        searched = buffer_.size() - start_;
        if (searched > MAX_LINE_LEN)
            fail(EXIT_MALFORMED, "{}:{}: a line of more than {} bytes", input_->name(), line_number_ + 1, MAX_LINE_LEN);
        if (!read_more()) {
            if (start_ == buffer_.size())
                return false;
            end = buffer_.size();
            break;
        }
        end = buffer_.find('\n', searched);
    }
    line = std::string_view(buffer_).substr(start_, end - start_);
    if (line.ends_with('\r'))
        line.remove_suffix(1);
    start_ = std::min(end + 1, buffer_.size());
    if (++line_number_ == 1)
        line = without_byte_order_mark(line);
    return true;
}

} // namespace ribtool

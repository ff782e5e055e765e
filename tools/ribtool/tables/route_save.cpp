#include "tools/ribtool/tables/route_save.hpp"

#include "tools/ribtool/errors.hpp"
#include "tools/ribtool/tables/netlink_messages.hpp"

#include <linux/rtnetlink.h>

#include <algorithm>
#include <cstring>

namespace ribtool
{

namespace
{

constexpr size_t MARK_LEN = 4;
constexpr uint32_t MARK = 0x45311224;
constexpr uint32_t SWAPPED_MARK = 0x24123145;

// An attribute has at most 65 535 bytes, a route a few large ones.
constexpr size_t MAX_MESSAGE_LEN = 1 << 20;

uint32_t mark_of(byte_span start)
{
    uint32_t mark = 0;
    if (start.size() >= MARK_LEN)
        std::memcpy(&mark, start.data(), MARK_LEN);
    return mark;
}

} // namespace

bool is_route_save(byte_span start)
{
    const uint32_t mark = mark_of(start);
    return mark == MARK || mark == SWAPPED_MARK;
}

std::string route_save::place_of(uint64_t number, uint64_t offset) const
{
    return fmt::format("{}: message {} at byte {}", input_->name(), number, offset);
}

template <class... Arguments>
void route_save::stop(fmt::format_string<Arguments...> format, Arguments &&...arguments) const
{
    fail(EXIT_MALFORMED, "{}: {}", place_of(message_number_, message_offset_),
         fmt::format(format, std::forward<Arguments>(arguments)...));
}

// Whether so many bytes follow; reads on until they do or the file ends.
bool route_save::has(size_t wanted)
{
    if (end_ - start_ >= wanted)
        return true;
    std::copy(buffer_.begin() + static_cast<ptrdiff_t>(start_), buffer_.begin() + static_cast<ptrdiff_t>(end_),
              buffer_.begin());
    end_ -= std::exchange(start_, 0);
    if (buffer_.size() < std::max(wanted, READ_BLOCK_LEN))
        buffer_.resize(std::max(wanted, READ_BLOCK_LEN));
    while (end_ < wanted) {
        const size_t got = input_->read(std::span(buffer_).subspan(end_));
        if (got == 0 && input_->error())
            fail(input_->error()->code, "{}: {}", place_of(message_number_, message_offset_), input_->error()->text);
        if (got == 0)
            return false;
        end_ += got;
    }
    return true;
}

// Each file begins with the mark; no message does, whose length it would be.
bool route_save::skip_mark()
{
    const uint32_t mark = has(MARK_LEN) ? mark_of(std::span(buffer_).subspan(start_, MARK_LEN)) : 0;
    if (mark == SWAPPED_MARK)
        stop("was saved on a machine of the other byte order");
    if (mark != MARK && offset_ == 0)
        stop("is no file of ip route save");
    if (mark != MARK)
        return false;
    start_ += MARK_LEN;
    offset_ += MARK_LEN;
    message_offset_ = offset_;
    return true;
}

bool route_save::next_message(byte_span &message)
{
    message_offset_ = offset_;
    ++message_number_;
    while (skip_mark()) {}
    if (!has(1))
        return false;
    if (!has(sizeof(nlmsghdr)))
        stop("cut: {} bytes are too few for a message", end_ - start_);
    const uint32_t len = netlink_header(std::span(buffer_).subspan(start_)).nlmsg_len;
    if (len < sizeof(nlmsghdr) || len > MAX_MESSAGE_LEN)
        stop("a message of {} bytes", len);
    if (!has(len))
        stop("cut: a message of {} bytes, there are {}", len, end_ - start_);
    // What fills the last one up may be missing.
    const size_t step = has(netlink_aligned(len)) ? netlink_aligned(len) : len;
    message = std::span(buffer_).subspan(start_, len);
    start_ += step;
    offset_ += step;
    return true;
}

bool route_save::next_entry(kernel_route &entry)
{
    byte_span message;
    do {
        if (!next_message(message))
            return false;
    } while (netlink_header(message).nlmsg_type == NLMSG_NOOP);
    const uint16_t type = netlink_header(message).nlmsg_type;
    if (type != RTM_NEWROUTE)
        stop("a message of type {}, a route has {}", type, static_cast<int>(RTM_NEWROUTE));
    try {
        parse_route_message(message, entry);
    } catch (const netlink_error &problem) {
        stop("{}", problem.what());
    }
    entry.place_number = message_number_;
    entry.place_offset = message_offset_;
    return true;
}

} // namespace ribtool

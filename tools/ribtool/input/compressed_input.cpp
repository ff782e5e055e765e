#include "tools/ribtool/input/compressed_input.hpp"

#include "tools/ribtool/input/unpackers.hpp"
#include "tools/ribtool/output/interruption.hpp"
#include "tools/ribtool/streams/waiting.hpp"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <poll.h>
#include <unistd.h>

namespace ribtool
{

namespace
{

int open_for_reading(const std::string &path)
{
    if (path == "-")
        return STDIN_FILENO;
    // A pipe with a name would wait here for its writer, and no signal that came just before could end that.
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor >= 0)
        fcntl(descriptor, F_SETFL, O_RDONLY);
    return descriptor;
}

// What is written to it would be read again, for ever.
bool is_standard_output(const struct stat &file)
{
    struct stat output = {};
    return fstat(STDOUT_FILENO, &output) == 0 && output.st_dev == file.st_dev && output.st_ino == file.st_ino;
}

} // namespace

// A directory opens for reading like a file and fails only when it is read.
compressed_input::compressed_input(const std::string &path)
    : name_(path == "-" ? "standard input" : path), descriptor_(open_for_reading(path)),
      block_(std::make_unique<uint8_t[]>(READ_BLOCK_LEN))
{
    if (descriptor_ < 0)
        fail(EXIT_FILE, "{}: cannot open: {}", name_, std::strerror(errno));
    struct stat status = {};
    const bool is_known = fstat(descriptor_, &status) == 0;
    is_regular_ = is_known && S_ISREG(status.st_mode);
    if (is_regular_)
        size_ = static_cast<uint64_t>(status.st_size);
    if (is_regular_ && is_standard_output(status))
        fail(EXIT_USAGE, "{}: is the input and the standard output, too", name_);
    fill_start();
    if (error_) {
        const bool is_folder = is_known && S_ISDIR(status.st_mode);
        if (descriptor_ != STDIN_FILENO)
            close(descriptor_);
        fail(error_->code, "{}: {}", name_,
             is_folder ? fmt::format("cannot open: {}", std::strerror(EISDIR)) : error_->text);
    }
    unpacker_ = unpacker_for(unread_);
}

compressed_input::~compressed_input()
{
    if (descriptor_ != STDIN_FILENO)
        close(descriptor_);
}

// Reads until the format can be told: the first bytes of a pipe may come one by one.
void compressed_input::fill_start()
{
    while (unread_.size() < FORMAT_MARK_LEN && fill()) {}
}

// Until there is something to read; false: a signal has come.
bool compressed_input::wait()
{
    try {
        if (is_regular_ ? !interrupted() : wait_with(idle_, descriptor_, POLLIN))
            return true;
    } catch (...) {
        thrown_ = std::current_exception();
    }
    error_ = {EXIT_INTERRUPTED, "interrupted"};
    return false;
}

// Appends to what is unread, which is empty or the start of the block; false at the end of the file and at an error.
bool compressed_input::fill()
{
    if (has_ended_ || error_)
        return false;
    const size_t held = unread_.size();
    ssize_t got = 0;
    do {
        if (!wait())
            return false;
        got = ::read(descriptor_, block_.get() + held, READ_BLOCK_LEN - held);
    } while (got < 0 && errno == EINTR);
    if (got < 0) {
        error_ = {EXIT_FILE, fmt::format("cannot read: {}", std::strerror(errno))};
        return false;
    }
    has_ended_ = got == 0;
    position_ += static_cast<uint64_t>(got);
    unread_ = {block_.get(), held + static_cast<size_t>(got)};
    return !has_ended_;
}

std::span<const uint8_t> compressed_input::peek(size_t wanted)
{
    size_t held = peeked_.size();
    peeked_.resize(std::max(held, wanted));
    while (held < wanted) {
        const size_t got = read_on(std::span(peeked_).subspan(held));
        if (got == 0)
            break;
        held += got;
    }
    peeked_.resize(held);
    return peeked_;
}

size_t compressed_input::read(std::span<uint8_t> room) noexcept
{
    if (peeked_.empty())
        return read_on(room);
    const size_t len = std::min(room.size(), peeked_.size());
    std::memcpy(room.data(), peeked_.data(), len);
    peeked_.erase(peeked_.begin(), peeked_.begin() + static_cast<ptrdiff_t>(len));
    return len;
}

size_t compressed_input::read_on(std::span<uint8_t> room) noexcept
{
    if (error_ || is_done_)
        return 0;
    if (unpacker_ != nullptr)
        return unpack(room);
    if (unread_.empty() && !fill())
        return 0;
    const size_t len = std::min(room.size(), unread_.size());
    std::memcpy(room.data(), unread_.data(), len);
    unread_ = unread_.subspan(len);
    return len;
}

size_t compressed_input::unpack(std::span<uint8_t> room)
{
    const size_t wanted = room.size();
    while (room.size() == wanted) {
        if (unread_.empty())
            fill();
        if (error_)
            return 0;
        switch (unpacker_->step(unread_, room, has_ended_)) {
        case unpacker::status::more:
            break;
        case unpacker::status::ended:
            is_done_ = unread_.empty() && !fill();
            if (is_done_)
                return wanted - room.size();
            unpacker_->restart();
            break;
        case unpacker::status::damaged:
            error_ = {EXIT_MALFORMED, fmt::format("cannot unpack: {}", unpacker_->problem())};
            return wanted - room.size();
        }
    }
    return wanted - room.size();
}

file_handle compressed_input::stream()
{
    cookie_io_functions_t functions = {};
    functions.read = [](void *cookie, char *buf, size_t len) -> ssize_t {
        compressed_input &from = *static_cast<compressed_input *>(cookie);
        const size_t got = from.read({reinterpret_cast<uint8_t *>(buf), len});
        if (got > 0 || !from.error())
            return static_cast<ssize_t>(got);
        errno = EIO;
        return -1;
    };
    file_handle opened(fopencookie(this, "rb", functions));
    if (opened == nullptr || std::setvbuf(opened.get(), nullptr, _IOFBF, READ_BLOCK_LEN) != 0)
        throw std::bad_alloc();
    return opened;
}

} // namespace ribtool

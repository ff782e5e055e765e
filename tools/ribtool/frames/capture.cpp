#include "tools/ribtool/frames/capture.hpp"

#include "tools/ribtool/errors.hpp"
#include "tools/ribtool/output/interruption.hpp"

#include <pcap/pcap.h>

#include <sys/stat.h>

#include <algorithm>
#include <new>
#include <unistd.h>

namespace ribtool
{

namespace
{

constexpr int SNAP_LENGTH = 262144; // above any frame
constexpr uint64_t MICROSECONDS = 1000000;

// In front of each packet of a pcap file, in the byte order of the machine that writes it.
struct packet_header {
    uint32_t seconds;
    uint32_t microseconds;
    uint32_t held;   // bytes that follow
    uint32_t length; // of the packet
};

} // namespace

void pcap_closer::operator()(pcap *handle) const
{
    pcap_close(handle);
}

capture_writer::capture_writer(const std::string &path, capture_format format) : file_(path), format_(format)
{
    if (format_ == capture_format::raw)
        return;
    handle_.reset(pcap_open_dead(DLT_USER0, SNAP_LENGTH));
    if (handle_ == nullptr)
        throw std::bad_alloc();
    if (pcap_dump_fopen(handle_.get(), file_.get()) == nullptr) // the header of the file
        fail(EXIT_FILE, "{}: cannot write: {}", file_.name(), pcap_geterr(handle_.get()));
}

void capture_writer::write(uint64_t time_us, byte_span frame)
{
    if (format_ == capture_format::raw) {
        file_.write({reinterpret_cast<const char *>(frame.data()), frame.size()});
        return;
    }
    const auto len = static_cast<uint32_t>(frame.size());
    const packet_header header = {static_cast<uint32_t>(time_us / MICROSECONDS),
                                  static_cast<uint32_t>(time_us % MICROSECONDS), len, len};
    file_.write({reinterpret_cast<const char *>(&header), sizeof header});
    file_.write({reinterpret_cast<const char *>(frame.data()), frame.size()});
}

namespace
{

// The first four bytes of pcap files of either byte order and resolution, and of pcapng files.
constexpr uint32_t PCAP_MAGICS[] = {0xa1b2c3d4, 0xd4c3b2a1, 0xa1b23c4d, 0x4d3cb2a1, 0x0a0d0d0a};

} // namespace

bool is_pcap(byte_span start)
{
    if (start.size() < 4)
        return false;
    const uint32_t magic = read_be32(start.data());
    for (const uint32_t known : PCAP_MAGICS) {
        if (magic == known)
            return true;
    }
    return false;
}

capture_reader::capture_reader(const std::string &path, std::optional<uint64_t> only, bool resynchronises)
    : capture_reader(std::make_unique<compressed_input>(path), only, resynchronises)
{
}

capture_reader::capture_reader(std::unique_ptr<compressed_input> input, std::optional<uint64_t> only,
                               bool resynchronises)
    : input_(std::move(input)), only_(only)
{
    uint8_t start[4] = {};
    size_t len = 0;
    while (len < sizeof start) {
        const size_t got = input_->read(std::span(start).subspan(len));
        if (got == 0)
            break;
        len += got;
    }
    require_no_read_error();
    if (len == 0)
        fail(EXIT_MALFORMED, "{}: empty: neither a capture nor framed updates", name());
    if (is_pcap({start, len})) {
        open_pcap({start, len});
        if (resynchronises)
            complain("{}: a pcap capture keeps its frames apart: there is nothing to resynchronise", name());
        return;
    }
    raw_.emplace(resynchronises);
    std::copy_n(start, len, raw_->room().begin());
    raw_->received(len);
}

// What is wrong with the file or the archive, rather than with what was read out of it.
void capture_reader::require_no_read_error() const
{
    if (input_->error())
        fail(input_->error()->code, "{}: {}", name(), input_->error()->text);
}

// Begins with what has been read: a pipe cannot be rewound, but the C library takes bytes back.
void capture_reader::open_pcap(byte_span start)
{
    file_handle stream = input_->stream();
    for (size_t index = start.size(); index-- > 0;)
        std::ungetc(start[index], stream.get());
    char reason[PCAP_ERRBUF_SIZE] = "";
    handle_.reset(pcap_fopen_offline_with_tstamp_precision(stream.get(), PCAP_TSTAMP_PRECISION_NANO, reason));
    if (handle_ == nullptr) {
        require_no_read_error();
        fail(EXIT_MALFORMED, "{}: not a readable capture: {}", name(), reason);
    }
    stream.release(); // closed with the handle; what was read ahead may end in an error, which comes behind its packets
    const int link_type = pcap_datalink(handle_.get());
    if (link_type == DLT_USER0)
        return;
    const char *link_name = pcap_datalink_val_to_name(link_type);
    fail(EXIT_MALFORMED, "{}: link type {} ({}), but updates have link type USER0 ({})", name(),
         link_name == nullptr ? "unknown" : link_name, link_type, DLT_USER0);
}

std::string capture_reader::place() const
{
    if (format() == capture_format::pcap)
        return fmt::format("{}: packet {}", name(), number_);
    return fmt::format("{}: frame {} at byte {}", name(), number_, frame_start_);
}

// No frame, and none from now on. A file that cannot be read on is a failure.
template <class... Arguments>
bool capture_reader::stop(fmt::format_string<Arguments...> format, Arguments &&...arguments)
{
    if (input_->thrown_while_waiting())
        std::rethrow_exception(input_->thrown_while_waiting());
    if (input_->was_interrupted())
        damage_ = interruption(*this, number_ - 1);
    else if (!input_->error())
        damage_ = {place(), fmt::format(format, std::forward<Arguments>(arguments)...)};
    else if (input_->error()->code == EXIT_MALFORMED)
        damage_ = {place(), input_->error()->text};
    else
        require_no_read_error();
    return false;
}

bool capture_reader::next(captured_frame &frame)
{
    do {
        if (!damage_ && interrupted())
            damage_ = interruption(*this, number_);
        if (damage_ || (only_ && number_ == *only_))
            return false;
        ++number_;
        if (!(format() == capture_format::pcap ? next_packet(frame) : next_raw(frame))) {
            if (only_ && !damage_)
                fail(EXIT_USAGE, "{}: there is no frame {}", name(), *only_);
            return false;
        }
    } while (only_ && number_ != *only_);
    frame.number = number_;
    return true;
}

bool capture_reader::next_packet(captured_frame &frame)
{
    pcap_pkthdr *header = nullptr;
    const u_char *data = nullptr;
    const int status = pcap_next_ex(handle_.get(), &header, &data);
    if (status == PCAP_ERROR_BREAK && !input_->error())
        return false;
    if (status != 1)
        return stop("{}", pcap_geterr(handle_.get()));
    if (header->caplen < header->len)
        return stop("cut short when it was captured: {} of {} bytes", header->caplen, header->len);
    if (header->caplen < FRAME_HEADER_LEN)
        return stop("truncated: a frame header has {} bytes, the packet {}", FRAME_HEADER_LEN, header->caplen);
    frame.bytes.assign(data, data + header->caplen);
    const uint64_t nanoseconds = static_cast<uint64_t>(header->ts.tv_usec); // as it was opened
    frame.time_us = static_cast<uint64_t>(header->ts.tv_sec) * MICROSECONDS + nanoseconds / 1000;
    frame.time_rest_ns = static_cast<uint16_t>(nanoseconds % 1000);
    const size_t promised = frame_payload_len(frame.bytes);
    const size_t held = frame.bytes.size() - FRAME_HEADER_LEN;
    if (held < promised)
        return stop("truncated: its header promises {} bytes of payload, the packet holds {}", promised, held);
    if (held > promised)
        return stop("{} bytes follow the frame, whose header promises {} bytes of payload", held - promised, promised);
    return true;
}

bool capture_reader::next_raw(captured_frame &frame)
{
    stream_frame found;
    while (!raw_->next(found)) {
        frame_start_ = raw_->position();
        if (!raw_->has_ended()) {
            if (!read_raw())
                return stop("interrupted");
            continue;
        }
        const std::optional<std::string> problem = raw_->problem();
        if (!problem && !input_->error())
            return false;
        return stop("{}", problem.value_or(""));
    }
    frame_start_ = found.start;
    frame.time_us = 0;
    frame.bytes.assign(found.bytes.begin(), found.bytes.end());
    return true;
}

// False when a signal has come, which says nothing of what follows in the file.
bool capture_reader::read_raw()
{
    const size_t got = input_->read(raw_->room());
    raw_->received(got);
    if (got == 0 && !input_->was_interrupted())
        raw_->end();
    return !input_->was_interrupted();
}

namespace
{

// Also of the standard streams, which the shell may have opened for the same file.
bool find_status(const std::string &path, int standard_stream, struct stat &status)
{
    return path == "-" ? fstat(standard_stream, &status) == 0 : stat(path.c_str(), &status) == 0;
}

} // namespace

void require_other_file(const std::string &input, const std::string &output)
{
    struct stat first = {};
    struct stat second = {};
    if (!find_status(input, STDIN_FILENO, first) || !find_status(output, STDOUT_FILENO, second))
        return;
    if (S_ISREG(first.st_mode) && first.st_dev == second.st_dev && first.st_ino == second.st_ino)
        fail(EXIT_USAGE, "{}: is the input and cannot be the output, too", output == "-" ? "standard output" : output);
}

} // namespace ribtool

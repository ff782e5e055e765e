#include "tools/ribtool/streams/recording.hpp"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <system_error>
#include <utility>

namespace ribtool
{

namespace
{

constexpr size_t FILE_HEADER_LEN = 24; // of a pcap file
constexpr size_t PACKET_HEADER_LEN = 16;

// The number in a name that numbered_path() made of `path`, or 0.
uint64_t number_in(const std::string &name, const std::filesystem::path &path)
{
    const std::string start = path.stem().string() + ".";
    const std::string end = path.extension().string();
    if (name.size() <= start.size() + end.size() || !name.starts_with(start) || !name.ends_with(end))
        return 0;
    const char *const first = name.data() + start.size();
    const char *const last = name.data() + name.size() - end.size();
    uint64_t number = 0;
    const auto [stop, error] = std::from_chars(first, last, number);
    return error == std::errc() && stop == last ? number : 0;
}

uint64_t highest_number(const std::string &path)
{
    const std::filesystem::path whole(path);
    const std::filesystem::path folder = whole.has_parent_path() ? whole.parent_path() : ".";
    uint64_t highest = 0;
    std::error_code error; // a folder that is not there is told of when the file is made
    for (std::filesystem::directory_iterator each(folder, error), end; !error && each != end; each.increment(error))
        highest = std::max(highest, number_in(each->path().filename().string(), whole));
    return highest;
}

} // namespace

std::string numbered_path(const std::string &path, uint64_t number)
{
    const std::filesystem::path whole(path);
    const std::string name = fmt::format("{}.{:06}{}", whole.stem().string(), number, whole.extension().string());
    return (whole.parent_path() / name).string();
}

recording::recording(std::string path, capture_format format, std::optional<uint64_t> rotate_bytes)
    : path_(std::move(path)), format_(format), rotate_bytes_(rotate_bytes),
      number_(rotate_bytes ? highest_number(path_) : 0)
{
    if (rotate_bytes_ && !files::file_behind(path_))
        fail(EXIT_FILE, "{}: cannot rotate what is no file", path_);
    open();
}

void recording::open()
{
    ++number_;
    writer_ = std::make_unique<capture_writer>(rotate_bytes_ ? numbered_path(path_, number_) : path_, format_);
    file_bytes_ = format_ == capture_format::pcap ? FILE_HEADER_LEN : 0;
    file_frames_ = 0;
}

size_t recording::record_len(const captured_frame &frame) const
{
    return frame.bytes.size() + (format_ == capture_format::pcap ? PACKET_HEADER_LEN : 0);
}

void recording::write(const captured_frame &frame)
{
    const size_t len = record_len(frame);
    if (rotate_bytes_ && file_frames_ != 0 && file_bytes_ + len > *rotate_bytes_) {
        close();
        open();
    }
    writer_->write(frame.time_us, frame.bytes);
    file_bytes_ += len;
    ++file_frames_;
    ++frames_;
    bytes_ += frame.bytes.size();
}

void recording::close()
{
    writer_->close();
    ++files_;
    if (rotate_bytes_)
        terminal::say("{}: {} frames\n", terminal::shown_on(stderr, writer_->file().name()), file_frames_);
}

} // namespace ribtool

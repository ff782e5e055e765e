// What is recorded: one capture, or several that follow each other when each has reached a size.

#pragma once

#include "tools/ribtool/frames/capture.hpp"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace ribtool
{

// "updates.pcap" with number 7: "updates.000007.pcap".
std::string numbered_path(const std::string &path, uint64_t number);

class recording
{
public:
    // With `rotate_bytes` files are numbered, from the number behind the highest that is there already: nothing is overwritten. A file
    // that would grow beyond so many bytes is ended, and the next one begun; each holds a frame at least.
    recording(std::string path, capture_format format, std::optional<uint64_t> rotate_bytes);

    void write(const captured_frame &frame);
    void flush() { writer_->file().flush(); }

    // The file stands under its name, whatever it holds.
    void close();

    uint64_t frames() const { return frames_; } // in all files
    uint64_t bytes() const { return bytes_; }
    uint64_t files() const { return files_; }

private:
    void open();
    size_t record_len(const captured_frame &frame) const;

    const std::string path_;
    const capture_format format_;
    const std::optional<uint64_t> rotate_bytes_;
    uint64_t number_ = 0; // of the file that is written
    std::unique_ptr<capture_writer> writer_;
    uint64_t file_bytes_ = 0;
    uint64_t file_frames_ = 0;
    uint64_t frames_ = 0;
    uint64_t bytes_ = 0;
    uint64_t files_ = 0;
};

} // namespace ribtool

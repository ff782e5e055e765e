// Streams of framed updates in files: pcap captures (link type USER0, one frame a packet) or frames one after another.

#pragma once

#include "tools/ribtool/compressed_input.hpp"
#include "tools/ribtool/frames/frame.hpp"
#include "tools/ribtool/output_file.hpp"

#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>

struct pcap;
struct pcap_dumper;

namespace ribtool
{

enum class capture_format { pcap, raw };

struct pcap_closer {
    void operator()(pcap *handle) const;
};
using pcap_handle = std::unique_ptr<pcap, pcap_closer>;

// Writes a new file. Unless close() was reached the destructor removes the file, so that no half capture is left.
class capture_writer
{
public:
    capture_writer(const std::string &path, capture_format format); // "-" is the standard output
    ~capture_writer();
    capture_writer(const capture_writer &) = delete;
    capture_writer &operator=(const capture_writer &) = delete;

    void write(uint64_t time_us, byte_span frame);
    void close();

private:
    output_file file_;
    capture_format format_;
    pcap_handle handle_;
    pcap_dumper *dumper_ = nullptr; // writes to file_, needs no closing of its own
    bool closed_ = false;
};

struct captured_frame {
    uint64_t number = 0; // from 1, delimiters counted
    uint64_t time_us = 0;
    byte_vector bytes; // header as it travels, then exactly the payload that it promises
};

// Whether the first bytes of a file are those of a pcap or pcapng file.
bool is_pcap(byte_span start);

// Where the contents of a file go wrong, and how: "FILE: packet 3", "truncated: ...".
struct damage {
    std::string place;
    std::string text;
};

// Reads either format, packed or not, and tells them apart by their first bytes. A file that cannot be read is a failure, and so is
// one without a single frame's worth of a capture: empty, of another link type.
class capture_reader
{
public:
    // "-" is the standard input. With `only` that frame alone is read, the first being 1; there must be one.
    explicit capture_reader(const std::string &path, std::optional<uint64_t> only = {});

    // False at the end and where the contents go wrong: everything before is good.
    bool next(captured_frame &frame);

    // What ended the frames; nothing at the end of a whole capture. Whoever reads to the end says so when all else is printed, and
    // ends with EXIT_MALFORMED: see report_damage().
    const std::optional<damage> &found_damage() const { return damage_; }

    capture_format format() const { return handle_ != nullptr ? capture_format::pcap : capture_format::raw; }
    const std::string &name() const { return input_.name(); } // as messages show it
    uint64_t position() const { return input_.position(); }   // bytes of the file read so far
    uint64_t size() const { return input_.size(); }           // 0 for a pipe, whose end nobody knows

    // "FILE: packet 3" or "FILE: frame 3 at byte 120": the frame that next() gave last or was about to give. Bytes count in what a
    // packed file holds.
    std::string place() const;

private:
    void open_pcap();
    bool next_packet(captured_frame &frame);
    bool next_raw(captured_frame &frame);
    void require_no_read_error() const;

    template <class... Arguments>
    bool stop(fmt::format_string<Arguments...> format, Arguments &&...arguments);

    compressed_input input_;
    file_handle stream_; // of input_; until a pcap handle has taken it over
    FILE *file_ = nullptr;
    pcap_handle handle_;
    uint64_t number_ = 0;
    const std::optional<uint64_t> only_;
    uint64_t frame_start_ = 0;
    uint64_t raw_len_ = 0; // bytes of frames read so far
    std::optional<damage> damage_;
};

// What a reading command calls between its lines and its summary: says where the capture is damaged, if it is. Gives
// EXIT_MALFORMED then and else what the command would end with.
exit_code report_damage(const capture_reader &reader, exit_code otherwise);

// A file that is read while it is overwritten would be lost: a failure when both names are of one file.
void require_other_file(const std::string &input, const std::string &output);

} // namespace ribtool

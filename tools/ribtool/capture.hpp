// Streams of framed updates in files: pcap captures (link type USER0, one frame a packet) or frames one after another.

#pragma once

#include "tools/ribtool/frame.hpp"
#include "tools/ribtool/output_file.hpp"

#include <cstdint>
#include <cstdio>
#include <memory>
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

// Reads either format and tells them apart by the first four bytes.
class capture_reader
{
public:
    explicit capture_reader(const std::string &path); // "-" is the standard input

    // False at the end; throws a failure that says where the contents go wrong.
    bool next(captured_frame &frame);

    capture_format format() const { return handle_ != nullptr ? capture_format::pcap : capture_format::raw; }
    uint64_t position() const;              // bytes read so far, where that can be told
    uint64_t size() const { return size_; } // 0 for a pipe, whose end nobody knows

    // "FILE: packet 3" or "FILE: frame 3 at byte 120": the frame that next() gave last or was about to give.
    std::string place() const;

private:
    void open_pcap();
    bool next_packet(captured_frame &frame);
    bool next_raw(captured_frame &frame);

    std::string path_;
    file_handle owned_file_; // until a pcap handle has taken it over
    FILE *file_ = nullptr;
    pcap_handle handle_;
    uint64_t size_ = 0;
    uint64_t number_ = 0;
    uint64_t frame_start_ = 0;
    uint64_t raw_len_ = 0; // bytes of frames read so far
};

// A file that is read while it is overwritten would be lost: a failure when both names are of one file.
void require_other_file(const std::string &input, const std::string &output);

} // namespace ribtool

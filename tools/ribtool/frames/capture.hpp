// Streams of framed updates in files: pcap captures (link type USER0, one frame a packet) or frames one after another.

#pragma once

#include "tools/ribtool/frames/frame_buffer.hpp"
#include "tools/ribtool/frames/frame_source.hpp"
#include "tools/ribtool/input/compressed_input.hpp"
#include "tools/ribtool/output/output_file.hpp"

#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>

struct pcap;

namespace ribtool
{

enum class capture_format { pcap, raw };

struct pcap_closer {
    void operator()(pcap *handle) const;
};
using pcap_handle = std::unique_ptr<pcap, pcap_closer>;

// Writes a new file, as output_file has it: without close() there is none, so that no half capture is left.
class capture_writer
{
public:
    capture_writer(const std::string &path, capture_format format); // "-" is the standard output

    void write(uint64_t time_us, byte_span frame);
    void close() { file_.close(); }

    output_file &file() { return file_; } // for write_all(), which closes it

private:
    output_file file_;
    capture_format format_;
    pcap_handle handle_;
};

// Whether the first bytes of a file are those of a pcap or pcapng file.
bool is_pcap(byte_span start);

// Reads either format, packed or not, and tells them apart by their first bytes. A file that cannot be read is a failure, and so is
// one without a single frame's worth of a capture: empty, of another link type.
class capture_reader : public frame_source
{
public:
    // "-" is the standard input. With `only` that frame alone is read, the first being 1; there must be one. With `resynchronises` raw
    // frames go on behind damage; where a file is pcap, a line says that this does nothing.
    explicit capture_reader(const std::string &path, std::optional<uint64_t> only = {}, bool resynchronises = false);
    // The same of what was opened before, and perhaps looked at.
    explicit capture_reader(std::unique_ptr<compressed_input> input, std::optional<uint64_t> only = {},
                            bool resynchronises = false);

    bool next(captured_frame &frame) override;
    const std::optional<damage> &found_damage() const override { return damage_; }
    const skip_report *skipped() const override { return raw_ ? &raw_->skipped() : nullptr; }
    const std::string &name() const override { return input_->name(); }
    std::string_view kind() const override { return format() == capture_format::pcap ? "pcap" : "raw frames"; }
    uint64_t position() const override { return input_->position(); } // of the file itself
    uint64_t size() const override { return input_->size(); }
    void while_waiting(std::function<void()> idle) override { input_->while_waiting(std::move(idle)); }
    std::string place() const override; // bytes count in what a packed file holds

    capture_format format() const { return handle_ != nullptr ? capture_format::pcap : capture_format::raw; }

private:
    void open_pcap(byte_span start);
    bool next_packet(captured_frame &frame);
    bool next_raw(captured_frame &frame);
    bool read_raw();
    void require_no_read_error() const;

    template <class... Arguments>
    bool stop(fmt::format_string<Arguments...> format, Arguments &&...arguments);

    std::unique_ptr<compressed_input> input_;
    pcap_handle handle_;              // of a pcap file
    std::optional<frame_buffer> raw_; // of any other
    uint64_t number_ = 0;
    const std::optional<uint64_t> only_;
    uint64_t frame_start_ = 0; // of raw frames
    std::optional<damage> damage_;
};

// A file that is read while it is overwritten would be lost: a failure when both names are of one file.
void require_other_file(const std::string &input, const std::string &output);

} // namespace ribtool

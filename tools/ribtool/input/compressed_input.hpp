// The bytes of a file, unpacked where its first bytes say that it is packed with xz, gzip, bzip2 or zstd.
//
// Streaming: what is held is one block and what the unpacker needs, which is bounded. Several archives one after another are one
// file, as their own programs have it.

#pragma once

#include "tools/ribtool/errors.hpp"
#include "tools/ribtool/output/output_file.hpp"

#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace ribtool
{

// What readers of files ask for at a time.
inline constexpr size_t READ_BLOCK_LEN = 65536;

class compressed_input
{
public:
    // "-" is the standard input. A file that cannot be opened is a failure, and so is one that cannot be read at all.
    explicit compressed_input(const std::string &path);
    ~compressed_input();
    compressed_input(const compressed_input &) = delete;
    compressed_input &operator=(const compressed_input &) = delete;

    const std::string &name() const { return name_; } // as messages show it

    // At least one byte and at most so many as there is room for (which is not empty), as soon as there are any; 0 at the end or
    // where an error is.
    size_t read(std::span<uint8_t> room) noexcept;

    // The next `wanted` bytes, fewer only where the end or an error is nearer: what is looked at is not read yet. The view holds until
    // the next call of either.
    std::span<const uint8_t> peek(size_t wanted);

    // Why read() gave 0 before the end: EXIT_FILE where the file cannot be read, EXIT_MALFORMED where the archive is damaged or
    // cut, EXIT_INTERRUPTED where a signal came while there was nothing to read.
    struct read_error {
        exit_code code;
        std::string text;
    };
    const std::optional<read_error> &error() const { return error_; }
    bool was_interrupted() const { return error_ && error_->code == EXIT_INTERRUPTED; }

    // Called before a read of a pipe would wait, and then a few times a second until it has something. What that throws ends the
    // reading, as an error does, and is kept: there is C code between it and who reads.
    void while_waiting(std::function<void()> idle) { idle_ = std::move(idle); }
    const std::exception_ptr &thrown_while_waiting() const { return thrown_; }

    // Gives the bytes to a library that reads for itself. An error shows as a failed read there and in error() here. The stream
    // must not outlive this object.
    file_handle stream();

    uint64_t position() const { return position_; } // bytes of the file itself that were read
    uint64_t size() const { return size_; }         // of the file itself; 0 for a pipe, whose end nobody knows

    class unpacker;

private:
    void fill_start();
    bool fill();
    bool wait();
    size_t read_on(std::span<uint8_t> room) noexcept;
    size_t unpack(std::span<uint8_t> room);

    std::string name_;
    int descriptor_ = -1;
    std::function<void()> idle_;
    std::exception_ptr thrown_;
    bool is_regular_ = false; // never keeps a reader waiting
    uint64_t position_ = 0;
    uint64_t size_ = 0;
    std::unique_ptr<unpacker> unpacker_; // null: the file is not packed
    std::optional<read_error> error_;
    bool has_ended_ = false;          // the file, not what is in it
    bool is_done_ = false;            // the last archive has been unpacked
    std::span<const uint8_t> unread_; // in block_
    std::unique_ptr<uint8_t[]> block_;
    std::vector<uint8_t> peeked_; // not read yet, in front of all else
};

} // namespace ribtool

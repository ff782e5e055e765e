// What resynchronisation passed over in a damaged stream: where, how much, and why.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace ribtool
{

enum class skip_reason {
    unknown_code, // nobody knows the code of the header
    truncated,    // the stream ends before the frame, or before the header
};
constexpr size_t SKIP_REASON_COUNT = 2;

// Bytes that lay between two frames, or behind the last one.
struct skipped_piece {
    uint64_t start = 0; // in the stream
    uint64_t len = 0;
    std::string why; // of the header that was not believed
};

// Counts all pieces and keeps the first ones, so that a stream of rubbish costs no memory.
class skip_report
{
public:
    static constexpr size_t KEPT = 10;

    void add(skip_reason reason, skipped_piece piece);

    uint64_t pieces() const;
    uint64_t bytes() const { return bytes_; }
    uint64_t pieces(skip_reason reason) const { return pieces_[static_cast<size_t>(reason)]; }
    const std::vector<skipped_piece> &first() const { return first_; }

    // A line on the standard error for each piece that was kept, and one of all when there are several.
    void print(const std::string &stream_name) const;

private:
    std::array<uint64_t, SKIP_REASON_COUNT> pieces_{};
    uint64_t bytes_ = 0;
    std::vector<skipped_piece> first_;
};

} // namespace ribtool

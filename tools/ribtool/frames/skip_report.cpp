#include "tools/ribtool/frames/skip_report.hpp"

#include "tools/ribtool/errors.hpp"

#include <utility>

namespace ribtool
{

void skip_report::add(skip_reason reason, skipped_piece piece)
{
    ++pieces_[static_cast<size_t>(reason)];
    bytes_ += piece.len;
    if (first_.size() < KEPT)
        first_.push_back(std::move(piece));
}

uint64_t skip_report::pieces() const
{
    return pieces(skip_reason::unknown_code) + pieces(skip_reason::truncated);
}

void skip_report::print(const std::string &stream_name) const
{
    for (const skipped_piece &piece : first_)
        complain("{}: {} bytes skipped at byte {}: {}", stream_name, piece.len, piece.start, piece.why);
    if (pieces() > 1)
        complain("{}: {} bytes skipped in {} places: {} unknown type codes, {} truncated", stream_name, bytes(),
                 pieces(), pieces(skip_reason::unknown_code), pieces(skip_reason::truncated));
}

} // namespace ribtool

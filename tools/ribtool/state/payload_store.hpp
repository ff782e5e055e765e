// Payloads kept outside the memory: in a file without a name, which goes when the program does.
//
// The file is mapped, so that what was kept is read where it lies; its pages are the system's to take back and to read again. A
// place that is given back serves the next payload of its size, so that the file grows with what is kept, and not with what was.

#pragma once

#include "tools/ribtool/frames/frame.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace ribtool
{

class payload_store
{
public:
    // A failure where no file can be made in the folder for temporary files: TMPDIR, or /var/tmp.
    payload_store();
    ~payload_store();
    payload_store(const payload_store &) = delete;
    payload_store &operator=(const payload_store &) = delete;

    // Where a payload of at most MAX_PAYLOAD_LEN bytes lies. A failure where the file cannot grow.
    uint64_t keep(byte_span payload);

    // The `len` bytes that were kept there. They stay where they are until they are given back.
    byte_span at(uint64_t place, size_t len) const { return {address(place), len}; }

    // `len` is that of the payload.
    void give_back(uint64_t place, size_t len);

private:
    // Places are multiples of the unit, and of whole units; none reaches from one part of the file into the next.
    static constexpr size_t UNIT = 16;
    static constexpr size_t PART_LEN = size_t{1} << 24;
    static constexpr size_t SIZES = MAX_PAYLOAD_LEN / UNIT + 2;
    static constexpr uint64_t NOWHERE = UINT64_MAX;

    static size_t units(size_t len) { return len == 0 ? 1 : (len + UNIT - 1) / UNIT; }
    uint8_t *address(uint64_t place) const { return parts_[place / PART_LEN] + place % PART_LEN; }
    uint64_t new_place(size_t size);
    void add_part();

    int descriptor_ = -1;
    std::vector<uint8_t *> parts_;
    uint64_t end_ = 0;                  // of the places that were ever given out
    std::array<uint64_t, SIZES> spare_; // by their units: a place that was given back, which holds the next one
};

} // namespace ribtool

// The routes of the running kernel, read over rtnetlink. Nothing is ever written there.
//
// A dump is read whole before its first route is given out: the kernel says only in the midst of it that a change has made it
// inconsistent, and then it is asked for anew.

#pragma once

#include "tools/ribtool/frames/frame.hpp"
#include "tools/ribtool/tables/kernel_source.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ribtool
{

struct kernel_selection {
    std::optional<uint32_t> table = {}; // none: all
    bool ipv4 = true;
    bool ipv6 = true;
};

class kernel_table : public kernel_source
{
public:
    explicit kernel_table(const kernel_selection &selection);

    // Reads from any socket that keeps messages apart and answers as a kernel does; it stays the caller's.
    kernel_table(const kernel_selection &selection, int descriptor);

    uint64_t position() const override { return 0; }
    uint64_t size() const override { return 0; }

protected:
    bool next_entry(kernel_route &entry) override;
    std::string place_of(uint64_t number, uint64_t offset) const override;

private:
    enum class outcome { complete, interrupted, no_table };

    void dump_families(int descriptor);
    outcome dump_family(int descriptor, uint8_t family);
    void request(int descriptor, uint8_t family);
    std::optional<outcome> take(byte_span datagram);
    outcome outcome_of(int code) const;

    kernel_selection selection_;
    uint32_t sequence_ = 0;
    byte_vector messages_; // of all families, those of other tables among them
    size_t start_ = 0;     // in messages_, of what was not given out yet
    uint64_t message_number_ = 0;
    bool is_interrupted_ = false;
};

} // namespace ribtool

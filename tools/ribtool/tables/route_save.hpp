// The file that `ip route save` writes: a mark of four bytes, then the kernel's own messages, one a route. Several such files one
// after another are one file.

#pragma once

#include "tools/ribtool/input/compressed_input.hpp"
#include "tools/ribtool/tables/kernel_source.hpp"

#include <memory>
#include <vector>

namespace ribtool
{

// Whether a file that starts so was saved, here or on a machine of the other byte order.
bool is_route_save(byte_span start);

class route_save : public kernel_source
{
public:
    explicit route_save(std::unique_ptr<compressed_input> input) : input_(std::move(input)) {}

    uint64_t position() const override { return input_->position(); }
    uint64_t size() const override { return input_->size(); }

protected:
    bool next_entry(kernel_route &entry) override;
    std::string place_of(uint64_t number, uint64_t offset) const override;

private:
    bool next_message(byte_span &message);
    bool skip_mark();
    bool has(size_t wanted);

    template <class... Arguments>
    [[noreturn]] void stop(fmt::format_string<Arguments...> format, Arguments &&...arguments) const;

    std::unique_ptr<compressed_input> input_;
    byte_vector buffer_;
    size_t start_ = 0; // in the buffer, of what was not given out yet
    size_t end_ = 0;
    uint64_t message_number_ = 0; // from 1
    uint64_t offset_ = 0;         // of start_ in the unpacked file
    uint64_t message_offset_ = 0;
};

} // namespace ribtool

// Archive formats behind one interface.

#pragma once

#include "tools/ribtool/input/compressed_input.hpp"

#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace ribtool
{

// So many of a file's first bytes tell its format.
constexpr size_t FORMAT_MARK_LEN = 6;

class compressed_input::unpacker
{
public:
    virtual ~unpacker() = default;
    virtual std::string_view format() const = 0;

    enum class status {
        more,    // goes on: took input, gave output or both
        ended,   // an archive is complete; another one may follow
        damaged, // problem() says how
    };

    // Takes from the front of `input`, gives to the front of `room`; both are moved on by what was used. `is_last`: nothing follows
    // this input.
    virtual status step(std::span<const uint8_t> &input, std::span<uint8_t> &room, bool is_last) = 0;

    // The next archive of the same file.
    virtual void restart() = 0;

    const std::string &problem() const { return problem_; }

protected:
    std::string problem_ = "damaged";
};

// Null: no format that is known.
std::unique_ptr<compressed_input::unpacker> unpacker_for(std::span<const uint8_t> start);

} // namespace ribtool

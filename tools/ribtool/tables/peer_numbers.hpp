// Numbers the peers of a stream in the order in which they come.

#pragma once

#include "tools/ribtool/addresses.hpp"

#include <cstdint>
#include <map>
#include <tuple>

namespace ribtool
{

class peer_numbers
{
public:
    uint32_t number_of(const ip_address &address, uint32_t as_number)
    {
        return numbers_.try_emplace({address.is_ipv6, address.bytes, as_number}, static_cast<uint32_t>(numbers_.size()))
            .first->second;
    }

private:
    std::map<std::tuple<bool, std::array<uint8_t, 16>, uint32_t>, uint32_t> numbers_;
};

} // namespace ribtool

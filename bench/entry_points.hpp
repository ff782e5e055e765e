// Updates as a client receives them, and the calls that take them.

#pragma once

#include "bench/client_updates.hpp"

namespace bench
{

enum class form {
    framed,  // a header in network byte order, the payload right behind it
    stripped // the payload alone
};

class arrivals
{
public:
    arrivals(const client_updates &updates, form how);

    size_t parse_all(); // by the entry point for their code; returns how many reached the callback
    size_t count() const { return updates_.size(); }
    size_t payload_bytes() const { return payload_bytes_; }

private:
    template <size_t converted> // leading bytes that a call converts in place
    void parse_each();

    uint16_t code_;
    form form_;
    size_t payload_bytes_ = 0;
    std::vector<bytes> updates_;
};

} // namespace bench

// One conversion of an update, by the inspector's copy of the client library.

#pragma once

#include "inspect/records/client_records.hpp"
#include "inspect/rib_inspect.h"
#include "inspect/wire/walk.hpp"

namespace rib_inspect
{

// Who gets the record, as a callback does: borrowed for the call.
class record_taker
{
public:
    virtual void take(const client_record &record) = 0;
    // What the callback gets beside the record.
    virtual void take_number(const record_member &member, uint64_t value) = 0;

protected:
    ~record_taker() = default;
};

// Nothing is taken unless the update is delivered. The payload stays as it is. Throws std::bad_alloc, and what `taker`
// throws.
rib_outcome convert(uint32_t code, bytes_view payload, record_taker &taker);

} // namespace rib_inspect

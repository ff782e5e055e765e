#include "tools/ribtool/library/library_call.hpp"

#include "tools/ribtool/library/older_route_client.hpp"

#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>
#include <new>

namespace ribtool
{

namespace
{

using steady_clock = std::chrono::steady_clock;

struct free_deleter {
    void operator()(uint8_t *bytes) const { std::free(bytes); }
};
using heap_bytes = std::unique_ptr<uint8_t, free_deleter>;

// A block of its own: exactly as long as the update, aligned for any record, writable because the older forms are
// converted in place.
heap_bytes fresh_copy(byte_span bytes)
{
    heap_bytes copy(static_cast<uint8_t *>(std::malloc(bytes.empty() ? 1 : bytes.size())));
    if (copy == nullptr)
        throw std::bad_alloc();
    if (!bytes.empty())
        std::memcpy(copy.get(), bytes.data(), bytes.size());
    return copy;
}

} // namespace

library_call call_library(const captured_frame &frame, const update_type &type, update_form form, delivery &to)
{
    const bool is_stripped = form == update_form::stripped;
    const size_t payload_len = frame.bytes.size() - FRAME_HEADER_LEN;
    const heap_bytes copy = fresh_copy(byte_span(frame.bytes).subspan(is_stripped ? FRAME_HEADER_LEN : 0));

    entry_call call = {{}, {copy.get() + (is_stripped ? 0 : FRAME_HEADER_LEN), payload_len}, &to};
    call.update.update_id = static_cast<uint32_t>(frame.number);
    call.update.payload = copy.get();
    if (is_stripped) {
        call.update.stripped = 1;
        call.update.tlv_type = type.code;
        call.update.payload_len = static_cast<uint32_t>(payload_len);
    }

    library_call made;
    const allocation_count allocated = allocations_so_far();
    const auto started = steady_clock::now();
    made.assertion = run_guarded(type.parse, call);
    made.ended = steady_clock::now();
    made.time = made.ended - started - to.in_callbacks;
    made.allocations = allocations_so_far().since(allocated);
    forget_older_routes();
    if (to.failed)
        std::rethrow_exception(to.failed);
    return made;
}

} // namespace ribtool

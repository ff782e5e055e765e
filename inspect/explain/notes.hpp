// What the converters say of the call that is explained: which members of the decoded message the record shows, what was left
// out, and why. Notes are found by the address of the member or message that they are about.
//
// C++17, like the converters (ip/rib/lib/src/witness.hpp).

#pragma once

#include "inspect/explain/call_memory.hpp"
#include "inspect/rib_inspect.h"

#include <stddef.h>
#include <stdint.h>

namespace rib_inspect
{

// An assertion, which leaves the converters as an exception.
struct stopped {
    rib_reason reason;
    rib_assertion assertion;
};

[[noreturn]] void stop(rib_reason reason, const char *expression, const char *file, uint32_t line,
                       const char *function);

enum class note_kind : uint8_t {
    none,
    shown,      // a member: the record has `value` of it
    shown_all,  // a member
    shown_run,  // the bytes of an array or block: the first `value` of them
    shown_text, // a member: a text with the rooms `value`, the own one in the high half
    exit,       // a message or member: what the record does not show of it, it does not because of `reason`
    left_out,   // the same, and it shows nothing of it
    taken,      // an array: the elements from `value` on are left out
};

struct note {
    const void *place;
    uint64_t value;
    uint32_t size; // of a message, which tells it from the member that it begins with; or one of notes::of_
    note_kind kind;
    rib_reason reason;
};

class notes
{
public:
    // What a note is about that is no message: no message is as small.
    enum : uint32_t { of_member, of_array, of_run };

    // REQUIRES: a call is being explained on this thread.
    static notes &current() { return *current_; }

    notes() = default;
    ~notes();
    notes(const notes &) = delete;
    notes &operator=(const notes &) = delete;

    // Makes these the thread's, for the life of the object.
    class scope
    {
    public:
        explicit scope(notes &of_call) : before_(current_) { current_ = &of_call; }
        ~scope() { current_ = before_; }
        scope(const scope &) = delete;
        scope &operator=(const scope &) = delete;

    private:
        notes *before_;
    };

    // ---- For the converters ----

    // Room for the message that is decoded next.
    void *message_of(size_t size)
    {
        message = memory.own(size);
        return message;
    }
    void decoded(int32_t status) { decode_status = status; }
    void ends_with(zerrno status) { end_status = status; }
    void exit(rib_reason reason, const void *place, uint32_t size)
    {
        last_exit = {place, 0, size, note_kind::exit, reason};
        if (size != of_member)
            put(place, size, note_kind::exit, 0, reason);
    }
    void left_out(rib_reason reason, const void *place, uint32_t size)
    {
        put(place, size, note_kind::left_out, 0, reason);
    }
    void left_out_by_exit(const void *place, uint32_t size) { left_out(last_exit.reason, place, size); }
    void takes(const void *list, uint32_t count, rib_reason reason)
    {
        put(list, of_array, note_kind::taken, count, reason);
    }
    void shows(const void *place, uint64_t kept, rib_reason reason)
    {
        put(place, of_member, note_kind::shown, kept, reason);
    }
    void shows_all(const void *place) { put(place, of_member, note_kind::shown_all, 0, RIB_REASON_none); }
    void shows_bytes(const void *begin, size_t size)
    {
        if (size != 0)
            put(begin, of_run, note_kind::shown_run, size, RIB_REASON_none);
    }
    void shows_text(const void *place, size_t own_room, size_t room)
    {
        put(place, of_member, note_kind::shown_text, own_room << 32 | room, RIB_REASON_none);
    }

    // ---- For the explanation ----

    // Null where there is none.
    const note *find(const void *place, uint32_t size) const;

    void *message = nullptr; // the decoded one; null before it is decoded
    int32_t decode_status = ZIDL_OK;
    zerrno end_status = ZERRNO_OK; // of the conversion
    note last_exit = {nullptr, 0, 0, note_kind::none, RIB_REASON_none};
    call_memory memory;
    bool are_kept = true; // false: the call alone matters, and nobody will ask

private:
    void put(const void *place, uint32_t size, note_kind kind, uint64_t value, rib_reason reason);
    note *slot(const void *place, uint32_t size) const;
    void grow();

    static thread_local notes *current_;

    note first_[128] = {};
    note *table_ = first_;
    uint32_t room_ = 128; // a power of 2
    uint32_t count_ = 0;
};

} // namespace rib_inspect

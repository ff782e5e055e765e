#include "inspect/explain/notes.hpp"

namespace rib_inspect
{

thread_local notes *notes::current_ = nullptr;

[[noreturn]] void stop(rib_reason reason, const char *expression, const char *file, uint32_t line, const char *function)
{
    throw stopped{reason, {expression, file, line, function}};
}

notes::~notes()
{
    if (table_ != first_)
        delete[] table_;
}

// The last thing said of a place holds.
void notes::put(const void *place, uint32_t size, note_kind kind, uint64_t value, rib_reason reason)
{
    if (!are_kept)
        return;
    if (count_ >= room_ / 2)
        grow();
    note *const at = slot(place, size);
    if (at->place == nullptr)
        count_++;
    *at = {place, value, size, kind, reason};
}

const note *notes::find(const void *place, uint32_t size) const
{
    const note *const at = slot(place, size);
    return at->place == nullptr ? nullptr : at;
}

// The note itself, or the empty place that it would take.
note *notes::slot(const void *place, uint32_t size) const
{
    const uint64_t key = (reinterpret_cast<uintptr_t>(place) ^ uint64_t{size} << 48) * 0x9E3779B97F4A7C15;
    for (uint32_t i = static_cast<uint32_t>(key >> 32);; i++) {
        note &at = table_[i & (room_ - 1)];
        if (at.place == nullptr || (at.place == place && at.size == size))
            return &at;
    }
}

void notes::grow()
{
    note *const before = table_;
    const uint32_t room_before = room_;
    table_ = new note[2 * size_t{room_}]();
    room_ *= 2;
    for (uint32_t i = 0; i < room_before; i++)
        if (before[i].place != nullptr)
            *slot(before[i].place, before[i].size) = before[i];
    if (before != first_)
        delete[] before;
}

} // namespace rib_inspect

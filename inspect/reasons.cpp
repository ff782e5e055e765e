// The closed list of reasons, by number.

#include "inspect/rib_inspect.h"

namespace
{

struct reason_row {
    const char *name;
    const char *text;
};

constexpr reason_row REASONS[] = {
#define REASON(name, text) {#name, text},
#include "inspect/reasons.def"
#undef REASON
};

const reason_row *find(enum rib_reason reason)
{
    const auto number = static_cast<unsigned>(reason);
    return number < RIB_REASON_COUNT ? &REASONS[number] : nullptr;
}

} // namespace

extern "C" const char *rib_reason_name(enum rib_reason reason)
{
    const reason_row *const row = find(reason);
    return row == nullptr ? nullptr : row->name;
}

extern "C" const char *rib_reason_text(enum rib_reason reason)
{
    const reason_row *const row = find(reason);
    return row == nullptr ? nullptr : row->text;
}

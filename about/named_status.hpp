// Statuses with the names that their headers spell. The rows hold the characters themselves: of pointers the dynamic linker would
// have to set every one in every process.

#pragma once

#include <stddef.h>

namespace rib
{

template <class Status>
struct named_status {
    Status status;
    char name[20];
};

#define RIB_NAMED(status)                                                                                              \
    {                                                                                                                  \
        status, #status                                                                                                \
    }

template <class Status, size_t Count>
const char *name_of(const named_status<Status> (&rows)[Count], Status status)
{
    for (const named_status<Status> &row : rows) {
        if (row.status == status)
            return row.name;
    }
    return "unknown";
}

} // namespace rib

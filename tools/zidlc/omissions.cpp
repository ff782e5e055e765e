// The arguments that operations go without.

#include "tools/zidlc/omissions.hpp"

#include <algorithm>
#include <array>
#include <functional>
#include <string_view>

namespace zidlc
{

namespace
{

struct omittable {
    std::string_view operation;
    std::string_view argument;
    bool omissions::*flag;
    bool field::*is_needed;
    std::string_view reason;
};

constexpr std::array<omittable, 4> omittables = {{
    {"encode", "flags", &omissions::encode_flags, &field::holds_bytes, "holds bytes"},
    {"decode", "flags", &omissions::decode_flags, &field::holds_bytes, "holds bytes"},
    {"decode", "memory", &omissions::decode_memory, &field::owns_memory, "owns memory"},
    {"duplicate", "memory", &omissions::duplicate_memory, &field::owns_memory, "owns memory"},
}};

const omittable *find(const omission_syntax &syntax)
{
    const auto found = std::find_if(omittables.begin(), omittables.end(), [&](const omittable &each) {
        return each.operation == syntax.operation && each.argument == syntax.argument;
    });
    return found == omittables.end() ? nullptr : &*found;
}

place first_place(const std::vector<omission_syntax> &all, const omission_syntax &repeated)
{
    return std::find_if(all.begin(), all.end(),
                        [&](const omission_syntax &each) {
                            return each.operation == repeated.operation && each.argument == repeated.argument;
                        })
        ->where;
}

void add_omission(const omission_syntax &syntax, const std::vector<omission_syntax> &all, message &m,
                  diagnostics &errors)
{
    const omittable *known = find(syntax);
    if (!known)
        return errors.error(syntax.where,
                            "'{}.{}' cannot be omitted, only encode.flags, decode.flags, decode.memory and "
                            "duplicate.memory",
                            syntax.operation, syntax.argument);
    bool &is_omitted = m.omit.*known->flag;
    if (is_omitted)
        return errors.error(syntax.where, note{first_place(all, syntax), "first used here"},
                            "'{}.{}' is omitted already", syntax.operation, syntax.argument);
    is_omitted = true;

    const auto needing = std::find_if(m.fields.begin(), m.fields.end(), std::mem_fn(known->is_needed));
    if (needing != m.fields.end())
        errors.error(syntax.where, "{} needs {}: member '{}' {}", syntax.operation, syntax.argument, needing->name,
                     known->reason);
}

} // namespace

void add_omissions(const message_syntax &syntax, message &m, diagnostics &errors)
{
    for (const omission_syntax &each : syntax.omissions)
        add_omission(each, syntax.omissions, m, errors);
}

} // namespace zidlc

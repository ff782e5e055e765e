// The exported functions of a message.

#include "tools/zidlc/operations.hpp"

#include "tools/zidlc/names.hpp"
#include "tools/zidlc/text.hpp"

#include <fmt/format.h>

namespace zidlc
{

namespace
{

void append(std::vector<std::string> &list, std::initializer_list<const char *> more)
{
    list.insert(list.end(), more.begin(), more.end());
}

} // namespace

std::string operation::parameter_list() const
{
    return joined(parameters);
}

operation encode_operation(const message &m)
{
    operation encode{"size_t", record_type(m) + "_encode_ext", {fmt::format("const {} *msg", record_type(m))}};
    append(encode.parameters, {"uint8_t *buf", "size_t buflen", "zidl_segment *segs", "uint32_t *nsegs"});
    if (!m.omit.encode_flags)
        append(encode.parameters, {"uint32_t flags"});
    return encode;
}

operation decode_operation(const message &m)
{
    operation decode{"int32_t", record_type(m) + "_decode_ext", {fmt::format("{} *msg", record_type(m))}};
    append(decode.parameters, {"const uint8_t *buf", "size_t len"});
    if (!m.omit.decode_memory)
        append(decode.parameters, {"zidl_alloc_fn alloc_fn", "void *alloc_ctx"});
    if (!m.omit.decode_flags)
        append(decode.parameters, {"uint32_t flags"});
    return decode;
}

operation duplicate_operation(const message &m)
{
    operation duplicate{"int32_t",
                        record_type(m) + "_duplicate",
                        {fmt::format("{} *dst", record_type(m)), fmt::format("const {} *src", record_type(m))}};
    if (!m.omit.duplicate_memory)
        append(duplicate.parameters, {"zidl_alloc_fn alloc_fn", "void *alloc_ctx"});
    return duplicate;
}

operation release_operation(const message &m)
{
    operation release{"void", record_type(m) + "_free_ext", {fmt::format("{} *msg", record_type(m))}};
    append(release.parameters, {"zidl_free_fn free_fn", "void *free_ctx", "uint32_t flags"});
    return release;
}

} // namespace zidlc

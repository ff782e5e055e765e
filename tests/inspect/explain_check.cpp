#include "tests/inspect/explain_check.hpp"

#include "inspect/wire/walk.hpp"
#include "tests/client/heap.hpp"

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace rib_test
{

namespace
{

// ---- The library's assertions come back here ----

struct failed_assertion {
    std::string expression;
    std::string file;
    unsigned line = 0;
    std::string function;

    bool operator==(const failed_assertion &) const = default;
};

thread_local std::jmp_buf assertion_exit;
thread_local bool assertion_expected = false;
thread_local const char *failed[3];
thread_local unsigned failed_line;

// ---- What is compared: the content of a record, without a pointer ----

using content = std::vector<uint8_t>;

void append(content &out, const void *bytes, size_t size)
{
    const auto *const begin = static_cast<const uint8_t *>(bytes);
    out.insert(out.end(), begin, begin + size);
}

void append_number(content &out, uint64_t number)
{
    append(out, &number, sizeof number);
}

// Whether the block is there, and its bytes.
void append_block(content &out, const void *block, size_t size)
{
    append_number(out, block != nullptr);
    if (block != nullptr)
        append(out, block, size);
}

// Of the older form the blocks lie in the payload, and their lengths may reach beyond it: where they lie is compared.
content opaque_content(const rib_opaque_update &opaque, uint32_t sub_id, bool is_encoded)
{
    content out;
    for (const uint32_t number : {sub_id, uint32_t{opaque.opaque_type}, opaque.opaque_id, opaque.opaque_value,
                                  opaque.first_len, opaque.second_len})
        append_number(out, number);
    if (is_encoded) {
        append_block(out, opaque.first_block, opaque.first_len);
        append_block(out, opaque.second_block, opaque.second_len);
    } else {
        append_number(out, opaque.second_block != nullptr);
        if (opaque.second_block != nullptr)
            append_number(out, static_cast<uint64_t>(opaque.second_block - opaque.first_block));
    }
    return out;
}

content route_content(const struct rib_routetype_ &route)
{
    content out;
    struct rib_routetype_ header;
    std::memcpy(&header, &route, sizeof header);
    header.rt_advertisement = nullptr;
    header.rt_first_ecomm = nullptr;
    std::memset(header.rt_attr_blocks, 0, sizeof header.rt_attr_blocks);
    append(out, &header, sizeof header);
    const rib_path_entry *path = rib_route_first_path(&route);
    for (unsigned i = 0; i < route.rt_path_count; i++)
        path = rib_route_next_path(path);
    append(
        out, &route + 1,
        static_cast<size_t>(reinterpret_cast<const uint8_t *>(path) - reinterpret_cast<const uint8_t *>(&route + 1)));
    append_number(out, route.rt_first_ecomm == nullptr
                           ? 0
                           : static_cast<uint64_t>(static_cast<const uint8_t *>(route.rt_first_ecomm) -
                                                   reinterpret_cast<const uint8_t *>(&route)));
    const void *const values = route.rt_advertisement;
    append_block(out, values,
                 values == nullptr ? 0 : sizeof(uint32_t) + rib_advertisement_count(values) * sizeof(uint16_t));
    for (uint32_t i = 0; i < RIB_ATTR_BLOCKS; i++) {
        const void *const block = route.rt_attr_blocks[i];
        const size_t attr_size = rib_route_attr_size(&route, i) + sizeof(uint32_t);
        append_block(out, block, block == nullptr ? 0 : 2 * sizeof(uint16_t) + rib_attr_block_count(block) * attr_size);
    }
    return out;
}

content grid_content(const grid_sync_list &list)
{
    content out;
    append_number(out, list.count);
    append_number(out, list.multi_key);
    append(out, list.encap_ids, list.count * sizeof *list.encap_ids);
    append(out, list.keys, list.count * sizeof *list.keys);
    return out;
}

content content_of(rib_record_kind kind, const void *record, uint32_t sub_id, uint32_t code)
{
    content out;
    switch (kind) {
    case RIB_RECORD_PROTO:
        append(out, record, sizeof(rib_protoid_map));
        return out;
    case RIB_RECORD_OPAQUE:
        return opaque_content(*static_cast<const rib_opaque_update *>(record), sub_id, code == RIB_TLV_OPAQUE);
    case RIB_RECORD_ROUTE:
        return route_content(*static_cast<const struct rib_routetype_ *>(record));
    case RIB_RECORD_GRID:
        return grid_content(*static_cast<const grid_sync_list *>(record));
    case RIB_RECORD_NHID:
        append(out, record, sizeof(nhid_update_local));
        return out;
    case RIB_RECORD_NONE:
    case RIB_RECORD_MESSAGE:
    case RIB_RECORD_KIND_COUNT:
        break;
    }
    return out;
}

// ---- What the library does ----

struct delivery {
    int calls = 0;
    uint32_t code = 0;
    rib_record_kind kind = RIB_RECORD_NONE;
    content record;

    void take(rib_record_kind of_kind, const void *made, uint32_t sub_id = 0)
    {
        calls++;
        kind = of_kind;
        record = content_of(of_kind, made, sub_id, code);
    }
};

int take_proto(uint32_t, rib_protoid_map *map, void *to)
{
    static_cast<delivery *>(to)->take(RIB_RECORD_PROTO, map);
    return 0;
}

int take_opaque(uint32_t, uint32_t sub_id, rib_opaque_update *opaque, void *to)
{
    static_cast<delivery *>(to)->take(RIB_RECORD_OPAQUE, opaque, sub_id);
    return 0;
}

int take_route(uint32_t, struct rib_routetype_ *route, void *to)
{
    static_cast<delivery *>(to)->take(RIB_RECORD_ROUTE, route);
    return 0;
}

int take_grid(void *record, void *to, uint32_t code)
{
    static_cast<delivery *>(to)->take(code == RIB_TLV_NHID ? RIB_RECORD_NHID : RIB_RECORD_GRID, record);
    return 0;
}

// Nothing in it has a destructor: it may be left by an assertion.
void call_entry_point(uint32_t entry_code, uint32_t without, updatetype_local *update, delivery *to)
{
    switch (entry_code) {
    case RIB_TLV_PROTO:
    case RIB_TLV_OLD_PROTO:
        return rib_lib_pvt_parse_proto_update(take_proto, update, to);
    case RIB_TLV_OPAQUE:
    case RIB_TLV_OLD_OPAQUE:
        return rib_lib_pvt_parse_opaque_update(take_opaque, update, to);
    case RIB_TLV_ROUTE:
    case RIB_TLV_OLD_ROUTE: {
        rib_route_client client = {to, nullptr, (without & RIB_WITHOUT_ENCODED_ROUTES) != 0 ? nullptr : take_route};
        return rib_lib_pvt_parse_route_update(update, nullptr, nullptr, nullptr, 0,
                                              (without & RIB_WITHOUT_ROUTE_CLIENT) != 0 ? nullptr : &client);
    }
    case RIB_TLV_GRID:
    case RIB_TLV_NHID:
        return rib_lib_pvt_parse_grid_update(take_grid, update, to);
    default:
        return;
    }
}

bool stops(uint32_t entry_code, uint32_t without, updatetype_local *update, delivery *to)
{
    if (setjmp(assertion_exit) != 0) {
        assertion_expected = false;
        return true;
    }
    assertion_expected = true;
    call_entry_point(entry_code, without, update, to);
    assertion_expected = false;
    return false;
}

// ---- Both ----

bool is_route(uint32_t code)
{
    return code == RIB_TLV_ROUTE || code == RIB_TLV_OLD_ROUTE;
}

bool is_proto(uint32_t code)
{
    return code == RIB_TLV_PROTO || code == RIB_TLV_OLD_PROTO;
}

bool has_entry_point(uint32_t code)
{
    return is_route(code) || is_proto(code) || code == RIB_TLV_OPAQUE || code == RIB_TLV_OLD_OPAQUE ||
           code == RIB_TLV_GRID || code == RIB_TLV_NHID;
}

bool is_refused(const update_case &update)
{
    if (!has_entry_point(update.entry_code))
        return true;
    if (update.code == RIB_TLV_OLD_PROTO && is_proto(update.entry_code))
        return update.payload.size() < sizeof(rib_protoid_map);
    return update.code == RIB_TLV_OLD_ROUTE && is_route(update.entry_code) &&
           (update.without & RIB_WITHOUT_OLDER_ROUTES) == 0;
}

// The update in memory of its own: exactly as long as it is.
class update_memory
{
public:
    explicit update_memory(const update_case &update)
        : size_((update.framed ? 8 : 0) + update.payload.size()), bytes_(std::make_unique<uint8_t[]>(size_))
    {
        const size_t len = update.payload.size();
        uint8_t *place = bytes_.get();
        if (update.framed) {
            const uint8_t header[8] = {0,
                                       0,
                                       0,
                                       0,
                                       static_cast<uint8_t>(update.code >> 8),
                                       static_cast<uint8_t>(update.code),
                                       static_cast<uint8_t>(len >> 8),
                                       static_cast<uint8_t>(len)};
            std::memcpy(place, header, sizeof header);
            place += sizeof header;
        }
        if (len != 0)
            std::memcpy(place, update.payload.data(), len);
        record.payload = bytes_.get();
        record.stripped = !update.framed;
        record.tlv_type = update.framed ? 0 : update.code;
        record.payload_len = update.framed ? 0 : static_cast<uint32_t>(len);
    }

    content bytes() const { return content(bytes_.get(), bytes_.get() + size_); }

    updatetype_local record = {};

private:
    size_t size_;
    std::unique_ptr<uint8_t[]> bytes_;
};

struct explanation_deleter {
    void operator()(rib_explanation *explanation) const { rib_explanation_free(explanation); }
};

failed_assertion assertion_of(const rib_explanation &why)
{
    const rib_assertion &assertion = why.assertion;
    return {assertion.expression, assertion.file, assertion.line, assertion.function};
}

// What must hold of any explanation.
std::string disorder(const rib_explanation &why, size_t payload_len)
{
    if (why.status_name == nullptr || rib_reason_name(why.reason) == nullptr)
        return "a status or a reason without a name";
    if ((why.outcome == RIB_STOPPED) != (why.assertion.expression != nullptr))
        return "an assertion that does not fit the outcome";
    if ((why.outcome == RIB_DELIVERED) != (why.record != nullptr))
        return "a record that does not fit the outcome";
    if (why.outcome != RIB_DELIVERED && why.reason == RIB_REASON_none)
        return "no reason";
    if (why.outcome != RIB_DELIVERED && why.loss_count != 0)
        return "losses of what is not delivered";
    if (why.offset != RIB_NO_OFFSET && why.offset > payload_len)
        return "an offset behind the payload";
    size_t least = 0;
    for (size_t i = 0; i < why.loss_count; i++) {
        const rib_loss &loss = why.losses[i];
        if (loss.reason == RIB_REASON_none || loss.path == nullptr || loss.path[0] == '\0' || loss.value == nullptr)
            return "a loss without reason, path or value";
        if (loss.offset < least || loss.offset > payload_len)
            return "losses that are not in the payload's order";
        least = loss.offset;
    }
    return "";
}

} // namespace

std::string explain_difference(const update_case &update, rib_outcome &outcome)
{
    update_memory explained(update);
    const content before = explained.bytes();
    rib_explain_options options = {};
    options.without = update.without;
    options.tlv_type = update.entry_code == update.code ? 0 : update.entry_code;
    const uint32_t high_water = rib_lib_route_payload_high_water();
    rib_explanation *out = nullptr;
    if (rib_explain_update(&explained.record, &options, &out) != ZIDL_OK)
        return "no explanation";
    const std::unique_ptr<rib_explanation, explanation_deleter> why(out);
    outcome = why->outcome;
    if (rib_lib_route_payload_high_water() != high_water)
        return "the library's high-water mark moved";
    if (explained.bytes() != before)
        return "the payload has changed";
    const std::string wrong = disorder(*why, update.payload.size());
    if (!wrong.empty() || is_refused(update) != (why->outcome == RIB_REFUSED))
        return wrong.empty() ? std::string("outcome: ") + rib_outcome_name(why->outcome) : wrong;
    if (why->outcome == RIB_REFUSED)
        return "";

    update_memory parsed(update);
    delivery real;
    real.code = update.code;
    watch_heap();
    const bool stopped = stops(update.entry_code, update.without, &parsed.record, &real);
    end_watch();
    const rib_outcome expected = stopped ? RIB_STOPPED : real.calls == 1 ? RIB_DELIVERED : RIB_DROPPED;
    if (why->outcome != expected)
        return std::string("the library: ") + rib_outcome_name(expected) +
               ", the inspector: " + rib_outcome_name(why->outcome) + " " + rib_reason_name(why->reason);
    if (stopped && assertion_of(*why) != failed_assertion{failed[0], failed[1], failed_line, failed[2]})
        return std::string("the library stops at ") + failed[0];
    if (expected == RIB_DELIVERED &&
        (why->record_kind != real.kind ||
         content_of(why->record_kind, why->record, why->sub_id, update.code) != real.record))
        return "the records differ";
    return "";
}

namespace
{

using explanation = std::unique_ptr<rib_explanation, explanation_deleter>;

explanation explain_stripped(uint32_t code, content &payload)
{
    updatetype_local update = {};
    update.tlv_type = code;
    update.stripped = 1;
    update.payload = payload.data();
    update.payload_len = static_cast<uint32_t>(payload.size());
    rib_explanation *out = nullptr;
    rib_explain_update(&update, nullptr, &out);
    return explanation(out);
}

// What decides over others may do so whether it is shown or lost.
bool decides(const std::string &path)
{
    for (const char *const member : {"family", "route_l2_value_1", "sl_id_value_2", "nnh_value_1", "key_type"})
        if (path.ends_with(member))
            return true;
    return false;
}

// Whether any bit of a value makes a difference. The highest bit of each byte of a number says where it ends.
bool makes_difference(uint32_t code, content &payload, size_t begin, size_t end, bool is_number, const content &record)
{
    bool makes = false;
    for (size_t at = begin; at < std::min(end, begin + 10); at++) {
        for (unsigned bit = 0; bit < (is_number ? 7U : 8U) && !makes; bit++) {
            payload[at] = static_cast<uint8_t>(payload[at] ^ 1U << bit);
            const explanation why = explain_stripped(code, payload);
            makes = why == nullptr || why->outcome != RIB_DELIVERED ||
                    content_of(why->record_kind, why->record, why->sub_id, code) != record;
            payload[at] = static_cast<uint8_t>(payload[at] ^ 1U << bit);
        }
    }
    return makes;
}

} // namespace

std::string loss_difference(uint32_t code, const std::vector<uint8_t> &bytes, size_t &values)
{
    content payload = bytes;
    const explanation why = explain_stripped(code, payload);
    if (why == nullptr || why->outcome != RIB_DELIVERED || why->message == nullptr || why->reason != RIB_REASON_none)
        return "";
    const content record = content_of(why->record_kind, why->record, why->sub_id, code);
    std::string wrong;
    const auto check = [&](const rib_inspect::walk_event &event) {
        if (event.part != rib_inspect::walk_part::value || event.raw == 0 || values == 0 || !wrong.empty())
            return;
        const std::string path = rib_inspect::to_string(rib_inspect::path_of(event));
        const rib_loss *const end = why->losses + why->loss_count;
        const rib_loss *const loss =
            std::find_if(why->losses, end, [&](const rib_loss &one) { return one.offset == event.value_offset; });
        // What is kept in part, or as 0, or left behind the count of a list, may make one.
        const bool may_show =
            loss != end && (loss->kept != nullptr || loss->reason == RIB_REASON_narrowed ||
                            loss->reason == RIB_REASON_masked || loss->reason == RIB_REASON_reduced ||
                            loss->reason == RIB_REASON_out_of_range || loss->reason == RIB_REASON_next_next_hops_ended);
        if (may_show || decides(path))
            return;
        values--;
        const bool is_number = event.wire_type != rib_inspect::delimited;
        if (makes_difference(code, payload, event.value_offset, event.end_offset, is_number, record) != (loss == end))
            wrong = path + (loss == end
                                ? " makes no difference, but is no loss"
                                : std::string(" makes a difference, but is lost: ") + rib_reason_name(loss->reason));
    };
    rib_inspect::walk({zidl::find_message(why->message), bytes}, check);
    return wrong;
}

update_case case_of_bytes(const uint8_t *data, size_t size)
{
    static constexpr uint32_t codes[] = {RIB_TLV_ROUTE,  RIB_TLV_GRID,       RIB_TLV_PROTO,     RIB_TLV_NHID,
                                         RIB_TLV_OPAQUE, RIB_TLV_OLD_OPAQUE, RIB_TLV_OLD_PROTO, RIB_TLV_OLD_ROUTE};
    const uint8_t choice = size > 0 ? data[0] : 0;
    const uint8_t client = size > 1 ? data[1] : 0;
    update_case update = {};
    update.code = codes[choice & 7];
    update.entry_code = (choice & 0xF8) == 0xF8 ? codes[client & 7] : update.code;
    update.without = client >> 3 & 7;
    if (size > 2)
        update.payload.assign(data + 2, data + size);
    return update;
}

} // namespace rib_test

using namespace rib_test;

extern "C" [[noreturn]] void __assert_fail(const char *expression, const char *file, unsigned line,
                                           const char *function) noexcept
{
    if (!assertion_expected) {
        std::fprintf(stderr, "%s:%u: %s: unexpected failure of `%s'\n", file, line, function, expression);
        std::abort();
    }
    failed[0] = expression;
    failed[1] = file;
    failed[2] = function;
    failed_line = line;
    std::longjmp(assertion_exit, 1);
}

// Runs the inspector's copy of the client library over a copy of an update, and says what became of it.

#include "inspect/explain/converters.hpp"
#include "inspect/explain/losses.hpp"
#include "inspect/explain/notes.hpp"
#include "inspect/explain/status_name.hpp"
#include "inspect/rib_inspect.h"
#include "inspect/wire/hex.hpp"
#include "inspect/wire/walk.hpp"
#include "ip/rib/lib/src/update_frame.hpp"

#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

using namespace rib_inspect;

namespace
{

// ---- Codes ----

enum class entry_point { none, proto, opaque, route, grid };

struct code_row {
    uint32_t code;
    entry_point taken_by;
    const char *message; // null: an older form
    const zidl::message_descriptor *type;
};

const code_row *find_code(uint32_t code)
{
    static const code_row rows[] = {
        {RIB_TLV_OLD_ROUTE, entry_point::route, nullptr, nullptr},
        {RIB_TLV_OLD_OPAQUE, entry_point::opaque, nullptr, nullptr},
        {RIB_TLV_OLD_PROTO, entry_point::proto, nullptr, nullptr},
        {RIB_TLV_GRID, entry_point::grid, "rib_grid_sync_list", zidl::find_message("rib_grid_sync_list")},
        {RIB_TLV_PROTO, entry_point::proto, "ip_rib_proto_update", zidl::find_message("ip_rib_proto_update")},
        {RIB_TLV_NHID, entry_point::grid, "rib_nhid_update", zidl::find_message("rib_nhid_update")},
        {RIB_TLV_OPAQUE, entry_point::opaque, "ip_rib_opaque", zidl::find_message("ip_rib_opaque")},
        {RIB_TLV_ROUTE, entry_point::route, "rib_route", zidl::find_message("rib_route")},
    };
    for (const code_row &row : rows)
        if (row.code == code)
            return &row;
    return nullptr;
}

uint32_t code_of_message(std::string_view name)
{
    for (const uint32_t code : {RIB_TLV_GRID, RIB_TLV_PROTO, RIB_TLV_NHID, RIB_TLV_OPAQUE, RIB_TLV_ROUTE})
        if (find_code(code)->message == name)
            return code;
    return 0;
}

// ---- One call ----

class explained_call : public rib_explanation
{
public:
    explained_call() : rib_explanation() { offset = RIB_NO_OFFSET; }

    void explain_update(const updatetype_local &update, const rib_explain_options &options)
    {
        updatetype_local copy = update;
        if (update.stripped == 0) {
            uint64_t header;
            std::memcpy(&header, update.payload, sizeof header);
            copy.payload = reinterpret_cast<uint8_t *>(&header);
            uchar_t *cursor;
            rib_client::strip_frame(copy, cursor);
            copy.payload = update.payload + sizeof header;
            copy.stripped = 1;
        }
        copy_payload(copy);
        tlv_type = copy.tlv_type;
        const code_row *const row = find_code(copy.tlv_type);
        const code_row *const entry = options.tlv_type == 0 ? row : find_code(options.tlv_type);
        if (row != nullptr) {
            message = row->message;
            type_ = row->type;
        }
        if (!refuse(copy, entry, options))
            convert(copy, entry->taken_by, options);
    }

    // A message that no entry point takes.
    void explain_message(const zidl::message_descriptor &type, const uint8_t *payload, size_t len,
                         const rib_explain_options &options)
    {
        message = type.name;
        type_ = &type;
        payload_ = {payload, len};
        notes_.memory.limit(options.memory == 0 ? SIZE_MAX : options.memory);
        void *const decoded = notes_.message_of(type.size);
        notes_.decoded(type.decode(decoded, payload, len, allocate, &notes_.memory, 0));
        if (notes_.decode_status != ZIDL_OK)
            return drop();
        deliver(RIB_RECORD_MESSAGE, decoded);
        find_all_losses(nullptr, options);
    }

    bool is_out_of_memory() const { return notes_.memory.is_exhausted(); }

private:
    static void *allocate(size_t size, void *memory) { return static_cast<call_memory *>(memory)->block(size); }

    // The platform may look for a delimiter behind the payload: zeros.
    void copy_payload(updatetype_local &update)
    {
        constexpr size_t ROOM_FOR_DELIMITER = 16;
        payload_ = {update.payload, update.payload_len};
        if (update.payload == nullptr)
            return;
        auto *const copy = static_cast<uint8_t *>(notes_.memory.own(size_t{update.payload_len} + ROOM_FOR_DELIMITER));
        std::memcpy(copy, update.payload, update.payload_len);
        std::memset(copy + update.payload_len, 0, ROOM_FOR_DELIMITER);
        update.payload = copy;
        payload_ = {copy, update.payload_len};
    }

    bool refuse(const updatetype_local &update, const code_row *entry, const rib_explain_options &options)
    {
        outcome = RIB_REFUSED;
        if (entry == nullptr)
            reason = RIB_REASON_not_tried_unknown_code;
        else if (update.tlv_type == RIB_TLV_OLD_PROTO && entry->taken_by == entry_point::proto &&
                 update.payload_len < sizeof(rib_protoid_map))
            reason = RIB_REASON_not_tried_too_short;
        else if (update.tlv_type == RIB_TLV_OLD_ROUTE && entry->taken_by == entry_point::route &&
                 (options.without & RIB_WITHOUT_OLDER_ROUTES) == 0)
            reason = RIB_REASON_not_tried_converter;
        else
            return false;
        status_name = rib_inspect::status_name(status);
        return true;
    }

    void convert(updatetype_local &update, entry_point taken_by, const rib_explain_options &options)
    {
        notes_.memory.limit(options.memory == 0 ? SIZE_MAX : options.memory);
        try {
            const notes::scope scope(notes_);
            run(update, taken_by, options);
        } catch (const stopped &stop) {
            return end_stopped(stop);
        }
        if (record == nullptr)
            return drop();
        if (notes_.decode_status != ZIDL_OK)
            end_lenient();
        status_name = rib_inspect::status_name(status);
        if (message != nullptr)
            find_all_losses(&notes_, options);
    }

    void run(updatetype_local &update, entry_point taken_by, const rib_explain_options &options)
    {
        switch (taken_by) {
        case entry_point::proto:
            return rib_witnessed_parse_proto_update(take_proto, &update, this);
        case entry_point::opaque:
            return rib_witnessed_parse_opaque_update(take_opaque, &update, this);
        case entry_point::route: {
            rib_route_client client = {this, nullptr, take_route};
            if ((options.without & RIB_WITHOUT_ENCODED_ROUTES) != 0)
                client.encoded_route = nullptr;
            const bool has_client = (options.without & RIB_WITHOUT_ROUTE_CLIENT) == 0;
            return rib_witnessed_parse_route_update(&update, nullptr, nullptr, nullptr, 0,
                                                    has_client ? &client : nullptr);
        }
        case entry_point::grid:
            return rib_witnessed_parse_grid_update(take_grid, &update, this);
        case entry_point::none:
            return;
        }
    }

    // ---- The callbacks: what lies on the stack is kept ----

    static int take_proto(uint32_t, rib_protoid_map *map, void *call)
    {
        auto &self = *static_cast<explained_call *>(call);
        self.deliver(RIB_RECORD_PROTO, self.keep(map));
        return 0;
    }

    static int take_opaque(uint32_t, uint32_t sub_id, rib_opaque_update *opaque, void *call)
    {
        auto &self = *static_cast<explained_call *>(call);
        self.sub_id = sub_id;
        self.deliver(RIB_RECORD_OPAQUE, self.keep(opaque));
        return 0;
    }

    static int take_route(uint32_t, struct rib_routetype_ *route, void *call)
    {
        static_cast<explained_call *>(call)->deliver(RIB_RECORD_ROUTE, route);
        return 0;
    }

    static int take_grid(void *record, void *call, uint32_t tlv_type)
    {
        auto &self = *static_cast<explained_call *>(call);
        if (tlv_type == RIB_TLV_NHID) {
            self.deliver(RIB_RECORD_NHID, self.keep(static_cast<nhid_update_local *>(record)));
            return 0;
        }
        grid_sync_list list = *static_cast<grid_sync_list *>(record);
        list.encap_ids = self.keep(list.encap_ids, list.count);
        list.keys = self.keep(list.keys, list.count);
        self.deliver(RIB_RECORD_GRID, self.keep(&list));
        return 0;
    }

    template <class Record>
    Record *keep(const Record *src, size_t count = 1)
    {
        void *const copy = notes_.memory.own(count * sizeof *src);
        std::memcpy(copy, src, count * sizeof *src);
        return static_cast<Record *>(copy);
    }

    const char *keep(const std::string &text) { return keep(text.c_str(), text.size() + 1); }

    // ---- The ends ----

    void deliver(rib_record_kind kind, const void *made)
    {
        outcome = RIB_DELIVERED;
        record_kind = kind;
        record = made;
        status_name = rib_inspect::status_name(status);
    }

    void end_stopped(const stopped &stop)
    {
        outcome = RIB_STOPPED;
        reason = stop.reason;
        assertion = stop.assertion;
        status_name = rib_inspect::status_name(status);
        if (notes_.last_exit.reason == stop.reason)
            set_place_of_exit();
    }

    // A field that is missing behind a failure to decode is missing because of that.
    void drop()
    {
        const note &exit = notes_.last_exit;
        outcome = RIB_DROPPED;
        reason = exit.reason;
        status = notes_.end_status;
        const bool is_whole_missing = reason == RIB_REASON_missing_field && is_in_outermost(exit.place);
        if (notes_.decode_status != ZIDL_OK && (reason == RIB_REASON_none || is_whole_missing))
            end_undecoded();
        else
            set_place_of_exit();
        status_name = rib_inspect::status_name(status);
    }

    bool is_in_outermost(const void *place) const
    {
        const auto *const begin = static_cast<const uint8_t *>(notes_.message);
        return begin != nullptr && static_cast<size_t>(static_cast<const uint8_t *>(place) - begin) < type_->size;
    }

    void end_undecoded()
    {
        status = notes_.decode_status;
        if (status == ZIDL_ERR_NO_MEMORY) {
            reason = RIB_REASON_no_memory;
            return;
        }
        const walk_result failure = walk({type_, payload_}, [](const walk_event &) {});
        reason = failure.reason;
        set_place({to_string(failure.path), failure.offset});
    }

    void end_lenient()
    {
        status = notes_.decode_status;
        reason = RIB_REASON_lenient_end;
        const walk_result failure = walk({type_, payload_}, [](const walk_event &) {});
        set_place({to_string(failure.path), failure.offset});
        const std::string rest = to_hex(payload_.subspan(failure.offset));
        losses_.push_back({reason, path == nullptr ? "rest" : path, offset, keep(rest), nullptr});
    }

    void set_place_of_exit()
    {
        if (message != nullptr && notes_.message != nullptr)
            return set_place(place_of_exit({type_, payload_, notes_.message, &notes_}));
        const auto *const place = static_cast<const uint8_t *>(notes_.last_exit.place);
        if (place >= payload_.data() && place < payload_.data() + payload_.size())
            offset = static_cast<size_t>(place - payload_.data());
    }

    void set_place(const payload_place &place)
    {
        if (!place.path.empty())
            path = keep(place.path);
        offset = place.offset;
    }

    void find_all_losses(notes *call, const rib_explain_options &options)
    {
        if ((options.without & RIB_WITHOUT_LOSSES) != 0)
            return;
        std::vector<rib_loss> found = find_losses({type_, payload_, notes_.message, call}, notes_.memory);
        found.insert(found.end(), losses_.begin(), losses_.end());
        losses_ = std::move(found);
        losses = losses_.data();
        loss_count = losses_.size();
    }

    notes notes_;
    bytes_view payload_;
    const zidl::message_descriptor *type_ = nullptr;
    std::vector<rib_loss> losses_;
};

template <class Explain>
int32_t explained(rib_explanation **out, Explain explain)
{
    *out = nullptr;
    try {
        auto call = std::make_unique<explained_call>();
        explain(*call);
        if (call->is_out_of_memory())
            return ZIDL_ERR_NO_MEMORY;
        *out = call.release();
        return ZIDL_OK;
    } catch (const std::bad_alloc &) {
        return ZIDL_ERR_NO_MEMORY;
    }
}

constexpr rib_explain_options USUAL = {};

} // namespace

extern "C" const char *rib_outcome_name(enum rib_outcome outcome)
{
    switch (outcome) {
    case RIB_DELIVERED:
        return "delivered";
    case RIB_DROPPED:
        return "dropped";
    case RIB_STOPPED:
        return "stopped";
    case RIB_REFUSED:
        return "refused";
    case RIB_OUTCOME_COUNT:
        break;
    }
    return nullptr;
}

extern "C" int32_t rib_explain_update(const updatetype_local *update, const rib_explain_options *options,
                                      rib_explanation **out)
{
    return explained(
        out, [=](explained_call &call) { call.explain_update(*update, options == nullptr ? USUAL : *options); });
}

extern "C" int32_t rib_explain_message(const char *name, const uint8_t *payload, size_t len,
                                       const rib_explain_options *options, rib_explanation **out)
{
    *out = nullptr;
    const zidl::message_descriptor *const type = zidl::find_message(name);
    if (type == nullptr)
        return RIB_ERR_NO_SUCH_MESSAGE;
    return explained(out, [=](explained_call &call) {
        const rib_explain_options &chosen = options == nullptr ? USUAL : *options;
        const uint32_t code = code_of_message(name);
        if (code == 0 || len > UINT32_MAX)
            return call.explain_message(*type, payload, len, chosen);
        updatetype_local update = {};
        update.tlv_type = code;
        update.stripped = 1;
        update.payload_len = static_cast<uint32_t>(len);
        update.payload = const_cast<uint8_t *>(payload);
        call.explain_update(update, chosen);
    });
}

extern "C" void rib_explanation_free(rib_explanation *explanation)
{
    delete static_cast<explained_call *>(explanation);
}

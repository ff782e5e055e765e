// ribtool replay: hands every update of a capture to the library's entry points and prints what the callbacks get.

#include "tools/ribtool/assertion_guard.hpp"
#include "tools/ribtool/commands.hpp"
#include "tools/ribtool/older_forms.hpp"
#include "tools/ribtool/older_route_client.hpp"
#include "tools/ribtool/progress.hpp"
#include "tools/ribtool/record_json.hpp"
#include "tools/ribtool/replay_summary.hpp"

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>
#include <new>
#include <optional>
#include <string>

namespace ribtool
{

namespace
{

constexpr uint64_t ASSERTIONS_SHOWN = 10;

using steady_clock = std::chrono::steady_clock;

// Where the records go.
class record_sink
{
public:
    explicit record_sink(const replay_options &options)
        : path_(options.records_path == "-" ? "standard output" : options.records_path)
    {
        if (!options.print_records)
            return;
        file_ = options.records_path == "-" ? stdout : std::fopen(options.records_path.c_str(), "w");
        if (file_ == nullptr)
            fail(EXIT_FILE, "{}: cannot create: {}", path_, std::strerror(errno));
    }
    ~record_sink()
    {
        if (file_ != nullptr && file_ != stdout)
            std::fclose(file_);
    }
    record_sink(const record_sink &) = delete;
    record_sink &operator=(const record_sink &) = delete;

    bool enabled() const { return file_ != nullptr; }

    void print(const json &record)
    {
        // Names in records are bytes; what is not UTF-8 in them becomes U+FFFD.
        const std::string line = record.dump(-1, ' ', false, json::error_handler_t::replace) + '\n';
        std::fwrite(line.data(), 1, line.size(), file_);
        check();
    }

    void close()
    {
        if (file_ == nullptr)
            return;
        std::fflush(file_);
        check();
    }

private:
    void check()
    {
        if (std::ferror(file_) != 0)
            fail(EXIT_FILE, "{}: cannot write: {}", path_, std::strerror(errno));
    }

    std::string path_;
    FILE *file_ = nullptr;
};

// One update on its way through the library, seen by the callbacks. Callbacks run below C frames, so no exception
// leaves them: it waits here until the call is over.
struct delivery {
    record_sink *sink = nullptr; // null: nothing is printed
    json line;
    const uint8_t *payload_end = nullptr; // of the older opaque form, whose blocks lie in the payload
    uint64_t callbacks = 0;
    uint64_t routes = 0;
    uint64_t paths = 0;
    steady_clock::duration in_callbacks{};
    std::exception_ptr failed;
};

// Runs `fill`, which adds the callback's arguments to the line, and prints the line.
template <class Fill>
int deliver(delivery &to, Fill fill) noexcept
{
    ++to.callbacks;
    if (to.sink == nullptr)
        return 0;
    const auto started = steady_clock::now();
    try {
        fill(to.line);
        to.sink->print(to.line);
    } catch (...) {
        to.failed = std::current_exception();
    }
    to.in_callbacks += steady_clock::now() - started;
    return 0;
}

int on_proto(uint32_t update_id, rib_protoid_map *map, void *ctx)
{
    return deliver(*static_cast<delivery *>(ctx), [&](json &line) {
        line["update_id"] = update_id;
        line["record"] = to_json(*map);
    });
}

int on_opaque(uint32_t update_id, uint32_t sub_id, rib_opaque_update *opaque, void *ctx)
{
    delivery &to = *static_cast<delivery *>(ctx);
    return deliver(to, [&](json &line) {
        line["update_id"] = update_id;
        line["sub_id"] = sub_id;
        line["record"] = to_json(*opaque, to.payload_end);
    });
}

int deliver_route(delivery &to, uint32_t update_id, const struct rib_routetype_ *route, bool is_older)
{
    ++to.routes;
    to.paths += route == nullptr ? 0 : route->rt_path_count;
    return deliver(to, [&](json &line) {
        line["update_id"] = update_id;
        if (is_older)
            line["released"] = older_route_released();
        line["record"] = route == nullptr ? json() : to_json(*route);
    });
}

int on_route(uint32_t update_id, struct rib_routetype_ *route, void *ctx)
{
    return deliver_route(*static_cast<delivery *>(ctx), update_id, route, false);
}

int on_older_route(uint32_t update_id, struct rib_routetype_ *route, void *ctx)
{
    return deliver_route(*static_cast<delivery *>(ctx), update_id, route, true);
}

int on_grid(void *record, void *ctx, uint32_t tlv_type)
{
    return deliver(*static_cast<delivery *>(ctx), [&](json &line) {
        line["record"] = tlv_type == RIB_TLV_GRID ? to_json(*static_cast<const grid_sync_list *>(record))
                                                  : to_json(*static_cast<const nhid_update_local *>(record));
    });
}

// What a guarded call gets: the update and who waits for it.
struct entry_call {
    updatetype_local update;
    uint16_t code;
    delivery *to;
};

void call_entry_point(void *argument)
{
    entry_call &call = *static_cast<entry_call *>(argument);
    switch (call.code) {
    case RIB_TLV_PROTO:
    case RIB_TLV_OLD_PROTO:
        rib_lib_pvt_parse_proto_update(on_proto, &call.update, call.to);
        break;
    case RIB_TLV_OPAQUE:
    case RIB_TLV_OLD_OPAQUE:
        rib_lib_pvt_parse_opaque_update(on_opaque, &call.update, call.to);
        break;
    case RIB_TLV_ROUTE: {
        rib_route_client client = {call.to, nullptr, on_route};
        rib_lib_pvt_parse_route_update(&call.update, on_older_route, convert_older_route, release_older_route, 0,
                                       &client);
        break;
    }
    case RIB_TLV_OLD_ROUTE:
        rib_lib_pvt_parse_route_update(&call.update, on_older_route, convert_older_route, release_older_route, 0,
                                       call.to);
        break;
    case RIB_TLV_GRID:
    case RIB_TLV_NHID:
        rib_lib_pvt_parse_grid_update(on_grid, &call.update, call.to);
        break;
    default:
        break;
    }
}

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

class replayer
{
public:
    replayer(const replay_options &options, replay_summary &summary)
        : options_(options), sink_(options), summary_(summary)
    {
    }

    void replay(const captured_frame &frame)
    {
        if (options_.forms != replay_forms::stripped)
            replay(frame, update_form::unstripped);
        if (options_.forms != replay_forms::unstripped)
            replay(frame, update_form::stripped);
    }

    void finish() { sink_.close(); }

private:
    void replay(const captured_frame &frame, update_form form)
    {
        const uint16_t code = frame_code(frame.bytes);
        const byte_span payload = byte_span(frame.bytes).subspan(FRAME_HEADER_LEN);
        update_counts &counts = summary_.of(form, code);
        ++counts.updates;
        if (code == RIB_TLV_ROUTE)
            counts.paths_sent += paths_in_route(payload);

        delivery to;
        to.sink = may_print(counts) ? &sink_ : nullptr;
        if (to.sink != nullptr)
            to.line = {{"frame", frame.number}, {"type", code}, {"form", form_name(form)}};

        if (const std::string violation = contract_violation(code, payload); !violation.empty()) {
            ++counts.refused;
            print(to, "refused", violation);
            return;
        }
        deliver_update(frame, form, to, counts);
    }

    void deliver_update(const captured_frame &frame, update_form form, delivery &to, update_counts &counts)
    {
        const byte_span all = frame.bytes;
        const byte_span given = form == update_form::stripped ? all.subspan(FRAME_HEADER_LEN) : all;
        const heap_bytes copy = fresh_copy(given);
        if (frame_code(all) == RIB_TLV_OLD_OPAQUE)
            to.payload_end = copy.get() + given.size();

        entry_call call = {{}, frame_code(all), &to};
        call.update.update_id = static_cast<uint32_t>(frame.number);
        call.update.payload = copy.get();
        if (form == update_form::stripped) {
            call.update.stripped = 1;
            call.update.tlv_type = call.code;
            call.update.payload_len = static_cast<uint32_t>(given.size());
        }
        if (call.code == RIB_TLV_OLD_ROUTE)
            call.update.update_kind = read_be16(all.data() + FRAME_HEADER_LEN + 2);

        const auto started = steady_clock::now();
        const std::optional<failed_assertion> assertion = run_guarded(call_entry_point, &call);
        counts.time += steady_clock::now() - started - to.in_callbacks;
        forget_older_routes();
        if (to.failed)
            std::rethrow_exception(to.failed);

        counts.callbacks += to.callbacks;
        counts.routes += to.routes;
        counts.paths += to.paths;
        if (assertion)
            report(frame, form, *assertion, to, counts);
        else if (to.callbacks == 0)
            ++counts.dropped;
    }

    void report(const captured_frame &frame, update_form form, const failed_assertion &assertion, delivery &to,
                update_counts &counts)
    {
        ++counts.stopped;
        print(to, "assertion",
              {{"expression", assertion.expression},
               {"file", assertion.file},
               {"line", assertion.line},
               {"function", assertion.function}});
        if (++assertions_ > ASSERTIONS_SHOWN)
            return;
        fmt::print(stderr, "ribtool: frame {} (type {}, {}) stops the process: {}:{}: {}: Assertion `{}' failed.{}\n",
                   frame.number, frame_code(frame.bytes), form_name(form), assertion.file, assertion.line,
                   assertion.function, assertion.expression,
                   assertions_ == ASSERTIONS_SHOWN ? " Further ones are counted only." : "");
    }

    void print(delivery &to, const char *member, const json &value)
    {
        if (to.sink == nullptr)
            return;
        to.line[member] = value;
        to.sink->print(to.line);
    }

    // Asked before the update is counted anywhere but in `updates`.
    bool may_print(const update_counts &counts) const
    {
        const uint64_t printed = counts.callbacks + counts.refused + counts.stopped;
        return sink_.enabled() && (!options_.sample || printed < *options_.sample);
    }

    const replay_options &options_;
    record_sink sink_;
    replay_summary &summary_;
    uint64_t assertions_ = 0;
};

void require_known_code(const capture_reader &reader, uint16_t code)
{
    if (code_index(code) < KNOWN_CODE_COUNT)
        return;
    std::string known;
    for (const code_name &each : KNOWN_CODES)
        known += fmt::format("{}{}", known.empty() ? "" : ", ", each.code);
    fail(EXIT_MALFORMED, "{}: unknown type code {} (known: {}; {} is a delimiter)", reader.place(), code, known,
         DELIMITER_CODE);
}

} // namespace

exit_code run_replay(const replay_options &options)
{
    capture_reader reader(options.input);
    if (options.print_records)
        require_other_file(options.input, options.records_path);
    replay_summary summary;
    replayer each(options, summary);
    progress_bar progress("replay", reader.size());
    captured_frame frame;
    uint64_t updates = 0;
    while ((!options.limit || updates < *options.limit) && reader.next(frame)) {
        const uint16_t code = frame_code(frame.bytes);
        if (code == DELIMITER_CODE) {
            summary.add_delimiter();
            continue;
        }
        require_known_code(reader, code);
        each.replay(frame);
        progress.show(reader.position(), ++updates);
    }
    progress.clear();
    each.finish();
    summary.print(options.input, reader.format(), updates);
    return summary.all_went_through() ? EXIT_DONE : EXIT_UPDATES_FAILED;
}

} // namespace ribtool

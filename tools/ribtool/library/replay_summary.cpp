#include "tools/ribtool/library/replay_summary.hpp"

#include "tools/ribtool/library/update_types.hpp"
#include "tools/terminal/terminal.hpp"

#include <fmt/format.h>

namespace ribtool
{

namespace
{

constexpr update_form FORMS[] = {update_form::unstripped, update_form::stripped};

double nanoseconds_each(const update_counts &counts)
{
    const double nanoseconds = std::chrono::duration<double, std::nano>(counts.time).count();
    const uint64_t handed_over = counts.updates - counts.refused;
    return handed_over == 0 ? 0 : nanoseconds / static_cast<double>(handed_over);
}

void print_row(std::string_view form, std::string_view code, std::string_view name, const update_counts &counts)
{
    terminal::say("  {:<10} {:>4}  {:<20} {:>10} {:>10} {:>8} {:>8} {:>8} {:>10.0f}\n", form, code, name,
                  counts.updates, counts.callbacks, counts.dropped, counts.refused, counts.stopped,
                  nanoseconds_each(counts));
}

} // namespace

void update_counts::add(const update_counts &other)
{
    updates += other.updates;
    callbacks += other.callbacks;
    dropped += other.dropped;
    refused += other.refused;
    stopped += other.stopped;
    routes += other.routes;
    paths_sent += other.paths_sent;
    paths += other.paths;
    time += other.time;
}

update_counts &replay_summary::of(update_form form, uint16_t code)
{
    return counts_[static_cast<size_t>(form)][code];
}

update_counts replay_summary::total(update_form form) const
{
    update_counts sum;
    for (const auto &each : counts_[static_cast<size_t>(form)])
        sum.add(each.second);
    return sum;
}

bool replay_summary::all_went_through() const
{
    uint64_t failed = 0;
    for (const update_form form : FORMS) {
        const update_counts sum = total(form);
        failed += sum.refused + sum.stopped;
    }
    return failed == 0;
}

void replay_summary::print(const std::string &input, std::string_view kind, uint64_t updates) const
{
    terminal::say("{}: {}, {} updates", terminal::shown_on(stderr, input), kind, updates);
    if (delimiters_ != 0)
        terminal::say(", {} delimiters skipped", delimiters_);
    terminal::say("\n");
    if (updates == 0)
        return;
    print_table();
    print_totals();
}

void replay_summary::print_table() const
{
    terminal::say("  {:<10} {:>4}  {:<20} {:>10} {:>10} {:>8} {:>8} {:>8} {:>10}\n", "form", "code", "update",
                  "updates", "callbacks", "dropped", "refused", "stopped", "ns/update");
    for (const update_form form : FORMS) {
        if (total(form).updates == 0)
            continue;
        for (const auto &[code, counts] : counts_[static_cast<size_t>(form)])
            print_row(form_name(form), std::to_string(code), find_update_type(code)->name, counts);
        print_row(form_name(form), "", "all", total(form));
    }
}

void replay_summary::print_totals() const
{
    update_counts sum;
    update_counts encoded; // routes
    for (const update_form form : FORMS) {
        sum.add(total(form));
        if (const auto &counts = counts_[static_cast<size_t>(form)]; counts.contains(RIB_TLV_ROUTE))
            encoded.add(counts.at(RIB_TLV_ROUTE));
    }
    terminal::say("  {} routes with {} paths; {} of {} paths of encoded routes not converted\n", sum.routes, sum.paths,
                  encoded.paths_sent - encoded.paths, encoded.paths_sent);
    terminal::say("  {} callbacks, {} silent drops, {} refused, {} stopped by an assertion\n", sum.callbacks,
                  sum.dropped, sum.refused, sum.stopped);
}

namespace
{

// Reads a varint at `at` and moves past it; false when it runs past the end.
bool read_varint(byte_span bytes, size_t &at, uint64_t &value)
{
    value = 0;
    for (unsigned shift = 0; at < bytes.size(); shift += 7) {
        const uint8_t byte = bytes[at++];
        if (shift < 64)
            value |= uint64_t{byte & 0x7fu} << shift;
        if (byte < 0x80)
            return true;
    }
    return false;
}

// Moves past a value of the wire type; false when it runs past the end or cannot be skipped.
bool skip_value(byte_span bytes, size_t &at, uint64_t wire_type)
{
    uint64_t len = 0;
    switch (wire_type) {
    case 0:
        return read_varint(bytes, at, len);
    case 1:
        len = 8;
        break;
    case 2:
        if (!read_varint(bytes, at, len))
            return false;
        break;
    case 5:
        len = 4;
        break;
    default:
        return false;
    }
    if (len > bytes.size() - at)
        return false;
    at += static_cast<size_t>(len);
    return true;
}

} // namespace

uint64_t paths_in_route(byte_span payload)
{
    constexpr uint64_t PATHS_TAG = 26 << 3 | 2;
    uint64_t paths = 0;
    uint64_t tag = 0;
    size_t at = 0;
    while (at < payload.size() && read_varint(payload, at, tag)) {
        if (tag == PATHS_TAG)
            ++paths;
        if (!skip_value(payload, at, tag & 7))
            break;
    }
    return paths;
}

} // namespace ribtool

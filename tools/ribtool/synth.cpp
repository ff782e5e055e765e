// ribtool synth: writes a stream of generated updates.

#include "tools/ribtool/commands.hpp"
#include "tools/ribtool/encode.hpp"
#include "tools/ribtool/generate/random_grids.hpp"
#include "tools/ribtool/generate/random_routes.hpp"
#include "tools/ribtool/generate/random_updates.hpp"
#include "tools/ribtool/generate/table_source.hpp"
#include "tools/ribtool/generate/worst_case.hpp"
#include "tools/ribtool/progress.hpp"

#include <algorithm>

namespace ribtool
{

namespace
{

constexpr uint64_t MICROSECONDS_PER_UPDATE = 10;

class update_stream
{
public:
    update_stream(profile kind, uint64_t seed) : kind_(kind), random_(seed) {}

    update next()
    {
        memory_.reset();
        const uint64_t index = made_++;
        switch (kind_) {
        case profile::proto_opaque:
            return proto_or_opaque();
        case profile::full_table:
            return table_route_update();
        case profile::ecmp:
            return ecmp_route();
        case profile::grid:
            return grid(1026);
        case profile::nhid:
            return random_nhid(random_);
        case profile::mixed:
            return mixed();
        case profile::worst_case:
            return worst_case_update(static_cast<uint32_t>(index % worst_case_kinds), random_, memory_);
        }
        throw std::logic_error("a profile without updates");
    }

private:
    update proto_or_opaque()
    {
        switch (random_.below(4)) {
        case 0:
            return random_proto(random_, memory_);
        case 1:
            return random_older_proto(random_);
        case 2:
            return random_opaque(random_, memory_);
        default:
            return random_older_opaque(random_);
        }
    }

    update table_route_update()
    {
        const table_route route = table_.draw(random_);
        return {RIB_TLV_ROUTE, encoded(route_message(route, memory_))};
    }

    // Few paths are usual and many are not; some routes have more than a client takes.
    update ecmp_route()
    {
        constexpr uint32_t MOST[] = {8, 8, 16, 16, 32, 64, 128, 256, 512, 1200};
        const uint32_t most = MOST[random_.below(static_cast<uint32_t>(std::size(MOST)))];
        const uint32_t path_count = random_.between(2, most);
        return {RIB_TLV_ROUTE, encoded(random_ecmp_route(random_, memory_, path_count))};
    }

    update grid(uint32_t most_keys)
    {
        constexpr uint32_t MOST_USUAL_KEYS = 128; // more do not fit into a frame unless they are compact
        const bool multi_key = !random_.one_in(8);
        // Each magnitude is as likely as any other, and the most that there can be comes up.
        uint32_t key_count = 1;
        if (multi_key)
            key_count = random_.one_in(16) ? most_keys : random_.between(1, 1u << random_.below(11));
        key_count = std::min(key_count, most_keys);
        const extent size = key_count > MOST_USUAL_KEYS ? extent::small : extent::usual;
        return {RIB_TLV_GRID, encoded(random_grid(random_, memory_, key_count, multi_key, size))};
    }

    // All eight type codes, routes above all.
    update mixed()
    {
        const uint32_t draw = random_.below(100);
        if (draw < 35)
            return single_path_route();
        if (draw < 39)
            return table_route_update();
        if (draw < 65)
            return {RIB_TLV_ROUTE, encoded(random_service_route(random_, memory_))};
        if (draw < 70)
            return random_older_route(random_);
        if (draw < 90)
            return proto_or_opaque();
        if (draw < 96)
            return random_nhid(random_);
        return grid(16);
    }

    update single_path_route()
    {
        const table_route route = table_.draw_single_path(random_);
        return {RIB_TLV_ROUTE, encoded(route_message(route, memory_))};
    }

    profile kind_;
    random_source random_;
    scratch memory_;
    table_source table_;
    uint64_t made_ = 0;
};

} // namespace

uint64_t default_updates(profile kind)
{
    switch (kind) {
    case profile::worst_case:
        return 4 * uint64_t{worst_case_kinds};
    case profile::grid:
        return 1000;
    case profile::ecmp:
        return 10000;
    default:
        return 100000;
    }
}

exit_code run_synth(const synth_options &options)
{
    const uint64_t count = options.updates.value_or(default_updates(options.kind));
    update_stream stream(options.kind, options.seed);
    capture_writer writer(options.output, options.format);
    progress_bar progress("synth", count);
    for (uint64_t index = 0; index < count; ++index) {
        const update made = stream.next();
        writer.write(index * MICROSECONDS_PER_UPDATE, framed(made.code, made.payload));
        progress.show(index + 1, index + 1);
    }
    writer.close();
    return EXIT_DONE;
}

} // namespace ribtool

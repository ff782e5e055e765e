#include "bench/client_updates.hpp"
#include "bench/entry_points.hpp"
#include "bench/interleaved/cell.hpp"

#include <memory>
#include <stdexcept>
#include <utility>

namespace bench
{
namespace
{

// Of a kind with many updates the first.
constexpr size_t update_limit = 16'384;

entry_points entries_of(const loaded_library &library)
{
    entry_points entries;
    entries.proto = library.function<decltype(entries.proto)>("rib_lib_pvt_parse_proto_update");
    entries.opaque = library.function<decltype(entries.opaque)>("rib_lib_pvt_parse_opaque_update");
    entries.route = library.function<decltype(entries.route)>("rib_lib_pvt_parse_route_update");
    entries.grid = library.function<decltype(entries.grid)>("rib_lib_pvt_parse_grid_update");
    return entries;
}

// Made once for all loads of the builds.
std::shared_ptr<arrivals> updates_of(std::string_view kind, form how)
{
    static std::pair<std::string_view, form> newest_is;
    static std::shared_ptr<arrivals> newest;
    if (newest == nullptr || newest_is != std::pair(kind, how)) {
        client_updates made = make_client_updates(kind);
        if (made.payloads.size() > update_limit)
            made.payloads.resize(update_limit);
        newest = std::make_shared<arrivals>(made, how);
        newest_is = {kind, how};
    }
    return newest;
}

cell make_cell(std::string_view kind, form how)
{
    const std::string operation = how == form::framed ? "entry_framed/" : "entry_stripped/";
    return {operation + std::string(kind),
            [kind, how](const loaded_library &our_library, const loaded_library &their_library) {
                const std::shared_ptr<arrivals> updates = updates_of(kind, how);
                const entry_points ours = entries_of(our_library);
                const entry_points theirs = entries_of(their_library);
                const size_t delivered = updates->parse(ours, 0, updates->count());
                if (delivered == 0 || delivered != updates->parse(theirs, 0, updates->count()))
                    throw std::runtime_error("the builds deliver different updates of the kind " + std::string(kind));
                return prepared_cell{
                    updates->count(),
                    [updates, ours](size_t first, size_t count) { updates->parse(ours, first, count); },
                    [updates, theirs](size_t first, size_t count) { updates->parse(theirs, first, count); }};
            }};
}

} // namespace

std::vector<cell> entry_cells()
{
    std::vector<cell> cells;
    for (const auto &kinds : {client_update_kinds(), older_update_kinds()}) {
        for (const std::string_view kind : kinds) {
            cells.push_back(make_cell(kind, form::framed));
            cells.push_back(make_cell(kind, form::stripped));
        }
    }
    return cells;
}

} // namespace bench

#include "bench/client_updates.hpp"
#include "bench/interleaved/cell.hpp"
#include "ip/rib/lib/src/rib_lib.h"

#include <cstring>
#include <memory>
#include <stdexcept>

namespace bench
{
namespace
{

constexpr size_t header_size = 8;
constexpr uint32_t path_counts[] = {1, 4, 64};
constexpr size_t copies_of_a_route = 64;

uint64_t delivered = 0;

int on_proto(uint32_t, rib_protoid_map *, void *)
{
    ++delivered;
    return 0;
}

int on_opaque(uint32_t, uint32_t, rib_opaque_update *, void *)
{
    ++delivered;
    return 0;
}

int on_route(uint32_t, struct rib_routetype_ *, void *)
{
    ++delivered;
    return 0;
}

int on_grid(void *, void *, uint32_t)
{
    ++delivered;
    return 0;
}

rib_route_client route_client = {nullptr, nullptr, on_route};

// The entry points of one library.
struct entry_points {
    explicit entry_points(const loaded_library &library)
        : proto(library.function<decltype(proto)>("rib_lib_pvt_parse_proto_update")),
          opaque(library.function<decltype(opaque)>("rib_lib_pvt_parse_opaque_update")),
          route(library.function<decltype(route)>("rib_lib_pvt_parse_route_update")),
          grid(library.function<decltype(grid)>("rib_lib_pvt_parse_grid_update"))
    {
    }

    void parse(updatetype_local &update, uint16_t code) const
    {
        switch (code) {
        case RIB_TLV_PROTO:
            return proto(on_proto, &update, nullptr);
        case RIB_TLV_OPAQUE:
            return opaque(on_opaque, &update, nullptr);
        case RIB_TLV_ROUTE:
            return route(&update, nullptr, nullptr, nullptr, 0, &route_client);
        default:
            return grid(on_grid, &update, nullptr);
        }
    }

    decltype(&rib_lib_pvt_parse_proto_update) proto;
    decltype(&rib_lib_pvt_parse_opaque_update) opaque;
    decltype(&rib_lib_pvt_parse_route_update) route;
    decltype(&rib_lib_pvt_parse_grid_update) grid;
};

// Updates as they arrive: a header in network byte order, the payload right behind it.
struct framed_updates {
    explicit framed_updates(const client_updates &updates) : code(updates.code)
    {
        for (const bytes &payload : updates.payloads) {
            const uint16_t fields[] = {code, static_cast<uint16_t>(payload.size())};
            bytes frame(header_size - sizeof fields);
            for (const uint16_t field : fields) {
                frame.push_back(static_cast<uint8_t>(field >> 8));
                frame.push_back(static_cast<uint8_t>(field));
            }
            frame.insert(frame.end(), payload.begin(), payload.end());
            frames.push_back(std::move(frame));
        }
    }

    uint16_t code;
    std::vector<bytes> frames;
};

range_function parse_framed(const entry_points &entries, const std::shared_ptr<framed_updates> &updates)
{
    return [entries, updates](size_t first, size_t count) {
        for (size_t i = first; i < first + count; ++i) {
            uint8_t *const frame = updates->frames[i].data();
            uint8_t header[header_size];
            std::memcpy(header, frame, header_size);
            updatetype_local update = {};
            update.payload = frame;
            entries.parse(update, updates->code);
            std::memcpy(frame, header, header_size); // which stripping has converted in place
        }
    };
}

range_function parse_stripped(const entry_points &entries, const std::shared_ptr<framed_updates> &updates)
{
    return [entries, updates](size_t first, size_t count) {
        for (size_t i = first; i < first + count; ++i) {
            bytes &frame = updates->frames[i];
            updatetype_local update = {};
            update.tlv_type = updates->code;
            update.stripped = 1;
            update.payload_len = static_cast<uint32_t>(frame.size() - header_size);
            update.payload = frame.data() + header_size;
            entries.parse(update, updates->code);
        }
    };
}

uint64_t count_delivered(const range_function &parse, size_t updates)
{
    delivered = 0;
    parse(0, updates);
    return delivered;
}

using parse_function = range_function (*)(const entry_points &, const std::shared_ptr<framed_updates> &);

cell make_cell(const std::string &name, const std::function<client_updates()> &make, parse_function parse)
{
    return {name, [name, make, parse](const loaded_library &ours, const loaded_library &theirs) {
                const auto updates = std::make_shared<framed_updates>(make());
                const prepared_cell made{updates->frames.size(), parse(entry_points(ours), updates),
                                         parse(entry_points(theirs), updates)};
                const uint64_t by_ours = count_delivered(made.ours, made.messages);
                if (by_ours == 0 || by_ours != count_delivered(made.theirs, made.messages))
                    throw std::runtime_error("the builds deliver different updates: " + name);
                return made;
            }};
}

void add_cells(std::vector<cell> &cells, const std::string &updates, const std::function<client_updates()> &make)
{
    cells.push_back(make_cell("entry_framed/" + updates, make, parse_framed));
    cells.push_back(make_cell("entry_stripped/" + updates, make, parse_stripped));
}

} // namespace

std::vector<cell> entry_cells()
{
    std::vector<cell> cells;
    for (const std::string_view kind : client_update_kinds())
        add_cells(cells, std::string(kind), [kind] { return make_client_updates(kind); });
    for (const uint32_t paths : path_counts) {
        const auto copies = [](bytes route) {
            return client_updates{RIB_TLV_ROUTE, std::vector<bytes>(copies_of_a_route, route)};
        };
        add_cells(cells, "sparse_route_" + std::to_string(paths), [=] { return copies(make_client_route(paths)); });
        add_cells(cells, "rich_route_" + std::to_string(paths), [=] { return copies(make_convertible_route(paths)); });
    }
    return cells;
}

} // namespace bench

/* A client in C++: an object that updates reach through lambdas. It takes routes, opaque updates and next-hop IDs, keeps the routes,
 * and drops whatever a peer makes up. */

#include <rib.hpp>

#include <cstdio>
#include <cstring>
#include <map>
#include <utility>
#include <vector>

#include "expect.h"
#include "rubbish.h"

namespace
{

class client
{
public:
    // What the code promises is for the entry points to check. Codes that this client does not serve are dropped here.
    void take(zidl::span<uint8_t> frame)
    {
        const rib::update update(frame);
        switch (update.code()) {
        case RIB_TLV_ROUTE:
            count(keep_route(frame.without_first(RIB_FRAME_HEADER_LEN).first(update.payload_len())));
            return;
        case RIB_TLV_OPAQUE:
            count(rib::parse_opaque(update, [this](const rib_opaque_update &opaque) { on_opaque(opaque); }));
            return;
        case RIB_TLV_NHID:
            count(rib::parse_grid(update,
                                  [this](const nhid_update_local &hop) { nhids_[hop.update_value_1] = hop.nhid; }));
            return;
        default:
            dropped_++;
        }
    }

    const std::map<uint32_t, rib::route_owner> &routes() const { return routes_; }
    size_t opaque_bytes() const { return opaque_bytes_; }
    size_t nhids() const { return nhids_.size(); }
    unsigned dropped() const { return dropped_; }

private:
    void count(bool taken) { dropped_ += taken ? 0 : 1; }

    // The record of a callback is valid only there; one of its own is for keeping.
    bool keep_route(zidl::bytes payload)
    {
        rib::route_owner route;
        if (rib::decode_route(payload, route) != ZERRNO_OK || route->rt_family != RIB_FAMILY_IPV4)
            return false;
        uint32_t dest;
        std::memcpy(&dest, route->rt_dest, sizeof dest);
        std::printf("%08x/%u\n", dest, route->rt_prefix_len);
        for (const rib_path_entry &path : rib::paths(*route))
            std::printf("  path %u: %zu labels\n", path.pe_value_1, rib::labels(path).size());
        routes_[dest] = std::move(route);
        return true;
    }

    void on_opaque(const rib_opaque_update &opaque) { opaque_bytes_ += rib::first_block(opaque).size(); }

    std::map<uint32_t, rib::route_owner> routes_;
    std::map<uint32_t, uint64_t> nhids_;
    size_t opaque_bytes_ = 0;
    unsigned dropped_ = 0;
};

template <class Message>
std::vector<uint8_t> framed(uint16_t code, const Message &msg)
{
    std::vector<uint8_t> frame(RIB_FRAME_HEADER_LEN);
    msg.append_to(frame);
    expect(rib_frame_put_header(frame.data(), code, frame.size() - RIB_FRAME_HEADER_LEN), "the message fits a frame");
    return frame;
}

std::vector<uint8_t> route_update()
{
    static const uint32_t labels[] = {16001};
    zidl::record<zidl_rib_path> path[1];
    path[0].set_path_value_1(1).set_path_values_9(labels);
    zidl::record<zidl_rib_route> route;
    route.edit_route_prefix().set_prefix_len(24).edit_address().set_family(1).set_ipv4(0xC0000200);
    route.set_paths(path);
    return framed(RIB_TLV_ROUTE, route);
}

} // namespace

int main()
{
    client made;
    std::vector<uint8_t> route = route_update();
    made.take(route);
    expect(made.routes().size() == 1 && rib::paths(*made.routes().begin()->second).size() == 1, "the route is kept");

    const uint8_t block[] = {1, 2, 3};
    std::vector<uint8_t> opaque = framed(RIB_TLV_OPAQUE, zidl::record<zidl_ip_rib_opaque>().set_first_block(block));
    made.take(opaque);
    expect(made.opaque_bytes() == 3, "the opaque update arrived");

    std::vector<uint8_t> hop =
        framed(RIB_TLV_NHID, zidl::record<zidl_rib_nhid_update>().set_nhid_update_value_1(1).set_nhid(7));
    made.take(hop);
    expect(made.nhids() == 1, "the next hop arrived");

    expect(made.dropped() == 0, "nothing has been dropped");
    std::vector<uint8_t> cut = route_update();
    made.take({cut.data(), cut.size() - 1});
    expect(made.dropped() == 1, "a frame that is cut off is no update");
    send_rubbish(
        [](uint8_t *frame, void *ctx) {
            static_cast<client *>(ctx)->take({frame, RIB_FRAME_HEADER_LEN + rib_frame_payload_len(frame)});
        },
        &made);
    expect(made.routes().size() == 1, "rubbish brings no route, and stops nothing");
    return 0;
}

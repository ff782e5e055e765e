// What few routes have: label entries, an l2 block, an AFT ID and side blocks.

#ifndef IP_RIB_LIB_SRC_ROUTE_EXTRAS_HPP
#define IP_RIB_LIB_SRC_ROUTE_EXTRAS_HPP

#include "ip/rib/lib/src/rib_lib.h"
#include "messages/rib_common.h"

namespace rib_client
{

inline bool has_extras(const zidl_rib_route &msg)
{
    return zidl_rib_route_has_algo_labels(&msg) || zidl_rib_route_has_route_l2_info(&msg) ||
           zidl_rib_route_has_route_aft_id(&msg) || zidl_rib_route_has_client_advertisement(&msg) ||
           zidl_rib_route_has_addr_generic_attrs(&msg) || zidl_rib_route_has_generic_attrs_29(&msg) ||
           zidl_rib_route_has_generic_attrs_30(&msg) || zidl_rib_route_has_generic_attrs_31(&msg) ||
           zidl_rib_route_has_generic_attrs_32(&msg) || zidl_rib_route_has_generic_attrs_33(&msg);
}

// Out of line, so that a route without extras does not pay for them. The header is filled before: the size of attributes
// depends on the family.
void unpack_extras(const zidl_rib_route &msg, struct rib_routetype_ &route);

} // namespace rib_client

#endif

/* Builds a protocol update, frames it, and has the client library deliver it. */
#include "rib.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static int print_map(uint32_t update_id, rib_protoid_map *map, void *ctx)
{
    printf("%u %u %s\n", (unsigned)update_id, (unsigned)map->proto_id, map->proto_name);
    ++*(int *)ctx;
    return 0;
}

int main(void)
{
    uint8_t frame[8 + 64] = {0};
    zidl_ip_rib_proto_update msg = {0};
    updatetype_local update = {0};
    int calls = 0;
    size_t len;

    zidl_ip_rib_proto_update_set_proto_id(&msg, 89);
    zidl_ip_rib_proto_update_set_proto_name(&msg, "ospf");
    len = zidl_ip_rib_proto_update_encode_ext(&msg, frame + 8, sizeof frame - 8, NULL, NULL, 0);
    frame[5] = 47; /* network byte order: type, then payload length */
    frame[7] = (uint8_t)len;

    update.update_id = 7;
    update.payload = frame;
    rib_lib_pvt_parse_proto_update(print_map, &update, &calls);
    if (strcmp(rib_version(), RIB_VERSION_STRING) != 0 || strcmp(zidl_status_name(ZIDL_OK), "ZIDL_OK") != 0)
        return EXIT_FAILURE;
    return calls == 1 ? EXIT_SUCCESS : EXIT_FAILURE;
}

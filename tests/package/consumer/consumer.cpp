// Encodes a protocol update and reads it back, from C++.
#include "rib.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace
{

void *allocate(size_t size, void *)
{
    return std::malloc(size);
}

void release(void *ptr, void *)
{
    std::free(ptr);
}

} // namespace

int main()
{
    const char name[] = "bgp";
    zidl_ip_rib_proto_update sent{};
    zidl_ip_rib_proto_update_set_proto_id(&sent, 65537);
    zidl_ip_rib_proto_update_set_proto_name(&sent, name);

    std::vector<uint8_t> wire(zidl_ip_rib_proto_update_encode_ext(&sent, nullptr, 0, nullptr, nullptr, 0));
    zidl_ip_rib_proto_update_encode_ext(&sent, wire.data(), wire.size(), nullptr, nullptr, 0);

    zidl_ip_rib_proto_update received{};
    if (zidl_ip_rib_proto_update_decode_ext(&received, wire.data(), wire.size(), allocate, nullptr, 0) != ZIDL_OK)
        return EXIT_FAILURE;
    std::printf("%u %s\n", received.proto_id, received.proto_name);
    const bool same = received.proto_id == 65537 && std::strcmp(received.proto_name, name) == 0;
    zidl_ip_rib_proto_update_free_ext(&received, release, nullptr, 0);
    return same ? EXIT_SUCCESS : EXIT_FAILURE;
}

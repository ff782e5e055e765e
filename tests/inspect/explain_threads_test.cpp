// Updates are explained on several threads at once, each with its own end; built a second time under the thread sanitizer.

#include "tests/inspect/explain_support.hpp"

#include <thread>

namespace
{

using namespace rib_test;

TEST(explain_threads, each_thread_has_its_own_notes)
{
    const bytes family_1 = {0x0A, 0x06, 0x0A, 0x04,
                            0x08, 0x01, 0x10, 0x07}; // 1 route_prefix: 1 address: 1 family, 2 ipv4
    const bytes family_7 = {0x0A, 0x06, 0x0A, 0x04, 0x08, 0x07, 0x10, 0x07};
    const bytes without_id = {0x18, 0x05}; // 3 proto_value, and no proto_id
    const auto repeat = [](uint32_t code, const bytes &payload, const std::string &expected) {
        for (int i = 0; i < 200; i++) {
            const auto why = explain(code, payload);
            ASSERT_EQ(std::string(rib_outcome_name(why->outcome)) + " " + place(*why), expected);
        }
    };
    std::thread delivered([&] { repeat(RIB_TLV_ROUTE, family_1, "delivered none"); });
    std::thread dropped([&] { repeat(RIB_TLV_ROUTE, family_7, "dropped bad_family route_prefix.address.family +5"); });
    std::thread stopped([&] { repeat(RIB_TLV_PROTO, without_id, "stopped missing_proto_id proto_id +0"); });
    delivered.join();
    dropped.join();
    stopped.join();
}

} // namespace

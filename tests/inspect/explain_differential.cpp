// The inspector against the library: random updates of every code, whole and damaged, framed and stripped.
//
//     inspect_explain_differential [--seed=N] [--updates=N]
//
// Prints what was covered. Exits with 1 when anything differs (the update is printed in hex), and when one kind of outcome
// never came up.

#include "messages/descriptors.hpp"
#include "tests/client/random_update.hpp"
#include "tests/inspect/explain_check.hpp"
#include "tests/messages/exhaustive.hpp"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>

using namespace rib_test;

namespace
{

constexpr uint32_t UNKNOWN_CODE = 52;

struct covered_code {
    uint32_t code;
    const char *message; // null: an older form
};

constexpr size_t ENCODED_CODES = 6; // the first of them

constexpr covered_code CODES[] = {
    {RIB_TLV_ROUTE, "rib_route"},      {RIB_TLV_ROUTE, "rib_route"},      {RIB_TLV_GRID, "rib_grid_sync_list"},
    {RIB_TLV_NHID, "rib_nhid_update"}, {RIB_TLV_OPAQUE, "ip_rib_opaque"}, {RIB_TLV_PROTO, "ip_rib_proto_update"},
    {RIB_TLV_OLD_OPAQUE, nullptr},     {RIB_TLV_OLD_PROTO, nullptr},      {RIB_TLV_OLD_ROUTE, nullptr},
};

bytes older_payload(random_source &random, uint32_t code)
{
    bytes payload(code == RIB_TLV_OLD_PROTO ? 88 + random.below(10) : random.below(80));
    for (uint8_t &byte : payload)
        byte = static_cast<uint8_t>(random.one_in(2) ? 0 : random.below(256));
    // Lengths that mostly fit.
    if (code == RIB_TLV_OLD_OPAQUE && payload.size() >= 24 && !random.one_in(4)) {
        payload[8] = payload[16] = payload[17] = payload[18] = 0;
        payload[9] = static_cast<uint8_t>(random.below(payload.size() - 23));
        payload[19] = static_cast<uint8_t>(random.below(payload.size() - 23));
    }
    return payload;
}

update_case random_case(random_source &random)
{
    const covered_code &chosen = CODES[random.below(std::size(CODES))];
    update_case update = {};
    update.code = update.entry_code = chosen.code;
    update.payload = chosen.message == nullptr ? older_payload(random, chosen.code)
                                               : random_message(random, *zidl::find_message(chosen.message));
    if (random.one_in(3))
        update.payload = mutated(random, update.payload);
    if (random.one_in(50))
        update.entry_code = random.one_in(4) ? UNKNOWN_CODE : CODES[random.below(std::size(CODES))].code;
    if (random.one_in(10))
        update.without = static_cast<uint32_t>(random.below(8));
    return update;
}

void print(const update_case &update, const std::string &difference)
{
    std::printf("%s\n  code %u by %u, %s, without %u:", difference.c_str(), update.code, update.entry_code,
                update.framed ? "framed" : "stripped", update.without);
    for (const uint8_t byte : update.payload)
        std::printf(" %02X", static_cast<unsigned>(byte));
    std::printf("\n");
}

uint64_t number(const char *argument, const char *name, uint64_t usual)
{
    const size_t len = std::strlen(name);
    return std::strncmp(argument, name, len) == 0 ? std::strtoull(argument + len, nullptr, 10) : usual;
}

} // namespace

int main(int argc, char **argv)
{
    uint64_t seed = 1;
    uint64_t updates = exhaustive() ? 10'000'000 : 8'000;
    for (int i = 1; i < argc; i++) {
        seed = number(argv[i], "--seed=", seed);
        updates = number(argv[i], "--updates=", updates);
    }
    std::printf("--seed=%llu --updates=%llu\n", static_cast<unsigned long long>(seed),
                static_cast<unsigned long long>(updates));
    random_source random(seed);
    std::map<std::string, uint64_t> counts;
    int failures = 0;
    for (uint64_t i = 0; i < updates && failures < 5; i++) {
        update_case update = random_case(random);
        for (const bool framed : {false, true}) {
            if (framed && update.payload.size() > 65535)
                continue;
            update.framed = framed;
            rib_outcome outcome = RIB_OUTCOME_COUNT;
            const std::string difference = explain_difference(update, outcome);
            if (!difference.empty()) {
                print(update, difference);
                failures++;
                break;
            }
            counts["code " + std::to_string(update.code) + " " + rib_outcome_name(outcome)]++;
        }
    }
    for (uint64_t i = 0; i < updates / 40 && failures < 5; i++) {
        const covered_code &chosen = CODES[random.below(ENCODED_CODES)];
        update_case update = {};
        update.code = update.entry_code = chosen.code;
        update.payload = random_message(random, *zidl::find_message(chosen.message));
        if (update.payload.size() > 2000)
            continue;
        size_t values = 40;
        const std::string difference = loss_difference(update.code, update.payload, values);
        counts["values with their losses"] += 40 - values;
        if (!difference.empty()) {
            print(update, difference);
            failures++;
        }
    }
    for (const auto &[what, times] : counts)
        std::printf("%10llu %s\n", static_cast<unsigned long long>(times), what.c_str());
    for (const char *const expected :
         {"code 51 delivered",        "code 51 dropped",   "code 51 stopped", "code 46 delivered", "code 46 dropped",
          "code 46 stopped",          "code 47 delivered", "code 47 dropped", "code 47 stopped",   "code 49 delivered",
          "code 49 dropped",          "code 50 delivered", "code 50 dropped", "code 37 delivered", "code 37 dropped",
          "values with their losses", "code 38 delivered", "code 38 refused", "code 3 dropped",    "code 3 refused"}) {
        if (counts[expected] == 0) {
            std::printf("never came up: %s\n", expected);
            failures++;
        }
    }
    return failures == 0 ? 0 : 1;
}

// make_seeds DIR: writes a first corpus for every fuzzer, made of the sample records of every message type.

#include "inspect/formats/message_json.hpp"
#include "inspect/formats/message_text.hpp"
#include "messages/descriptors.hpp"
#include "tests/messages/sample_records.hpp"

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

namespace
{

using bytes = std::vector<uint8_t>;
namespace fs = std::filesystem;

void write_seed(const fs::path &path, const bytes &head, const bytes &contents)
{
    fs::create_directories(path.parent_path());
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char *>(head.data()), static_cast<std::streamsize>(head.size()));
    file.write(reinterpret_cast<const char *>(contents.data()), static_cast<std::streamsize>(contents.size()));
}

bytes encoded_sample(const zidl::message_descriptor &type, sample which, test_arena &memory)
{
    memory.reset();
    bytes record(type.size);
    fill_sample(type, record.data(), which, memory);
    bytes encoded(type.encode(record.data(), nullptr, 0, nullptr, nullptr, 0));
    type.encode(record.data(), encoded.data(), encoded.size(), nullptr, nullptr, 0);
    return encoded;
}

// The messages that entry points decode, and the first byte that makes the fuzzer's update of them: stripped, framed.
struct entry_seed {
    const char *type;
    const char *fuzzer;
    uint8_t code_index;
    uint8_t explain_index; // the first byte for fuzz_explain
};
constexpr entry_seed entry_seeds[] = {
    {"ip_rib_proto_update", "fuzz_proto_update", 0, 2}, {"ip_rib_opaque", "fuzz_opaque_update", 0, 4},
    {"rib_route", "fuzz_route_update", 0, 0},           {"rib_grid_sync_list", "fuzz_grid_update", 0, 1},
    {"rib_nhid_update", "fuzz_grid_update", 1, 3},
};

void write_inspector_seeds(const fs::path &folder, const zidl::message_descriptor &type, uint8_t index,
                           const std::string &name, const bytes &encoded)
{
    const std::string text = rib_inspect::to_text(type, encoded);
    write_seed(folder / "fuzz_walk" / name, {index}, encoded);
    write_seed(folder / "fuzz_message_text" / name, {index, 0}, encoded);
    write_seed(folder / "fuzz_message_text" / (name + "_text"), {index, 1}, bytes(text.begin(), text.end()));
    std::string json;
    rib_inspect::json_writer(type, {false, true}).append(json, encoded);
    write_seed(folder / "fuzz_message_json" / name, {index, 0}, encoded);
    write_seed(folder / "fuzz_message_json" / (name + "_json"), {index, 1}, bytes(json.begin(), json.end()));
}

// Files of a kernel's routes: what stands in front of them is as the fuzzers read it.
void write_kernel_seeds(const fs::path &folder)
{
    const bytes two_hops = {
        0x70, 0,  0,  0, 24,  0, 2,  0, 1,    0,    0, 0, 0,   0, 0, 0, // RTM_NEWROUTE
        2,    16, 0,  0, 254, 4, 0,  1, 0,    0,    0, 0,               // IPv4, /16, main, static, unicast
        8,    0,  15, 0, 44,  1, 0,  0, 8,    0,    1, 0, 10,  1, 0, 0, // table, destination
        8,    0,  6,  0, 20,  0, 0,  0, 8,    0,    7, 0, 192, 0, 2, 9, // metric, source
        0x34, 0,  9,  0, 16,  0, 4,  1, 7,    0,    0, 0,               // hops, the first
        8,    0,  5,  0, 192, 0, 2,  1, 0x1e, 0,    0, 0, 8,   0, 0, 0, // its gateway, the second
        0x16, 0,  18, 0, 10,  0, 32, 1, 13,   0xb8, 0, 0, 0,   0, 0, 0, // by an address of IPv6
        0,    0,  0,  0, 0,   5, 0,  0,                                 //
    };
    const bytes done = {20, 0, 0, 0, 3, 0, 2, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    bytes dump = two_hops;
    dump.insert(dump.end(), done.begin(), done.end());
    write_seed(folder / "fuzz_netlink" / "route", {0, 112}, two_hops);
    write_seed(folder / "fuzz_netlink" / "dump", {0xff, 0xff}, dump);
    const std::string json =
        R"([{"ifindex":3,"ifname":"d0"}][{"type":"unicast","dst":"10.1.0.0/16","table":"main","metric":20,"prefsrc":"192.0.2.9",
"flags":[],"nexthops":[{"gateway":"192.0.2.1","dev":"d0","weight":2,"flags":["onlink"]},{"via":{"family":"inet6","host":
"2001:db8::5"},"dev":"d\u0031","weight":1}]},{"dst":"default","encap":"ip","dst":"192.0.2.3","gateway":"::1","pref":"high"}])";
    write_seed(folder / "fuzz_kernel_json" / "routes", {0, 99}, bytes(json.begin(), json.end()));
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: make_seeds DIR\n");
        return 2;
    }
    const fs::path folder = argv[1];
    std::map<std::string, uint8_t> index_in_group;
    test_arena memory;
    for (size_t i = 0; i < zidl::message_count; ++i) {
        const zidl::message_descriptor &type = *zidl::all_messages[i];
        const uint8_t index = index_in_group[type.group]++;
        for (const sample which : {sample::dense, sample::sparse}) {
            const bytes encoded = encoded_sample(type, which, memory);
            const std::string name = std::string(type.name) + (which == sample::dense ? "_dense" : "_sparse");
            write_seed(folder / (std::string("fuzz_") + type.group) / name, {index, 0}, encoded);
            write_inspector_seeds(folder, type, static_cast<uint8_t>(i), name, encoded);
            for (const entry_seed &entry : entry_seeds) {
                if (std::strcmp(entry.type, type.name) != 0)
                    continue;
                write_seed(folder / "fuzz_explain" / name, {entry.explain_index, 0}, encoded);
                for (const bool framed : {false, true})
                    write_seed(folder / entry.fuzzer / (name + (framed ? "_framed" : "")),
                               {static_cast<uint8_t>(entry.code_index << 1 | (framed ? 1 : 0))}, encoded);
            }
        }
    }
    write_kernel_seeds(folder);
    return 0;
}

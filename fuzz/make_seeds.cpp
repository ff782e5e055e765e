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
    return 0;
}

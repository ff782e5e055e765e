// Any text as a schema: the compiler answers with diagnostics or a model, and with output for every artefact.

#include "tools/zidlc/artefacts.hpp"
#include "tools/zidlc/build_model.hpp"

#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    using namespace zidlc;
    if (size > 4096)
        return 0;
    diagnostics errors;
    std::vector<std::unique_ptr<schema_file>> files;
    files.push_back(std::make_unique<schema_file>());
    files[0]->source = {"fuzzed.zidl", std::string(reinterpret_cast<const char *>(data), size)};
    files[0]->tree = parse(files[0]->source, errors);
    files[0]->source.path = files[0]->tree.group.text + ".zidl"; // so that any group name is the file's
    model built;
    if (errors.empty()) // rules are for what the grammar accepts
        built = build_model(files, errors);
    if (!errors.empty()) {
        if (errors.text().empty())
            std::abort();
        return 0;
    }
    using enum artefact;
    generate(built, {header, codec, descriptors, proto, docs, dissector}, {}, {"fuzzed", "", ""});
    return 0;
}

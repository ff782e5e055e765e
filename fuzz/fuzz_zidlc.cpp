// Any text as a schema: the compiler answers with diagnostics or a model, and with output for every artefact.

#include "tools/zidlc/build_model.hpp"
#include "tools/zidlc/emit_codec.hpp"
#include "tools/zidlc/emit_descriptors.hpp"
#include "tools/zidlc/emit_header.hpp"
#include "tools/zidlc/emit_manual.hpp"
#include "tools/zidlc/emit_proto.hpp"

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
    emit_descriptors_source(built);
    for (const auto &each : built.groups) {
        emit_header(*each);
        emit_codec_header(*each);
        emit_codec_source(*each);
        emit_proto(*each);
        emit_manual(*each);
    }
    return 0;
}

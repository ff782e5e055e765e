// All files that a model yields.

#include "tools/zidlc/artefacts.hpp"

#include "tools/zidlc/emit_codec.hpp"
#include "tools/zidlc/emit_cpp_header.hpp"
#include "tools/zidlc/emit_descriptors.hpp"
#include "tools/zidlc/emit_header.hpp"
#include "tools/zidlc/emit_manual.hpp"
#include "tools/zidlc/emit_proto.hpp"
#include "tools/zidlc/names.hpp"

namespace zidlc
{

namespace
{

void add_group(std::vector<generated_file> &files, const group &g, const std::set<artefact> &wanted,
               const landings &known)
{
    if (wanted.count(artefact::header)) {
        files.push_back({header_path(g.chosen, g.name), emit_header(g)});
        files.push_back({cpp_header_path(g.chosen, g.name), emit_cpp_header(g)});
    }
    if (wanted.count(artefact::codec)) {
        files.push_back({codec_header_path(g.chosen, g.name), emit_codec_header(g)});
        files.push_back({codec_source_path(g.chosen, g.name), emit_codec_source(g)});
    }
    if (wanted.count(artefact::proto))
        files.push_back({proto_path(g.chosen, g.name), emit_proto(g)});
    if (wanted.count(artefact::docs))
        files.push_back({manual_path(g.name), emit_manual(g, known)});
}

} // namespace

std::vector<generated_file> generate(const model &all, const std::set<artefact> &wanted, const landings &known,
                                     const protocol &how)
{
    std::vector<generated_file> files;
    for (const auto &g : all.groups) {
        if (g->requested)
            add_group(files, *g, wanted, known);
    }
    if (wanted.count(artefact::descriptors)) {
        files.push_back({descriptors_header_path(all.chosen), emit_descriptors_header(all)});
        files.push_back({descriptors_source_path(all.chosen), emit_descriptors_source(all)});
    }
    if (wanted.count(artefact::docs))
        files.push_back({"docs/messages/README.md", emit_manual_index(all, known)});
    if (wanted.count(artefact::dissector) && !how.name.empty())
        files.push_back({dissector_path(how.name), emit_dissector(all, how)});
    return files;
}

} // namespace zidlc

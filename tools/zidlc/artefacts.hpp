// All files that a model yields, in memory.

#pragma once

#include "tools/zidlc/emit_dissector.hpp"
#include "tools/zidlc/landings.hpp"
#include "tools/zidlc/model.hpp"

#include <set>
#include <string>
#include <vector>

namespace zidlc
{

enum class artefact { header, codec, descriptors, proto, docs, dissector };

struct generated_file {
    std::string path; // relative to the root of the tree
    std::string text;
};

// The files of the groups that were requested, and those that describe all groups at once. Without a protocol there is no
// dissector.
std::vector<generated_file> generate(const model &all, const std::set<artefact> &wanted, const landings &known = {},
                                     const protocol &how = {});

} // namespace zidlc

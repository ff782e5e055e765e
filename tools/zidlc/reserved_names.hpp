// The names that a schema may not give, and those that two of its messages cannot both have.

#pragma once

#include "tools/zidlc/model.hpp"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zidlc
{

// Why a schema may not use a name; empty when it may.
std::string objection_to_name(std::string_view name);    // any name: keywords, form
std::string objection_to_message(std::string_view name); // additionally, of messages: the types of proto files
std::string objection_to_member(std::string_view name);  // of members: the presence word
std::string objection_to_group(std::string_view name);   // of groups: files that belong to the compiler

// Whether it is a keyword of C or C++, or a macro that compilers or their headers define.
bool is_reserved_word(std::string_view name);

// Every C identifier with external or file scope that a message brings into the world.
std::vector<std::string> c_identifiers(const message &m);

// Those of the codec's headers, which every program with generated code may include.
struct shared_identifier {
    std::string_view name;
    std::string_view header; // that declares it
};
std::span<const shared_identifier> shared_c_identifiers();

} // namespace zidlc

// What the caller of the compiler may choose of the names in generated code, so that the messages of two projects go into one
// program, however their schemas call them.

#pragma once

#include <string>
#include <string_view>

namespace zidlc
{

struct naming {
    std::string prefix = "zidl";     // C names begin with it and an underscore; the namespace of the descriptors
    std::string folder = "messages"; // of C and C++ files, also where they include each other
    std::string proto_package = "zidl.proto";
    std::string proto_folder = "zidl"; // below proto/, and where proto files import each other
};

// Why the caller may not choose this; empty where that is fine.
std::string objection_to_prefix(std::string_view prefix);
std::string objection_to_folder(std::string_view folder); // of C and C++ files, or of proto files
std::string objection_to_package(std::string_view package);

} // namespace zidlc

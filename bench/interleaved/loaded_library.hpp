// One build of librib, loaded beside another one in the same process.

#pragma once

#include "messages/descriptors.hpp"

#include <filesystem>
#include <string>

namespace bench
{

class loaded_library
{
public:
    // Loads a copy of the file in which `mark` replaces the last letter of the SONAME: of two libraries with one name the
    // linker would take the first for both. What a library calls of its own it finds in itself, not in this program. The
    // place is a random one: branches and pages of two libraries get in each other's way in some places, not in others.
    loaded_library(const std::filesystem::path &file, char mark);
    loaded_library(const loaded_library &) = delete;
    loaded_library &operator=(const loaded_library &) = delete;
    ~loaded_library();

    template <class Function>
    Function function(const std::string &name) const
    {
        return reinterpret_cast<Function>(symbol(name));
    }

private:
    void *symbol(const std::string &name) const;

    int copy_; // stays open: the linker knows files by name, and this one is named by its descriptor
    void *handle_;
};

// The four operations of a message type in one library. For types whose functions take every argument, as those of the
// workloads do.
struct codec_functions {
    codec_functions(const loaded_library &library, const zidl::message_descriptor &type);

    decltype(zidl::message_descriptor::encode) encode;
    decltype(zidl::message_descriptor::decode) decode;
    decltype(zidl::message_descriptor::duplicate) duplicate;
    decltype(zidl::message_descriptor::release) release;
};

} // namespace bench

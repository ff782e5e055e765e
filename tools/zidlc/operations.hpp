// The exported functions of a message: results, names, parameters.

#pragma once

#include "tools/zidlc/model.hpp"

#include <string>
#include <vector>

namespace zidlc
{

struct operation {
    std::string result;                  // int32_t
    std::string name;                    // zidl_rib_sample_decode_ext
    std::vector<std::string> parameters; // "zidl_rib_sample *msg", "const uint8_t *buf", ...: without what is omitted

    std::string parameter_list() const; // separated by ", "
};

operation encode_operation(const message &m);
operation decode_operation(const message &m);
operation duplicate_operation(const message &m);
operation release_operation(const message &m);

} // namespace zidlc

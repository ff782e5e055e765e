// The codec of a group: a private header with the straight-line operations of each message, and a source with the
// exported functions, one call each.

#pragma once

#include "tools/zidlc/model.hpp"

#include <string>

namespace zidlc
{

std::string emit_codec_header(const group &source);
std::string emit_codec_source(const group &source);

} // namespace zidlc

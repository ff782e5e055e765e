// What a record owns, in words: the header and the manual say it alike.

#pragma once

#include "tools/zidlc/model.hpp"

#include <string>

namespace zidlc
{

// "Owns labels, name and what origin owns.", or "Owns nothing."
std::string ownership(const message &m);

} // namespace zidlc

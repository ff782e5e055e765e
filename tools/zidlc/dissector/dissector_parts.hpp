// What all dissectors have in common, as the text of the Lua files beside this one.

#pragma once

#include <string_view>

namespace zidlc
{

extern const std::string_view walk_lua;
extern const std::string_view tree_lua;
extern const std::string_view messages_lua; // the framing of a protocol that says nothing of its own

} // namespace zidlc

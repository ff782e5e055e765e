// Words, numbers and marks of a schema file, with the comments that document them.

#pragma once

#include "tools/zidlc/source.hpp"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zidlc
{

enum class token_kind { word, number, mark, end };

struct token {
    token_kind kind = token_kind::end;
    std::string_view text; // into the file; a mark is one of { } : ; , . ..
    place where;
    uint32_t number = 0;
    std::vector<std::string> comment_above; // of whole lines directly above the token's line
    std::string comment_behind;             // on the token's line, if it is the last token there, and its continuation
};

// The tokens of `file`, the last one of kind `end`. What is no token is reported and left out.
std::vector<token> tokens_of(const source_file &file, diagnostics &errors);

} // namespace zidlc

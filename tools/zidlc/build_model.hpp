// From syntax trees to the checked model: all rules of the language and all derived facts.

#pragma once

#include "tools/zidlc/loader.hpp"
#include "tools/zidlc/model.hpp"
#include "tools/zidlc/naming.hpp"
#include "tools/zidlc/source.hpp"

#include <memory>
#include <vector>

namespace zidlc
{

// `files` stand each after those that they use. The result is to be used only when no error was reported.
model build_model(const std::vector<std::unique_ptr<schema_file>> &files, diagnostics &errors,
                  const naming &chosen = {});

} // namespace zidlc

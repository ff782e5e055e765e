// JSON Lines: one object a line.

#pragma once

#include "tools/ribtool/output_file.hpp"
#include "tools/ribtool/record_json.hpp"

#include <string>

namespace ribtool
{

class record_lines
{
public:
    explicit record_lines(const std::string &path) : file_(path) {} // "-" is the standard output

    // Names in records are bytes; what is not UTF-8 in them becomes U+FFFD.
    void print(const json &record) { file_.write(record.dump(-1, ' ', false, json::error_handler_t::replace) + '\n'); }

    void close() { file_.close(); }

private:
    output_file file_;
};

} // namespace ribtool

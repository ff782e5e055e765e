// JSON Lines: one object a line.

#pragma once

#include "inspect/records/record_json.hpp"
#include "tools/ribtool/output/json_line.hpp"
#include "tools/ribtool/output/output_file.hpp"

#include <string>

namespace ribtool
{

class record_lines
{
public:
    // "-" is the standard output. `options`, which must outlive this, say how records are written.
    record_lines(const std::string &path, const rib_inspect::record_json_options &options)
        : file_(path), options_(options)
    {
    }

    // An empty line, to be filled and printed before the next one.
    json_line &begin()
    {
        line_.clear();
        return line_;
    }

    void add_record(const rib_inspect::client_record &record)
    {
        rib_inspect::append_json(line_.add("record"), record, options_);
    }

    void print() { file_.write(line_.finished()); }

    void flush() { file_.flush(); }
    output_file &file() { return file_; } // for end_output(), which closes it

private:
    output_file file_;
    const rib_inspect::record_json_options &options_;
    json_line line_;
};

} // namespace ribtool

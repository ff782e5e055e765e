// What ribtool writes: files and the standard output, where no failed write goes unseen and no file is ever half.

#pragma once

#include "tools/files/unfinished_file.hpp"

#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace ribtool
{

struct file_closer {
    void operator()(FILE *file) const; // leaves the standard streams open
};
using file_handle = std::unique_ptr<FILE, file_closer>;

// A file comes to stand under its name when close() has been reached, in place of what stood there; before that, and without it, there
// is nothing to see of it. Devices, pipes and the standard output are written as they are.
//
// Whatever cannot be created or written is a failure that names the file, except a pipe that its reader has closed (closed_pipe).
class output_file
{
public:
    explicit output_file(const std::string &path); // "-" is the standard output

    const std::string &name() const { return name_; } // as messages show it

    // Whether what has been written is there only after close().
    bool is_kept_back() const { return beside_.has_value(); }

    void write(std::string_view bytes);

    // For a library that writes by itself: check() follows what it wrote.
    FILE *get() const { return file_.get(); }
    void check();

    void flush(); // what has been written so far can be read now
    void close(); // what has been written is in the file then; the standard output stays open

private:
    void create_beside(const std::string &target);
    [[noreturn]] void fail_to_write();

    std::string name_;
    std::optional<files::unfinished_file> beside_; // none: written as it is
    file_handle file_;
    int error_ = 0; // the first one
};

// Whether what is written to this file comes to a terminal: "-" where the standard output is one.
bool goes_to_terminal(const std::string &path);

} // namespace ribtool

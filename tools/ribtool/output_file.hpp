// What ribtool writes: files and the standard output, where no failed write goes unseen.

#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

namespace ribtool
{

struct file_closer {
    void operator()(FILE *file) const; // leaves the standard streams open
};
using file_handle = std::unique_ptr<FILE, file_closer>;

// Whatever cannot be created or written is a failure that names the file, except a pipe that its reader has closed (closed_pipe).
class output_file
{
public:
    explicit output_file(const std::string &path); // "-" is the standard output

    const std::string &name() const { return name_; } // as messages show it
    bool is_standard_output() const { return file_.get() == stdout; }

    void write(std::string_view bytes);

    // For a library that writes by itself: check() follows what it wrote.
    FILE *get() const { return file_.get(); }
    void check() const;

    void flush(); // what has been written so far can be read now
    void close(); // what has been written is in the file then; the standard output stays open

private:
    std::string name_;
    file_handle file_;
};

// Whether what is written to this file comes to a terminal: "-" where the standard output is one.
bool goes_to_terminal(const std::string &path);

} // namespace ribtool

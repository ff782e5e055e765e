#include "tools/ribtool/output_file.hpp"

#include "tools/ribtool/errors.hpp"
#include "tools/terminal/terminal.hpp"

#include <cerrno>
#include <cstring>

namespace ribtool
{

namespace
{

[[noreturn]] void fail_to_write(const std::string &name)
{
    if (errno == EPIPE)
        throw closed_pipe();
    fail(EXIT_FILE, "{}: cannot write: {}", name, std::strerror(errno));
}

} // namespace

void file_closer::operator()(FILE *file) const
{
    if (file != stdout && file != stdin)
        std::fclose(file);
}

output_file::output_file(const std::string &path)
    : name_(path == "-" ? "standard output" : path), file_(path == "-" ? stdout : std::fopen(path.c_str(), "wb"))
{
    if (file_ == nullptr)
        fail(EXIT_FILE, "{}: cannot create: {}", name_, std::strerror(errno));
}

void output_file::write(std::string_view bytes)
{
    std::fwrite(bytes.data(), 1, bytes.size(), file_.get());
    check();
}

void output_file::check() const
{
    if (std::ferror(file_.get()) != 0)
        fail_to_write(name_);
}

void output_file::flush()
{
    if (std::fflush(file_.get()) != 0)
        fail_to_write(name_);
    check();
}

void output_file::close()
{
    flush();
    if (FILE *file = file_.release(); file != stdout && std::fclose(file) != 0)
        fail_to_write(name_);
}

bool goes_to_terminal(const std::string &path)
{
    return path == "-" && terminal::is_terminal(stdout);
}

} // namespace ribtool

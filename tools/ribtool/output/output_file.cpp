#include "tools/ribtool/output/output_file.hpp"

#include "tools/ribtool/errors.hpp"
#include "tools/ribtool/output/interruption.hpp"
#include "tools/terminal/terminal.hpp"

#include <cerrno>
#include <climits>
#include <cstring>
#include <system_error>
#include <unistd.h>

namespace ribtool
{

void file_closer::operator()(FILE *file) const
{
    if (file != stdout && file != stdin)
        std::fclose(file);
}

output_file::output_file(const std::string &path) : name_(path == "-" ? "standard output" : path)
{
    if (path == "-") {
        file_.reset(stdout);
        return;
    }
    if (const std::optional<std::string> target = files::file_behind(path)) {
        create_beside(*target);
        file_.reset(fdopen(beside_->descriptor(), "wb"));
    } else {
        file_.reset(std::fopen(path.c_str(), "wbe"));
    }
    if (file_ == nullptr && errno == EINTR)
        fail(EXIT_INTERRUPTED, "{}: interrupted", name_); // nobody has opened the other end of the pipe
    if (file_ == nullptr)
        fail(EXIT_FILE, "{}: cannot create: {}", name_, std::strerror(errno));
}

void output_file::create_beside(const std::string &target)
{
    try {
        beside_.emplace(target, "ribtool");
    } catch (const std::system_error &failure) {
        fail(EXIT_FILE, "{}: {}", name_, failure.what());
    }
}

void output_file::fail_to_write()
{
    if (error_ == 0)
        error_ = errno;
    if (error_ == EPIPE)
        throw closed_pipe();
    if (error_ == EINTR && interrupted())
        fail(EXIT_INTERRUPTED, "{}: interrupted", name_);
    fail(EXIT_FILE, "{}: cannot write: {}", name_, std::strerror(error_));
}

// A pipe takes a piece of PIPE_BUF bytes whole or not at all. Of a longer one that a signal ends in the middle the C library would
// write the rest, and wait for a reader who may take nothing any more.
void output_file::write(std::string_view bytes)
{
    const size_t longest = is_kept_back() ? bytes.size() : PIPE_BUF;
    while (!bytes.empty()) {
        const std::string_view piece = bytes.substr(0, longest);
        std::fwrite(piece.data(), 1, piece.size(), file_.get());
        check();
        bytes.remove_prefix(piece.size());
    }
}

void output_file::check()
{
    if (std::ferror(file_.get()) != 0)
        fail_to_write();
}

void output_file::flush()
{
    check();
    if (std::fflush(file_.get()) != 0)
        fail_to_write();
}

void output_file::close()
{
    flush();
    // Only where a good file would be lost: the machine may stop after the rename and before the contents are on the disk. A new file
    // can be made again, and most of them are large.
    if (beside_ && beside_->is_successor() && fsync(fileno(file_.get())) != 0)
        fail_to_write();
    if (FILE *file = file_.release(); file != stdout && std::fclose(file) != 0)
        fail_to_write();
    if (beside_ && !beside_->take_name())
        fail_to_write();
}

bool goes_to_terminal(const std::string &path)
{
    return path == "-" && terminal::is_terminal(stdout);
}

} // namespace ribtool

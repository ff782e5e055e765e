// Generated files and the disk.

#include "tools/zidlc/output.hpp"

#include "tools/files/unfinished_file.hpp"
#include "tools/zidlc/files.hpp"

#include <fmt/format.h>

#include <cerrno>
#include <deque>
#include <fcntl.h>
#include <optional>
#include <system_error>
#include <unistd.h>

namespace zidlc
{

namespace fs = std::filesystem;

namespace
{

bool holds(const fs::path &path, const std::string &text)
{
    std::string error;
    return contents(path, error) == text && error.empty();
}

[[noreturn]] void fail(const fs::path &path, int error)
{
    const bool is_full = error == ENOSPC || error == EDQUOT;
    throw unwritable_file(fmt::format("cannot write '{}': {}: {}", path.string(),
                                      std::generic_category().message(error),
                                      is_full ? "make room, or write elsewhere" : "write elsewhere"));
}

// All of it, and closes the descriptor. 0, or what went wrong.
int write_and_close(int descriptor, const std::string &text)
{
    int error = 0;
    for (std::size_t done = 0; done < text.size() && error == 0;) {
        const ssize_t written = ::write(descriptor, text.data() + done, text.size() - done);
        if (written >= 0)
            done += static_cast<std::size_t>(written);
        else if (errno != EINTR)
            error = errno;
    }
    return close(descriptor) != 0 && error == 0 ? errno : error;
}

// A file that holds its text and gets its name by finish(). A device or a pipe has got it before.
class written_file
{
public:
    written_file(const fs::path &path, const std::string &text) : path_(path)
    {
        make_folders();
        if (const int error = write_and_close(opened(), text); error != 0)
            fail(path_, error);
    }

    void finish()
    {
        if (beside_ && !beside_->take_name())
            fail(path_, errno);
    }

private:
    void make_folders() const
    {
        std::error_code status;
        if (path_.has_parent_path())
            fs::create_directories(path_.parent_path(), status);
        if (status)
            fail(path_, status.value());
    }

    int opened()
    {
        const std::optional<std::string> target = files::file_behind(path_.string());
        try {
            if (target)
                return beside_.emplace(*target, "zidlc").descriptor();
        } catch (const std::system_error &failure) {
            fail(path_, failure.code().value());
        }
        const int descriptor = open(path_.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
        if (descriptor < 0)
            fail(path_, errno);
        return descriptor;
    }

    fs::path path_;
    std::optional<files::unfinished_file> beside_;
};

} // namespace

void write_changed(const std::vector<generated_file> &files, const fs::path &root,
                   const std::optional<generated_file> &depfile)
{
    std::deque<written_file> changed;
    for (const generated_file &file : files) {
        if (!holds(root / file.path, file.text))
            changed.emplace_back(root / file.path, file.text);
    }
    if (depfile)
        changed.emplace_back(depfile->path, depfile->text);
    for (written_file &file : changed)
        file.finish();
}

std::vector<std::string> stale_files(const std::vector<generated_file> &files, const fs::path &root)
{
    std::vector<std::string> stale;
    for (const generated_file &file : files) {
        if (!holds(root / file.path, file.text))
            stale.push_back((root / file.path).lexically_normal().string());
    }
    return stale;
}

} // namespace zidlc

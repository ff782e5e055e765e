#include "tools/files/unfinished_file.hpp"

#include <fcntl.h>
#include <sys/stat.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace files
{

// Where a signal's handler finds the name of one file.
struct place {
    std::atomic<bool> is_taken = true;
    std::atomic<const char *> path = nullptr;
    place *next = nullptr;
};

namespace
{

namespace fs = std::filesystem;

constexpr int MAX_LINKS = 40; // as many as the kernel follows
constexpr mode_t PERMISSIONS = 0777;

static_assert(std::atomic<place *>::is_always_lock_free && std::atomic<const char *>::is_always_lock_free,
              "a signal's handler reads them");

// Places are linked once they are whole, and never unlinked: the handler can go through them at any time.
std::atomic<place *> first_place;

// One without a name, ours until it is left.
place *take_place()
{
    for (place *each = first_place; each != nullptr; each = each->next) {
        if (!each->is_taken.exchange(true))
            return each;
    }
    place *const added = new place;
    added->next = first_place;
    while (!first_place.compare_exchange_weak(added->next, added)) {}
    return added;
}

// In this thread, from here to the end of the scope.
class blocked_signals
{
public:
    blocked_signals()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_BLOCK, &all, &before_);
    }
    ~blocked_signals() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    blocked_signals(const blocked_signals &) = delete;
    blocked_signals &operator=(const blocked_signals &) = delete;

private:
    sigset_t before_;
};

fs::path folder_of(const fs::path &path)
{
    return path.has_parent_path() ? path.parent_path() : fs::path(".");
}

// Links there name what is open, not what has a name.
bool is_of_the_kernel(const fs::path &link)
{
    std::error_code error;
    const std::string folder = fs::canonical(folder_of(link), error).string() + "/";
    return folder.starts_with("/dev/") || folder.starts_with("/proc/");
}

[[noreturn]] void fail(int error, const char *what)
{
    throw std::system_error(error, std::generic_category(), what);
}

} // namespace

std::optional<std::string> file_behind(const std::string &path)
{
    fs::path at = path;
    for (int links = 0; links <= MAX_LINKS && !at.empty(); ++links) {
        struct stat status = {};
        if (lstat(at.c_str(), &status) != 0 || S_ISREG(status.st_mode))
            return at.string();
        std::error_code error;
        if (!S_ISLNK(status.st_mode) || is_of_the_kernel(at))
            return std::nullopt;
        at = folder_of(at) / fs::read_symlink(at, error);
    }
    return std::nullopt;
}

void place_leaver::operator()(place *taken) const
{
    taken->path = nullptr;
    taken->is_taken = false;
}

unfinished_file::unfinished_file(std::string target, const std::string &program)
    : target_(std::move(target)), place_(take_place())
{
    const bool may_replace = faccessat(AT_FDCWD, target_.c_str(), W_OK, AT_EACCESS) == 0;
    is_successor_ = may_replace || errno != ENOENT;
    if (is_successor_ && !may_replace)
        fail(errno, "cannot create");
    create(program);
    if (descriptor_ < 0)
        fail(errno, is_successor_ ? "cannot create a file beside it" : "cannot create");
    if (is_successor_ && !take_permissions()) {
        const int error = errno;
        close(descriptor_);
        remove();
        fail(error, "cannot create a file like it");
    }
}

unfinished_file::~unfinished_file()
{
    if (!path_.empty())
        remove();
}

void unfinished_file::create(const std::string &program)
{
    // What replaces a file that few may read is at no time readable to more.
    const mode_t permissions = is_successor_ ? 0600 : 0666;
    const fs::path folder = folder_of(target_);
    const blocked_signals until_the_handler_finds_it;
    for (unsigned number = 0; descriptor_ < 0; ++number) {
        path_ = (folder / ("." + program + "-" + std::to_string(getpid()) + "-" + std::to_string(number))).string();
        descriptor_ = open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, permissions);
        if (descriptor_ < 0 && errno != EEXIST)
            return;
    }
    place_->path = path_.c_str();
}

// Of the file that will be replaced; its owner and group as far as we may give files away.
bool unfinished_file::take_permissions()
{
    struct stat old = {};
    if (stat(target_.c_str(), &old) != 0)
        return false;
    if (fchown(descriptor_, old.st_uid, old.st_gid) != 0 && errno != EPERM)
        return false;
    return fchmod(descriptor_, old.st_mode & PERMISSIONS) == 0;
}

bool unfinished_file::take_name()
{
    if (rename(path_.c_str(), target_.c_str()) != 0)
        return false;
    place_.reset();
    path_.clear();
    return true;
}

void unfinished_file::remove()
{
    unlink(path_.c_str());
    place_.reset();
    path_.clear();
}

void remove_unfinished_files()
{
    for (const place *each = first_place; each != nullptr; each = each->next) {
        if (const char *const path = each->path; path != nullptr)
            unlink(path);
    }
}

} // namespace files

// A file that is written beside the one whose name it will take, so that under the name there is never a half one: what stood there
// stays until the new one is whole.

#pragma once

#include <memory>
#include <optional>
#include <string>

namespace files
{

// The regular file that writing to a path makes or replaces, through all links; nothing for what is written as it is: devices, pipes,
// and what /dev and /proc have links to (/dev/stdout).
std::optional<std::string> file_behind(const std::string &path);

struct place;
struct place_leaver {
    void operator()(place *taken) const;
};

// Unless it took the name the destructor removes it.
class unfinished_file
{
public:
    // `target` is of file_behind(); until it has that name the file is called after the program. A new file gets the permissions that
    // any new one has, the successor of another those of that one. Throws std::system_error, whose text says what cannot be done.
    unfinished_file(std::string target, const std::string &program);
    ~unfinished_file();
    unfinished_file(const unfinished_file &) = delete;
    unfinished_file &operator=(const unfinished_file &) = delete;

    int descriptor() const { return descriptor_; } // to write to; whoever takes it closes it
    bool is_successor() const { return is_successor_; }

    bool take_name(); // false: see errno

private:
    void create(const std::string &program);
    bool take_permissions();
    void remove();

    std::string target_;
    std::string path_; // empty: there is none
    int descriptor_ = -1;
    bool is_successor_ = false;
    std::unique_ptr<place, place_leaver>
        place_; // among those that a signal removes; empty: it is none of them any more
};

// Those of this process, however many, from a signal's handler, which ends it.
void remove_unfinished_files();

} // namespace files

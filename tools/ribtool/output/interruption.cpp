#include "tools/ribtool/output/interruption.hpp"

#include "tools/files/unfinished_file.hpp"

#include <sys/eventfd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <unistd.h>

namespace ribtool
{

namespace
{

constexpr int ENDING_SIGNALS[] = {SIGINT, SIGTERM, SIGHUP};

std::atomic<int> caught = 0; // the first signal
int event_descriptor = -1;

// Runs between any two instructions: what it calls must be safe there.
void on_signal(int number)
{
    int none = 0;
    if (!caught.compare_exchange_strong(none, number)) {
        files::remove_unfinished_files();
        std::signal(number, SIG_DFL);
        std::raise(number); // waits until this function returns
        return;
    }
    const int error = errno;
    const uint64_t one = 1;
    if (write(event_descriptor, &one, sizeof one) < 0)
        errno = error; // interrupted() tells nevertheless
    errno = error;
}

} // namespace

void catch_interruptions()
{
    event_descriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    for (const int number : ENDING_SIGNALS) {
        struct sigaction action = {};
        if (sigaction(number, nullptr, &action) != 0 || action.sa_handler == SIG_IGN)
            continue;
        action = {};
        action.sa_handler = on_signal; // without SA_RESTART: a read or write that waits ends, too
        sigaction(number, &action, nullptr);
    }
    std::signal(SIGXFSZ, SIG_IGN); // a file that grows beyond its limit is a failed write
}

bool interrupted()
{
    return caught.load(std::memory_order_relaxed) != 0;
}

int interruption_descriptor()
{
    return event_descriptor;
}

void end_as_interrupted()
{
    const int number = caught;
    std::signal(number, SIG_DFL);
    std::raise(number);
    std::_Exit(128 + number); // the signal is blocked
}

} // namespace ribtool

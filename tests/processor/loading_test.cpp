// The library as the dynamic linker brings it into a running program: what is asked of the processor meanwhile, and by
// several threads at once.

#include "rib.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstring>
#include <map>
#include <thread>
#include <vector>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/ptrace.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

void *allocate(size_t size, void *)
{
    return std::malloc(size);
}

template <class Function>
Function *symbol(void *library, const char *name, Function *)
{
    return reinterpret_cast<Function *>(dlsym(library, name));
}
#define SYMBOL(library, name) symbol(library, #name, decltype (&name)(nullptr))

// Loads the library and works with it: encoders and decoders that are chosen, and a record that is cleared.
bool load_and_work(int binding)
{
    void *const library = dlopen(RIB_LIBRARY, binding | RTLD_LOCAL);
    if (library == nullptr)
        return false;
    static const uint8_t route[] = {
        0x10, 0xAC, 0x02, // 2 route_value_2: 300
        0xD2, 0x01, 0x02, // 26 paths, one
        0x08, 0x07,       //   1 path_value_1: 7
    };
    uint8_t written[sizeof route];
    zidl_rib_route message = {};
    rib_routetype_ *record = nullptr;
    const bool right =
        SYMBOL(library, zidl_rib_route_decode_ext)(&message, route, sizeof route, allocate, nullptr, 0) == ZIDL_OK &&
        SYMBOL(library, zidl_rib_route_encode_ext)(&message, written, sizeof written, nullptr, nullptr, 0) ==
            sizeof route &&
        std::memcmp(written, route, sizeof route) == 0 &&
        SYMBOL(library, rib_lib_route_decode)(route, sizeof route, &record) == ZERRNO_OK && record->rt_value_2 == 300 &&
        record->rt_path_count == 1;
    std::free(message.paths);
    std::free(record);
    return dlclose(library) == 0 && right;
}

// How often each leaf of cpuid is asked for until the traced child stops itself again, one instruction after another.
std::map<uint64_t, int> leaves_asked_for(pid_t child)
{
    constexpr long opcode_of_cpuid = 0xA20F;
    std::map<uint64_t, int> asked;
    int status = 0;
    while (ptrace(PTRACE_SINGLESTEP, child, nullptr, nullptr) == 0 && waitpid(child, &status, 0) == child &&
           WIFSTOPPED(status) && WSTOPSIG(status) == SIGTRAP) {
        user_regs_struct registers;
        ptrace(PTRACE_GETREGS, child, nullptr, &registers);
        if ((ptrace(PTRACE_PEEKTEXT, child, registers.rip, nullptr) & 0xFFFF) == opcode_of_cpuid)
            asked[registers.rax & 0xFFFFFFFF]++;
    }
    EXPECT_TRUE(WIFSTOPPED(status) && WSTOPSIG(status) == SIGSTOP) << "the child did not get to the end";
    return asked;
}

TEST(loading, asks_the_processor_once_however_many_functions_are_chosen)
{
    constexpr int nobody_traces = 2;
    const pid_t child = fork();
    if (child == 0) {
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0)
            _exit(nobody_traces);
        raise(SIGSTOP);
        const bool right = load_and_work(RTLD_NOW);
        raise(SIGSTOP);
        _exit(right ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    if (WIFEXITED(status) && WEXITSTATUS(status) == nobody_traces)
        GTEST_SKIP() << "this system lets nobody trace";
    ASSERT_TRUE(WIFSTOPPED(status)) << "the child ended early";
    const std::map<uint64_t, int> once_each = {{0, 1}, {1, 1}, {7, 1}};
    EXPECT_EQ(leaves_asked_for(child), once_each);
    ptrace(PTRACE_DETACH, child, nullptr, nullptr);
    kill(child, SIGCONT);
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "the library does not work";
}

TEST(loading, threads_that_load_the_library_and_bind_its_functions_at_the_same_time_get_working_ones)
{
    constexpr int rounds = 50;
    constexpr int thread_count = 2;
    std::atomic<int> arrived = 0;
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < thread_count; i++)
        threads.emplace_back([&] {
            for (int round = 1; round <= rounds; round++) {
                arrived++;
                while (arrived < round * thread_count) {}
                wrong += load_and_work(RTLD_LAZY) ? 0 : 1;
            }
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}

} // namespace

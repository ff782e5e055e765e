#include "tests/ribtool/run_ribtool.hpp"

#include <sys/ioctl.h>
#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <spawn.h>
#include <stdexcept>
#include <unistd.h>

extern char **environ;

namespace ribtool_test
{

namespace fs = std::filesystem;

namespace
{

std::string contents_of(const fs::path &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

fs::path new_folder()
{
    std::string name = (fs::temp_directory_path() / "ribtool-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr)
        throw std::runtime_error("no folder for the test's files");
    return name;
}

class environment
{
public:
    explicit environment(leaks leaking)
    {
        for (char **entry = environ; *entry != nullptr; ++entry)
            pointers_.push_back(*entry);
        if (leaking == leaks::expected)
            pointers_.push_back(const_cast<char *>("LSAN_OPTIONS=exitcode=0:report_objects=0"));
        if (leaking == leaks::expected)
            pointers_.push_back(const_cast<char *>("ASAN_OPTIONS=detect_leaks=0"));
        pointers_.push_back(nullptr);
    }
    char **get() { return pointers_.data(); }

private:
    std::vector<char *> pointers_;
};

} // namespace

lines run_result::out_lines() const
{
    lines result;
    size_t start = 0;
    while (start < out.size()) {
        const size_t end = std::min(out.find('\n', start), out.size());
        result.push_back(out.substr(start, end - start));
        start = end + 1;
    }
    return result;
}

run_result run(const std::string &program, const std::vector<std::string> &arguments, std::string_view input,
               leaks leaking)
{
    const fs::path folder = new_folder();
    std::ofstream(folder / "in", std::ios::binary).write(input.data(), static_cast<std::streamsize>(input.size()));
    std::vector<char *> argv = {const_cast<char *>(program.c_str())};
    for (const std::string &argument : arguments)
        argv.push_back(const_cast<char *>(argument.c_str()));
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    const auto redirect = [&](int descriptor, const char *name, int flags) {
        posix_spawn_file_actions_addopen(&actions, descriptor, (folder / name).c_str(), flags, 0600);
    };
    redirect(STDIN_FILENO, "in", O_RDONLY);
    redirect(STDOUT_FILENO, "out", O_WRONLY | O_CREAT);
    redirect(STDERR_FILENO, "err", O_WRONLY | O_CREAT);
    environment variables(leaking);
    pid_t child = 0;
    const int error = posix_spawnp(&child, program.c_str(), &actions, nullptr, argv.data(), variables.get());
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
        throw std::runtime_error("cannot run " + program);
    int status = 0;
    waitpid(child, &status, 0);

    run_result result;
    result.exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.out = contents_of(folder / "out");
    result.err = contents_of(folder / "err");
    fs::remove_all(folder);
    return result;
}

namespace
{

std::vector<char *> without_terminal_variables(const std::vector<std::string> &added)
{
    std::vector<char *> pointers;
    for (char **entry = environ; *entry != nullptr; ++entry) {
        const std::string_view text = *entry;
        const std::string_view name = text.substr(0, text.find('='));
        if (name != "TERM" && name != "NO_COLOR" && name != "COLUMNS")
            pointers.push_back(*entry);
    }
    for (const std::string &each : added)
        pointers.push_back(const_cast<char *>(each.c_str()));
    pointers.push_back(nullptr);
    return pointers;
}

} // namespace

std::string run_on_terminal(const std::string &program, const std::vector<std::string> &arguments,
                            unsigned short columns, const std::vector<std::string> &variables)
{
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (terminal < 0 || grantpt(terminal) != 0 || unlockpt(terminal) != 0)
        throw std::runtime_error("no terminal");
    const winsize size = {24, columns, 0, 0};
    ioctl(terminal, TIOCSWINSZ, &size);
    const std::string name = ptsname(terminal);

    std::vector<char *> argv = {const_cast<char *>(program.c_str())};
    for (const std::string &argument : arguments)
        argv.push_back(const_cast<char *>(argument.c_str()));
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        posix_spawn_file_actions_addopen(&actions, stream, name.c_str(), O_RDWR | O_NOCTTY, 0);
    std::vector<char *> environment = without_terminal_variables(variables);
    pid_t child = 0;
    const int error = posix_spawnp(&child, program.c_str(), &actions, nullptr, argv.data(), environment.data());
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
        throw std::runtime_error("cannot run " + program);

    std::string shown; // up to the end of the program, where reading fails
    char block[4096];
    ssize_t got = 0;
    while ((got = read(terminal, block, sizeof block)) > 0)
        shown.append(block, static_cast<size_t>(got));
    waitpid(child, nullptr, 0);
    close(terminal);
    return shown;
}

tool_test::tool_test() : folder_(new_folder()) {}

tool_test::~tool_test()
{
    fs::remove_all(folder_);
}

std::string tool_test::write(std::string_view name, const bytes &contents) const
{
    return write(name, std::string_view(reinterpret_cast<const char *>(contents.data()), contents.size()));
}

std::string tool_test::write(std::string_view name, std::string_view contents) const
{
    std::ofstream(path(name), std::ios::binary).write(contents.data(), static_cast<std::streamsize>(contents.size()));
    return path(name);
}

bytes tool_test::read(std::string_view name) const
{
    const std::string contents = contents_of(path(name));
    return {contents.begin(), contents.end()};
}

run_result tool_test::ribtool(const std::vector<std::string> &arguments, std::string_view input, leaks leaking)
{
    return run(RIBTOOL, arguments, input, leaking);
}

bytes frame(uint16_t code, const bytes &payload)
{
    bytes result = {0,
                    0,
                    0,
                    0,
                    static_cast<uint8_t>(code >> 8),
                    static_cast<uint8_t>(code),
                    static_cast<uint8_t>(payload.size() >> 8),
                    static_cast<uint8_t>(payload.size())};
    result.insert(result.end(), payload.begin(), payload.end());
    return result;
}

std::string squeezed(std::string_view text)
{
    std::string result;
    for (const char character : text) {
        if (character != ' ' || (!result.empty() && result.back() != ' '))
            result.push_back(character);
    }
    return result;
}

bytes joined(std::initializer_list<bytes> parts)
{
    bytes result;
    for (const bytes &part : parts)
        result.insert(result.end(), part.begin(), part.end());
    return result;
}

} // namespace ribtool_test

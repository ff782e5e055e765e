// lands_in BASES TABLE [--check]: measures where each field lands, over the messages of the file BASES, and writes the file TABLE if
// it says otherwise. With --check nothing is written: it says so and ends with 3.

#include "inspect/measure/lands_in.hpp"

#include <cstdio>
#include <exception>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>

namespace
{

std::string contents_of(const char *path, bool may_be_missing)
{
    std::ifstream file(path, std::ios::binary);
    if (!file && !may_be_missing)
        throw std::runtime_error(std::string(path) + ": cannot open");
    return {std::istreambuf_iterator<char>(file), {}};
}

int run(const char *bases, const char *table, bool checks)
{
    const std::string made =
        rib_inspect::lands_in_table(rib_inspect::measured(rib_inspect::read_bases(contents_of(bases, false))));
    if (contents_of(table, true) == made)
        return 0;
    if (checks) {
        std::printf("out of date: %s\n", table);
        return 3;
    }
    std::ofstream file(table, std::ios::binary);
    file << made;
    file.close();
    if (!file)
        throw std::runtime_error(std::string(table) + ": cannot write");
    return 0;
}

} // namespace

int main(int argc, char **argv)
try {
    const bool checks = argc == 4 && std::string_view(argv[3]) == "--check";
    if (argc != 3 && !checks) {
        std::fprintf(stderr, "usage: lands_in BASES TABLE [--check]\n");
        return 2;
    }
    return run(argv[1], argv[2], checks);
} catch (const std::exception &failure) {
    std::fprintf(stderr, "lands_in: %s\n", failure.what());
    return 2;
}

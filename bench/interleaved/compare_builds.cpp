// Times two builds of librib against each other, cell by cell. bench/against makes the builds and calls this.

#include "bench/interleaved/interleaving.hpp"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <iterator>
#include <regex>

namespace
{

// What is worth a name. Less than this is the place of the code in memory as often as the code.
constexpr double slower = 1.03;

std::vector<bench::cell> chosen_cells(const std::string &filter)
{
    const std::regex wanted(filter);
    std::vector<bench::cell> cells = bench::codec_cells();
    std::vector<bench::cell> entries = bench::entry_cells();
    std::move(entries.begin(), entries.end(), std::back_inserter(cells));
    std::erase_if(cells, [&](const bench::cell &cell) { return !std::regex_search(cell.name, wanted); });
    return cells;
}

bool is_slower(const bench::comparison &result)
{
    return result.ratio.median >= slower && result.surely_above > 1;
}

void print(const std::string &name, const bench::comparison &result)
{
    std::printf("%-36s %10.1f %10.1f   %6.3f   %6.3f ... %6.3f   %5zu%s\n", name.c_str(), result.their_ns,
                result.our_ns, result.ratio.median, result.ratio.lower, result.ratio.upper, result.rounds,
                is_slower(result) ? "   SLOWER" : "");
    std::fflush(stdout);
}

int compare_all(const std::vector<bench::cell> &cells, const std::string &ours, const std::string &theirs,
                double seconds)
{
    const bench::loaded_library our_library(ours, 'A');
    const bench::loaded_library their_library(theirs, 'B');
    std::printf("%-36s %10s %10s   %6s   %17s   %5s\n", "", "theirs ns", "ours ns", "ratio", "quartiles", "rounds");
    std::vector<std::string> named;
    for (const bench::cell &cell : cells) {
        const bench::comparison result = bench::compare(cell.prepare(our_library, their_library), seconds);
        print(cell.name, result);
        if (is_slower(result))
            named.push_back(cell.name);
    }
    if (named.empty())
        return 0;
    std::printf("\nSlower by 3 %% and more:\n");
    for (const std::string &name : named)
        std::printf("  %s\n", name.c_str());
    return 1;
}

} // namespace

int main(int argc, char **argv)
{
    CLI::App app("Times two builds of librib against each other. Exits with 1 when cells are slower by 3 % and more.");
    std::string ours, theirs, filter = ".";
    double seconds = 1.5;
    bool list = false;
    app.add_option("ours", ours, "a librib.so")->check(CLI::ExistingFile);
    app.add_option("theirs", theirs, "the librib.so to compare it with")->check(CLI::ExistingFile);
    app.add_option("--filter", filter, "only the cells whose names match, for example '^encode/'");
    app.add_option("--seconds", seconds, "time for each cell")->capture_default_str();
    app.add_flag("--list", list, "print the names of the cells and do nothing");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    try {
        const std::vector<bench::cell> cells = chosen_cells(filter);
        if (list) {
            for (const bench::cell &cell : cells)
                std::puts(cell.name.c_str());
            return 0;
        }
        if (theirs.empty())
            throw std::runtime_error("two libraries are needed");
        if (cells.empty())
            throw std::runtime_error("no cell is named so; --list names them");
        return compare_all(cells, ours, theirs, seconds);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "compare_builds: %s\n", error.what());
        return 2;
    }
}

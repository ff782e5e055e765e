// Times two builds of librib against each other, cell by cell. bench/against makes the builds and calls this.

#include "bench/interleaved/interleaving.hpp"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <iterator>
#include <memory>
#include <regex>

namespace
{

// What is worth a name. Less than this is the place of the code in memory as often as the code.
constexpr double slower = 1.03;

constexpr size_t loads = 6;

std::vector<bench::cell> chosen_cells(const std::string &filter)
{
    const std::regex wanted(filter);
    std::vector<bench::cell> cells = bench::codec_cells();
    std::vector<bench::cell> entries = bench::entry_cells();
    std::move(entries.begin(), entries.end(), std::back_inserter(cells));
    std::erase_if(cells, [&](const bench::cell &cell) { return !std::regex_search(cell.name, wanted); });
    return cells;
}

// Both builds, loaded together.
struct loaded_pair {
    std::unique_ptr<bench::loaded_library> ours, theirs;
};

// Some pairs, each at other addresses than the ones before: what a pair owes to its place the others do not repeat.
std::vector<loaded_pair> load_pairs(const std::string &ours, const std::string &theirs)
{
    std::vector<loaded_pair> pairs(loads);
    for (size_t i = 0; i < loads; ++i) {
        if (i % 2 == 0)
            pairs[i].ours = std::make_unique<bench::loaded_library>(ours, 'A' + static_cast<char>(2 * i));
        pairs[i].theirs = std::make_unique<bench::loaded_library>(theirs, 'B' + static_cast<char>(2 * i));
        if (i % 2 != 0)
            pairs[i].ours = std::make_unique<bench::loaded_library>(ours, 'A' + static_cast<char>(2 * i));
    }
    return pairs;
}

// Beyond the noise: three quarters of the rounds are slower.
bool is_slower(const bench::quartiles &ratio)
{
    return ratio.median >= slower && ratio.lower > 1;
}

// Compares and prints. Returns whether ours is slower.
bool compare_cell(const bench::cell &cell, const std::vector<loaded_pair> &pairs, double seconds)
{
    bench::rounds all;
    for (const loaded_pair &pair : pairs)
        all.append(bench::compare(cell.prepare(*pair.ours, *pair.theirs), seconds / loads));
    const bench::quartiles ratio = bench::quartiles_of(all.ratios);
    std::printf("%-36s %10.1f %10.1f   %6.3f   %6.3f ... %6.3f   %6zu%s\n", cell.name.c_str(),
                bench::quartiles_of(all.their_ns).median, bench::quartiles_of(all.our_ns).median, ratio.median,
                ratio.lower, ratio.upper, all.ratios.size(), is_slower(ratio) ? "   SLOWER" : "");
    std::fflush(stdout);
    return is_slower(ratio);
}

int compare_all(const std::vector<bench::cell> &cells, const std::string &ours, const std::string &theirs,
                double seconds)
{
    const std::vector<loaded_pair> pairs = load_pairs(ours, theirs);
    std::printf("%-36s %10s %10s   %6s   %17s   %6s\n", "", "theirs ns", "ours ns", "ratio", "quartiles", "rounds");
    std::vector<std::string> named;
    for (const bench::cell &cell : cells) {
        if (compare_cell(cell, pairs, seconds))
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

// Runs the real ribtool and other programs, and keeps a folder for their files.

#pragma once

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace ribtool_test
{

using bytes = std::vector<uint8_t>;
using lines = std::vector<std::string>;

struct run_result {
    int exit_code = -1; // -1: ended by a signal
    std::string out;
    std::string err;

    lines out_lines() const;
};

// Leaks are what these two say of an update that an assertion stops or that cannot be decoded: under LeakSanitizer a
// test says so, and everything else is checked for leaks.
enum class leaks { none, expected };

run_result run(const std::string &program, const std::vector<std::string> &arguments, std::string_view input = "",
               leaks leaking = leaks::none);

// What the program writes to a terminal of so many columns, which all three of its standard streams are. Variables are
// "NAME=value", in place of those that concern terminals.
std::string run_on_terminal(const std::string &program, const std::vector<std::string> &arguments,
                            unsigned short columns, const std::vector<std::string> &variables = {"TERM=xterm"});

// A folder of its own for each test, removed afterwards.
class tool_test : public testing::Test
{
protected:
    tool_test();
    ~tool_test() override;

    std::string path(std::string_view name) const { return (folder_ / name).string(); }
    std::string write(std::string_view name, const bytes &contents) const;
    std::string write(std::string_view name, std::string_view contents) const;
    bytes read(std::string_view name) const;

    static run_result ribtool(const std::vector<std::string> &arguments, std::string_view input = "",
                              leaks leaking = leaks::none);

private:
    std::filesystem::path folder_;
};

// An update in its frame: four bytes that nobody reads, type code, length, payload.
bytes frame(uint16_t code, const bytes &payload);

// A text of the standard error with every run of blanks made one blank: for tables.
std::string squeezed(std::string_view text);

bytes joined(std::initializer_list<bytes> parts);

} // namespace ribtool_test

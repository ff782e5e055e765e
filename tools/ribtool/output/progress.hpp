// A progress bar on the standard error, drawn only when that is a terminal.

#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace ribtool
{

class progress_bar
{
public:
    // `total` is in any unit; 0 when it is not known. Where the command's lines come to a terminal there is no bar: it would stand
    // between them.
    progress_bar(std::string title, uint64_t total, bool lines_come_to_terminal = false);
    ~progress_bar();
    progress_bar(const progress_bar &) = delete;
    progress_bar &operator=(const progress_bar &) = delete;

    // Cheap: looks at the clock once in a while only. `updates` is shown as it is.
    void show(uint64_t done, uint64_t updates);

    // Takes the bar away, so that other text can be printed.
    void clear();

private:
    void draw(uint64_t done, uint64_t updates);

    std::string title_;
    uint64_t total_;
    bool enabled_;
    bool drawn_ = false;
    uint32_t calls_ = 0;
    std::chrono::steady_clock::time_point started_;
    std::chrono::steady_clock::time_point last_drawn_;
};

} // namespace ribtool

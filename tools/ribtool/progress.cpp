#include "tools/ribtool/progress.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <unistd.h>
#include <utility>

namespace ribtool
{

namespace
{
constexpr uint32_t CALLS_PER_LOOK = 64;
constexpr size_t BAR_WIDTH = 30;
constexpr auto INTERVAL = std::chrono::milliseconds(100);
constexpr char ERASE_LINE[] = "\r\x1b[K";
} // namespace

progress_bar::progress_bar(std::string title, uint64_t total)
    : title_(std::move(title)), total_(total), enabled_(isatty(STDERR_FILENO) != 0),
      started_(std::chrono::steady_clock::now()), last_drawn_(started_)
{
}

progress_bar::~progress_bar()
{
    clear();
}

void progress_bar::show(uint64_t done, uint64_t updates)
{
    if (!enabled_ || ++calls_ % CALLS_PER_LOOK != 0)
        return;
    const auto now = std::chrono::steady_clock::now();
    if (now - last_drawn_ < INTERVAL)
        return;
    last_drawn_ = now;
    draw(done, updates);
}

void progress_bar::draw(uint64_t done, uint64_t updates)
{
    const double seconds = std::chrono::duration<double>(last_drawn_ - started_).count();
    const double rate = static_cast<double>(updates) / seconds;
    std::string line = fmt::format("{}{}", ERASE_LINE, title_);
    if (total_ != 0) {
        const double part = std::min(1.0, static_cast<double>(done) / static_cast<double>(total_));
        const size_t filled = static_cast<size_t>(part * static_cast<double>(BAR_WIDTH));
        line += fmt::format(" [{}{}] {:3.0f} %", std::string(filled, '#'), std::string(BAR_WIDTH - filled, '.'),
                            part * 100);
        if (part > 0)
            line += fmt::format(", {:.0f} s left", seconds * (1 - part) / part);
    }
    line += fmt::format(", {} updates, {:.0f} a second", updates, rate);
    std::fputs(line.c_str(), stderr);
    std::fflush(stderr);
    drawn_ = true;
}

void progress_bar::clear()
{
    if (!std::exchange(drawn_, false))
        return;
    std::fputs(ERASE_LINE, stderr);
    std::fflush(stderr);
}

} // namespace ribtool

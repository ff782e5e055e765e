#include "tools/ribtool/output/progress.hpp"

#include "tools/terminal/terminal.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <string_view>
#include <utility>

namespace ribtool
{

namespace
{
constexpr uint32_t CALLS_PER_LOOK = 64;
constexpr size_t WIDEST_BAR = 30;
constexpr size_t NARROWEST_BAR = 5;
constexpr auto INTERVAL = std::chrono::milliseconds(100);
constexpr std::string_view ERASE_LINE = "\r\x1b[K";

// As wide as there is room, empty where there is too little.
std::string bar_of(double part, size_t room)
{
    if (room < NARROWEST_BAR)
        return {};
    const size_t width = std::min(room, WIDEST_BAR);
    const size_t filled = static_cast<size_t>(part * static_cast<double>(width));
    return fmt::format(" [{}{}]", std::string(filled, '#'), std::string(width - filled, '.'));
}

} // namespace

progress_bar::progress_bar(std::string title, uint64_t total, bool lines_come_to_terminal)
    : title_(std::move(title)), total_(total),
      enabled_(!lines_come_to_terminal && terminal::is_terminal(stderr) && !terminal::is_dumb()),
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
    const double part = total_ == 0 ? 0 : std::min(1.0, static_cast<double>(done) / static_cast<double>(total_));
    std::string share;
    if (total_ != 0)
        share = fmt::format(" {:3.0f} %", part * 100);
    if (part > 0)
        share += fmt::format(", {:.0f} s left", seconds * (1 - part) / part);
    const std::string behind =
        fmt::format("{}, {} updates, {:.0f} a second", share, updates, static_cast<double>(updates) / seconds);

    // A line that is too long would go on in the next one, where nothing erases it. The last column stays free: some terminals go on
    // when it is written.
    const size_t terminal_width = terminal::width(stderr);
    const size_t room = terminal_width == 0 ? SIZE_MAX : terminal_width - 1;
    std::string bar;
    if (total_ != 0)
        bar = bar_of(part, room - std::min(room, title_.size() + behind.size() + std::string_view(" []").size()));
    const std::string line = fmt::format("{}{}{}", title_, bar, behind);
    terminal::say("{}{}", ERASE_LINE, terminal_width == 0 ? line : std::string_view(line).substr(0, room));
    drawn_ = true;
}

void progress_bar::clear()
{
    if (!std::exchange(drawn_, false))
        return;
    terminal::say(ERASE_LINE);
}

} // namespace ribtool

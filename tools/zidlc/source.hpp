// A schema file in memory, places in it, and the errors found there.

#pragma once

#include <fmt/format.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zidlc
{

struct source_file {
    std::string path; // as diagnostics cite it
    std::string text;
};

// Some bytes of one line of a file.
struct place {
    const source_file *file = nullptr;
    std::size_t offset = 0;
    std::size_t length = 1;
};

// A second place that an error is about, and what is there.
struct note {
    place where;
    std::string text;
};

// The errors of a run, which goes on after each one, so that they are reported together: the first hundred found, so
// that what is no schema at all gives no endless report.
class diagnostics
{
public:
    static constexpr std::size_t most_reports = 100;

    template <class... Args>
    void error(const place &where, fmt::format_string<Args...> text, Args &&...args)
    {
        add({where, fmt::format(text, std::forward<Args>(args)...), std::nullopt});
    }

    template <class... Args>
    void error(const place &where, note other, fmt::format_string<Args...> text, Args &&...args)
    {
        add({where, fmt::format(text, std::forward<Args>(args)...), std::move(other)});
    }

    bool empty() const { return count_ == 0; }
    std::size_t count() const { return count_; } // of all errors

    // The reports, file by file in the order of the places: `file:line:column: error: text`, the line, and a caret
    // below the place, then the same of the note, if there is one. Columns count characters; of a long line the part
    // around the place is shown.
    std::string text(bool in_color = false) const;

private:
    struct report {
        place where;
        std::string text;
        std::optional<note> other;
    };

    void add(report added);

    std::vector<report> reports_;
    std::size_t count_ = 0;
};

} // namespace zidlc

// The examples of docs/schema-language.md are what the compiler does, and docs/cpp.md lists the names that it changes.

#include "tests/zidlc/support.hpp"

#include "tools/zidlc/emit_header.hpp"
#include "tools/zidlc/names.hpp"

#include <fmt/format.h>

#include <algorithm>

namespace zidlc
{

namespace
{

class zidlc_language_manual : public in_fresh_folder
{
protected:
    // The nth fenced block of a language, counting from 0.
    static std::string block(const std::string &language, unsigned n)
    {
        const std::string text = read(LANGUAGE_MANUAL);
        const std::string fence = fmt::format("\n```{}\n", language);
        std::size_t start = text.find(fence);
        for (; n > 0 && start != std::string::npos; --n)
            start = text.find(fence, start + 1);
        if (start == std::string::npos)
            return {};
        start += fence.size();
        return text.substr(start, text.find("```\n", start) - start);
    }
};

} // namespace

TEST_F(zidlc_language_manual, the_example_gives_the_record_that_the_manual_shows)
{
    const std::string record = block("c", 0);
    ASSERT_NE(record, "");
    write("sensors.zidl", block("zidl", 0));
    const model all = model_of_files({"sensors.zidl"});
    EXPECT_NE(emit_header(*all.groups.at(0)).find(record), std::string::npos) << emit_header(*all.groups[0]);
}

TEST_F(zidlc_language_manual, every_kind_stands_in_the_grammar_and_in_the_table_of_kinds)
{
    const std::string text = read(LANGUAGE_MANUAL);
    const std::size_t start = text.find("\n    kind       = ");
    ASSERT_NE(start, std::string::npos);
    const std::string grammar = text.substr(start, text.find('.', start) - start);
    for (const kind &each : all_kinds) {
        if (each.held == storage::record)
            continue; // called by its own name
        EXPECT_NE(grammar.find(fmt::format(" \"{}\" |", each.word)), std::string::npos) << each.word;
        const std::size_t row = text.find(fmt::format("\n| `{}` ", each.word));
        ASSERT_NE(row, std::string::npos) << each.word;
        const std::size_t line = text.find(fmt::format("`{}", each.member), row);
        EXPECT_LT(line, text.find('\n', row + 1)) << each.word << " is held as " << each.member;
    }
}

TEST_F(zidlc_language_manual, the_broken_example_gives_the_errors_that_the_manual_shows)
{
    write("broken.zidl", block("zidl", 1));
    EXPECT_EQ(errors_in_files({"broken.zidl"}) + "zidlc: 3 errors\n", block("text", 0));
}

TEST_F(zidlc_language_manual, the_page_on_cpp_lists_the_names_that_are_read_with_an_underscore)
{
    const auto list = [](const auto &names) {
        std::string text;
        for (const std::string_view name : names)
            text += fmt::format("{}`{}`", text.empty() ? "(" : ", ", name);
        return text + ')';
    };
    std::string page = read(CPP_PAGE);
    std::replace(page.begin(), page.end(), '\n', ' ');
    EXPECT_NE(page.find("functions or classes " + list(cpp_words)), std::string::npos) << list(cpp_words);
    EXPECT_NE(page.find("one of the verbs " + list(cpp_verbs)), std::string::npos) << list(cpp_verbs);
    for (const std::string_view word : cpp_words) {
        field f{};
        f.name = word;
        EXPECT_EQ(cpp_getter(f), f.name + '_');
    }
}

} // namespace zidlc

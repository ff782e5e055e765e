// What generated files depend on.

#include "tools/zidlc/depfile.hpp"

namespace zidlc
{

namespace
{

// Blanks end a path, a mark for comments and the dollar mean something, to both programs.
std::string escaped(const std::filesystem::path &path)
{
    std::string text;
    for (const char c : path.lexically_normal().string()) {
        if (c == ' ' || c == '#')
            text += '\\';
        else if (c == '$')
            text += '$';
        text += c;
    }
    return text;
}

} // namespace

std::string depfile(const std::vector<std::filesystem::path> &targets,
                    const std::vector<std::unique_ptr<schema_file>> &schemas, const std::filesystem::path &other_file)
{
    std::string rule;
    for (const std::filesystem::path &each : targets)
        rule += escaped(each) + ' ';
    if (!rule.empty())
        rule.back() = ':';
    for (const auto &schema : schemas)
        rule += " \\\n  " + escaped(schema->source.path);
    if (!other_file.empty())
        rule += " \\\n  " + escaped(other_file);
    return rule + '\n';
}

} // namespace zidlc

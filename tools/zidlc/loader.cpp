// Schema files read and parsed, together with the files of the groups that they use.

#include "tools/zidlc/loader.hpp"

#include "tools/zidlc/files.hpp"
#include "tools/zidlc/text.hpp"

#include <algorithm>
#include <map>
#include <utility>

namespace zidlc
{

namespace fs = std::filesystem;

namespace
{

constexpr std::size_t longest_schema = 16u << 20; // bytes: far above any schema, far below what memory holds
constexpr unsigned longest_chain = 100;           // of files that use each other

// Some editors put this mark before the text; no place in the file counts it.
std::string without_byte_order_mark(const std::string &text)
{
    constexpr std::string_view mark = "\xef\xbb\xbf";
    return text.starts_with(mark) ? text.substr(mark.size()) : text;
}

class loader
{
public:
    loader(const std::vector<fs::path> &folders, diagnostics &errors) : folders_(folders), errors_(errors) {}

    void request(const fs::path &path)
    {
        if (path.extension() != ".zidl")
            throw unreadable_file(fmt::format("'{}' is no schema file: it is not called GROUP.zidl", path.string()));
        if (loaded *known = find(path.stem().string())) {
            check_same(path, known->file->source.path);
            known->file->requested = true;
            return;
        }
        std::string error;
        const std::string text = contents(path, error, longest_schema);
        if (!error.empty())
            throw unreadable_file(fmt::format("cannot read '{}': {}", path.string(), error));
        add(path, text).requested = true;
    }

    std::vector<std::unique_ptr<schema_file>> take()
    {
        std::vector<std::unique_ptr<schema_file>> files;
        for (loaded *each : finished_)
            files.push_back(std::move(each->file));
        return files;
    }

private:
    struct loaded {
        std::string name; // the file's, less .zidl
        std::unique_ptr<schema_file> file;
        bool finished = false; // all that it uses is loaded
    };

    loaded *find(const std::string &name)
    {
        const auto found = std::find_if(all_.begin(), all_.end(), [&](const auto &each) { return each->name == name; });
        return found == all_.end() ? nullptr : found->get();
    }

    void check_same(const fs::path &path, const std::string &known)
    {
        std::error_code ignored;
        if (!fs::equivalent(path, known, ignored))
            throw unreadable_file(fmt::format("'{}' and '{}' are the same group", known, path.string()));
    }

    schema_file &add(const fs::path &path, const std::string &text)
    {
        auto file = std::make_unique<schema_file>();
        schema_file &added = *file;
        added.source = {path.string(), without_byte_order_mark(text)};
        added.requested = false;
        all_.push_back(std::make_unique<loaded>(loaded{path.stem().string(), std::move(file), false}));
        loaded &entry = *all_.back();

        added.tree = parse(added.source, errors_);
        ++chain_;
        std::map<std::string, place> known;
        for (const name_syntax &used : added.tree.uses) {
            const auto [first, is_new] = known.emplace(used.text, used.where);
            if (is_new)
                use(added, used);
            else
                errors_.error(used.where, note{first->second, "first used here"}, "group '{}' is used twice",
                              used.text);
        }
        --chain_;
        entry.finished = true;
        finished_.push_back(&entry);
        return added;
    }

    void use(schema_file &user, const name_syntax &used)
    {
        loaded *known = find(used.text);
        if (known && !known->finished)
            return errors_.error(used.where, "{}", cycle(*known));
        if (known)
            user.uses.push_back(known->file.get());
        else if (chain_ == longest_chain)
            errors_.error(used.where, "groups use each other deeper than {} levels", longest_chain);
        else
            load_used(user, used);
    }

    void load_used(schema_file &user, const name_syntax &used)
    {
        const std::string file_name = used.text + ".zidl";
        std::vector<std::string> searched;
        for (const fs::path &folder : folders_of(user)) {
            const fs::path path = folder / file_name;
            std::error_code ignored;
            if (!fs::exists(path, ignored)) {
                searched.push_back(in_quotes(folder.empty() ? "." : folder.string()));
                continue;
            }
            std::string error;
            const std::string text = contents(path, error, longest_schema);
            if (!error.empty())
                return errors_.error(used.where, "cannot read '{}': {}", path.string(), error);
            user.uses.push_back(&add(path, text));
            return;
        }
        errors_.error(used.where, "no file {} in {}", file_name, enumeration(searched, " or "));
    }

    std::vector<fs::path> folders_of(const schema_file &user) const
    {
        std::vector<fs::path> folders = {fs::path(user.source.path).parent_path()};
        folders.insert(folders.end(), folders_.begin(), folders_.end());
        return folders;
    }

    // The files that are being loaded are those between the first one and the one that closes the circle.
    std::string cycle(const loaded &first) const
    {
        std::vector<std::string> between;
        bool inside = false;
        for (const auto &each : all_) {
            if (inside && !each->finished)
                between.push_back(in_quotes(each->name));
            inside = inside || each.get() == &first;
        }
        if (between.empty())
            return fmt::format("group '{}' uses itself", first.name);
        return fmt::format("group '{}' uses itself through {}", first.name, enumeration(between));
    }

    const std::vector<fs::path> &folders_;
    diagnostics &errors_;
    std::vector<std::unique_ptr<loaded>> all_; // in the order of opening
    std::vector<loaded *> finished_;           // each after those that it uses
    unsigned chain_ = 0;                       // files that are being loaded
};

} // namespace

std::vector<std::unique_ptr<schema_file>> load(const std::vector<fs::path> &paths, const std::vector<fs::path> &folders,
                                               diagnostics &errors)
{
    // Sorted, so that the same files give the same output, in whatever order they are named.
    std::vector<fs::path> sorted = paths;
    std::sort(sorted.begin(), sorted.end(), [](const fs::path &a, const fs::path &b) { return a.stem() < b.stem(); });

    loader files(folders, errors);
    for (const fs::path &path : sorted)
        files.request(path);
    return files.take();
}

} // namespace zidlc

#include "tools/ribtool/state/difference_output.hpp"

#include "inspect/records/record_json.hpp"
#include "tools/ribtool/explain/one_line.hpp"
#include "tools/ribtool/output/json_line.hpp"
#include "tools/ribtool/output/output_file.hpp"
#include "tools/terminal/terminal.hpp"

#include <cstring>
#include <string>
#include <string_view>

namespace ribtool
{

namespace
{

using rib_inspect::client_record;
using rib_inspect::view_of;
using terminal::style;

void append_compact(std::string &out, const client_record &record)
{
    rib_inspect::record_json_options options;
    options.is_compact = true;
    rib_inspect::append_json(out, record, options);
}

record_difference difference_of(const update_record &a, const update_record &b)
{
    return difference(a.view(), b.view());
}

// ---- For people ----

class text_output : public difference_output
{
public:
    text_output() : file_("-"), paint_(stdout), line_(paint_), width_(terminal::width(stdout)) {}

    void print_added(const state_table &table, const kept_update &update) override
    {
        print_update(style::green, "+", table, update, record_of(table, update));
    }

    void print_removed(const state_table &table, const kept_update &update) override
    {
        print_update(style::red, "-", table, update, record_of(table, update));
    }

    void print_changed(const state_table &a, const kept_update &in_a, const state_table &b,
                       const kept_update &in_b) override
    {
        const update_record of_a = record_of(a, in_a);
        const update_record of_b = record_of(b, in_b);
        print_update(style::yellow, "~", b, in_b, of_b);
        const record_difference all = difference_of(of_a, of_b);
        print_members("", all.members);
        for (const path_difference &path : all.changed_paths)
            print_members("path " + via(*path.a) + ": ", path.members);
        for (const rib_path_entry *path : all.removed_paths)
            print_path(style::red, "-", *path);
        for (const rib_path_entry *path : all.added_paths)
            print_path(style::green, "+", *path);
    }

    void close() override { file_.close(); }

private:
    static std::string via(const rib_path_entry &path) { return "via " + next_hop_text(path); }

    // The line that show has of it.
    void print_update(style how, std::string_view sign, const state_table &table, const kept_update &update,
                      const update_record &record)
    {
        line_.begin(update.frame, update.code);
        if (update.code == RIB_TLV_GRID)
            add_grid_key(update, table.content(update));
        else if (record.explained() != nullptr)
            line_.add(*record.explained(), table.content(update));
        else
            line_.add(*static_cast<const struct rib_routetype_ *>(record.view().data));
        std::string text = paint_(how, sign) + line_.text();
        print(text);
    }

    void add_grid_key(const kept_update &update, byte_span content)
    {
        rib_encap_id_path_key_t key;
        std::memcpy(&key, content.data(), sizeof key);
        uint64_t id = number_of(update.key);
        line_.add(grid_sync_list{&id, &key, 1, 1});
    }

    void print_members(const std::string &of, const std::vector<member_difference> &members)
    {
        for (const member_difference &member : members)
            print(fmt::format("       {}{}: {} -> {}", of, member.name, shown(member.a), shown(member.b)));
    }

    static std::string_view shown(const std::string &value)
    {
        return value.empty() ? "nothing" : std::string_view(value);
    }

    void print_path(style how, std::string_view sign, const rib_path_entry &path)
    {
        std::string text = "     " + paint_(how, sign) + " path ";
        append_compact(text, view_of(&path));
        print(text);
    }

    void print(const std::string &line)
    {
        std::string text = terminal::fitted(line, width_);
        text.erase(text.find_last_not_of(' ') + 1);
        file_.write(text + '\n');
    }

    output_file file_;
    terminal::painter paint_;
    one_line line_;
    size_t width_;
};

// ---- For programs ----

class json_output : public difference_output
{
public:
    json_output() : file_("-") {}

    void print_added(const state_table &table, const kept_update &update) override
    {
        begin("added", update.key);
        add_update("b_frame", "b", update, record_of(table, update));
        print();
    }

    void print_removed(const state_table &table, const kept_update &update) override
    {
        begin("removed", update.key);
        add_update("a_frame", "a", update, record_of(table, update));
        print();
    }

    void print_changed(const state_table &a, const kept_update &in_a, const state_table &b,
                       const kept_update &in_b) override
    {
        const update_record of_a = record_of(a, in_a);
        const update_record of_b = record_of(b, in_b);
        const record_difference all = difference_of(of_a, of_b);
        begin("changed", in_a.key);
        line_.add_number("a_frame", in_a.frame);
        line_.add_number("b_frame", in_b.frame);
        add_members(all.members);
        add_changed_paths(all.changed_paths);
        add_paths("removed_paths", all.removed_paths);
        add_paths("added_paths", all.added_paths);
        print();
    }

    void close() override { file_.close(); }

private:
    void begin(std::string_view change, const update_key &key)
    {
        line_.clear();
        line_.add_text("change", change);
        line_.add_text("kind", kind_name(key.kind));
        add_key(line_, key);
    }

    void add_update(std::string_view number, std::string_view name, const kept_update &update,
                    const update_record &record)
    {
        line_.add_number(number, update.frame);
        append_compact(line_.add(name), record.view());
    }

    void add_members(const std::vector<member_difference> &members)
    {
        line_.begin_list("members");
        for (const member_difference &member : members) {
            line_.begin_element();
            line_.add_text("name", member.name);
            line_.add("a") += member.a.empty() ? "null" : member.a;
            line_.add("b") += member.b.empty() ? "null" : member.b;
            line_.end_object();
        }
        line_.end_list();
    }

    void add_changed_paths(const std::vector<path_difference> &paths)
    {
        if (paths.empty())
            return;
        line_.begin_list("changed_paths");
        for (const path_difference &path : paths) {
            line_.begin_element();
            line_.add_text("via", next_hop_text(*path.a));
            add_members(path.members);
            line_.end_object();
        }
        line_.end_list();
    }

    void add_paths(std::string_view name, const std::vector<const rib_path_entry *> &paths)
    {
        if (paths.empty())
            return;
        std::string &out = line_.add(name);
        std::string_view before = "[";
        for (const rib_path_entry *path : paths) {
            out += before;
            append_compact(out, view_of(path));
            before = ",";
        }
        out += ']';
    }

    void print() { file_.write(line_.finished()); }

    output_file file_;
    json_line line_;
};

} // namespace

update_record record_of(const state_table &table, const kept_update &update)
{
    const byte_span content = table.content(update);
    if (update.code != RIB_TLV_GRID)
        return update_record(update.code, content);
    rib_encap_id_path_key_t key;
    std::memcpy(&key, content.data(), sizeof key);
    return update_record(key);
}

std::unique_ptr<difference_output> make_difference_output(bool is_json)
{
    if (is_json)
        return std::make_unique<json_output>();
    return std::make_unique<text_output>();
}

} // namespace ribtool

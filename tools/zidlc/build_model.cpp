// From syntax trees to the checked model: all rules of the language and all derived facts.

#include "tools/zidlc/build_model.hpp"

#include "tools/zidlc/derived_facts.hpp"
#include "tools/zidlc/names.hpp"
#include "tools/zidlc/numbering.hpp"
#include "tools/zidlc/omissions.hpp"
#include "tools/zidlc/reserved_names.hpp"
#include "tools/zidlc/text.hpp"

#include <algorithm>
#include <filesystem>
#include <map>
#include <optional>
#include <utility>

namespace zidlc
{

namespace
{

constexpr std::size_t most_fields = 64;      // the widest presence word
constexpr unsigned deepest_nesting = 100;    // what protocol-buffer readers accept by default
constexpr uint64_t largest_fixed = 1u << 20; // bytes; records are plain C values, so this is already generous

// The kinds that the codec has arrays of, in words.
std::string array_kinds()
{
    std::vector<std::string> words;
    for (const kind &each : all_kinds) {
        if (!each.array.empty())
            words.emplace_back(each.held == storage::record ? "messages" : each.word);
    }
    return enumeration(words, " or ");
}

class builder
{
public:
    builder(const std::vector<std::unique_ptr<schema_file>> &files, diagnostics &errors, const naming &chosen)
        : files_(files), errors_(errors)
    {
        model_.chosen = chosen;
    }

    model build()
    {
        for (const auto &file : files_)
            declare(*file);
        for (draft *each : in_order_)
            complete(*each);
        check_c_identifiers();
        collect_holders();
        return std::move(model_);
    }

private:
    // A message on its way from the tree to the model.
    struct draft {
        const schema_file *file = nullptr;
        const message_syntax *syntax = nullptr;
        group *home = nullptr;
        message *finished = nullptr; // lives in its group
        bool is_well_named = true;
        bool is_open = false; // its types are being completed
        unsigned levels = 1;  // of messages inside each other, this one included
    };

    void declare(const schema_file &file)
    {
        auto home = std::make_unique<group>();
        home->name = file.tree.group.text;
        home->chosen = model_.chosen;
        home->source = source_path(home->name);
        home->comment = file.tree.comment;
        home->requested = file.requested;
        for (const schema_file *used : file.uses)
            home->uses.push_back(used->tree.group.text);
        check_group_name(file);
        for (const message_syntax &m : file.tree.messages)
            declare(file, m, *home);
        model_.groups.push_back(std::move(home));
    }

    void check_group_name(const schema_file &file)
    {
        const name_syntax &name = file.tree.group;
        const std::filesystem::path path = file.source.path;
        check_name(name, "group", objection_to_group(name.text));
        if (path.stem() != name.text)
            errors_.error(name.where, "the file of group '{0}' is called {0}.zidl, not {1}", name.text,
                          path.filename().string());
    }

    bool check_name(const name_syntax &name, std::string_view what, const std::string &special_objection)
    {
        const std::string general_objection = objection_to_name(name.text);
        const std::string &objection = general_objection.empty() ? special_objection : general_objection;
        if (!objection.empty())
            errors_.error(name.where, "'{}' cannot name a {}: {}", name.text, what, objection);
        return objection.empty();
    }

    void declare(const schema_file &file, const message_syntax &m, group &home)
    {
        const bool is_well_named = check_name(m.name, "message", objection_to_message(m.name.text));
        const auto [known, is_new] = drafts_.try_emplace(m.name.text);
        draft &each = known->second;
        if (!is_new) {
            errors_.error(m.name.where, note{each.syntax->name.where, "first declared here"},
                          "message '{}' is declared already, in group '{}'", m.name.text, each.home->name);
            return;
        }
        each.file = &file;
        each.syntax = &m;
        each.home = &home;
        each.is_well_named = is_well_named;
        in_order_.push_back(&each);
    }

    // Makes the messages that `d` holds, then `d` itself, so that a message stands after what it holds.
    const message *complete(draft &d)
    {
        if (d.finished)
            return d.finished;
        d.is_open = true;
        open_.push_back(&d);
        auto made = std::make_unique<message>();
        fill(d, *made);
        open_.pop_back();
        d.is_open = false;
        d.finished = made.get();
        d.home->messages.push_back(std::move(made));
        return d.finished;
    }

    void fill(draft &d, message &m)
    {
        const message_syntax &syntax = *d.syntax;
        m.name = syntax.name.text;
        m.record = model_.chosen.prefix + '_' + m.name;
        m.group = d.home->name;
        m.comment = syntax.comment;
        m.dispatch = syntax.dispatch;
        m.rare = syntax.rare;
        check_numbering(syntax, errors_);
        add_rows(d, m);
        check_members(syntax, m);
        derive(m);
        check_size(syntax, m);
        add_omissions(syntax, m, errors_);
    }

    void add_rows(draft &d, message &m)
    {
        for (const auto &row : d.syntax->rows) {
            const auto *f = std::get_if<field_syntax>(&row);
            if (f && m.fields.size() == most_fields)
                return errors_.error(f->name.where, "message '{}' has more than {} fields", m.name, most_fields);
            if (f)
                add_field(d, *f, m);
            else
                add_unassigned(std::get<unassigned_syntax>(row), m);
        }
        if (m.fields.empty())
            errors_.error(d.syntax->name.where, "message '{}' has no field", m.name);
    }

    static void add_unassigned(const unassigned_syntax &syntax, message &m)
    {
        m.unassigned.push_back({syntax.first.value, syntax.last.value, syntax.comment});
    }

    void add_field(draft &d, const field_syntax &syntax, message &m)
    {
        field f;
        f.name = syntax.name.text;
        f.comment = syntax.comment;
        f.comment_above = syntax.comment_above;
        f.number = syntax.number.value;
        f.bit = static_cast<unsigned>(m.fields.size());
        f.repeated = syntax.repeated.has_value();
        f.out_of_order = syntax.out_of_order.has_value();
        set_type(d, syntax, f);
        f.count_name = count_name(syntax, f);
        derive(f);
        m.fields.push_back(std::move(f));
    }

    void set_type(draft &d, const field_syntax &syntax, field &f)
    {
        if (const kind *const known = find_kind(syntax.type.text)) {
            f.type = known;
            if (f.repeated && known->array.empty())
                errors_.error(syntax.type.where, "'{}' does not repeat: arrays hold {}", known->word, array_kinds());
        } else if (const message *nested = nested_message(d, syntax.type)) {
            f.type = message_kind();
            f.nested = nested;
        }
    }

    const message *nested_message(draft &d, const name_syntax &type)
    {
        const auto found = drafts_.find(type.text);
        if (found == drafts_.end()) {
            errors_.error(type.where, "unknown type '{}'", type.text);
            return nullptr;
        }
        draft &nested = found->second;
        if (!is_visible(nested, *d.file)) {
            errors_.error(type.where, "type '{0}' belongs to group '{1}': say 'use {1};'", type.text,
                          nested.home->name);
            return nullptr;
        }
        if (nested.is_open) {
            errors_.error(type.where, "{}", cycle(nested));
            return nullptr;
        }
        const message *made = open_.size() < deepest_nesting ? complete(nested) : nullptr;
        if (!made || nested.levels == deepest_nesting) {
            errors_.error(type.where, "messages nest deeper than {} levels", deepest_nesting);
            return nullptr;
        }
        d.levels = std::max(d.levels, nested.levels + 1);
        return made;
    }

    static bool is_visible(const draft &d, const schema_file &from)
    {
        return d.file == &from || std::find(from.uses.begin(), from.uses.end(), d.file) != from.uses.end();
    }

    // Sizes and nesting must be bounded, so no message may hold itself, not even in an array.
    std::string cycle(const draft &first) const
    {
        std::vector<std::string> between;
        for (auto each = std::find(open_.begin(), open_.end(), &first) + 1; each != open_.end(); ++each)
            between.push_back(in_quotes((*each)->syntax->name.text));
        if (between.empty())
            return fmt::format("message '{}' holds itself", first.syntax->name.text);
        return fmt::format("message '{}' holds itself through {}", first.syntax->name.text, enumeration(between));
    }

    std::string count_name(const field_syntax &syntax, const field &f)
    {
        if (syntax.counted_by && !f.repeated)
            errors_.error(syntax.counted_by->where, "'{}' has no count: it is not repeated", f.name);
        if (syntax.counted_by)
            return syntax.counted_by->text;
        if (f.repeated)
            return f.name + "_count";
        return f.type->held == storage::block ? f.name + "_size" : "";
    }

    struct member_owner {
        std::string field;
        place where;
    };
    using member_owners = std::map<std::string, member_owner>; // by member of the record

    void check_members(const message_syntax &syntax, const message &m)
    {
        member_owners owners;
        auto f = m.fields.begin();
        for (const auto &row : syntax.rows) {
            const auto *field_row = std::get_if<field_syntax>(&row);
            if (!field_row || f == m.fields.end())
                continue;
            check_member(field_row->name, f->name, owners);
            if (field_row->counted_by)
                check_member(*field_row->counted_by, f->name, owners);
            else if (!f->count_name.empty())
                check_collision({f->count_name, field_row->name.where}, f->name, owners);
            ++f;
        }
    }

    void check_member(const name_syntax &name, const std::string &owner, member_owners &owners)
    {
        if (check_name(name, "member", objection_to_member(name.text)))
            check_collision(name, owner, owners);
    }

    void check_collision(const name_syntax &name, const std::string &owner, member_owners &owners)
    {
        const auto [known, is_new] = owners.emplace(name.text, member_owner{owner, name.where});
        if (is_new)
            return;
        const note first{known->second.where, "first used here"};
        if (name.text == owner && name.text == known->second.field)
            errors_.error(name.where, first, "member '{}' is declared already", name.text);
        else
            errors_.error(name.where, first, "'{}' and '{}' both need a member '{}'", known->second.field, owner,
                          name.text);
    }

    void check_size(const message_syntax &syntax, message &m)
    {
        if (m.fixed_bound <= largest_fixed)
            return;
        errors_.error(syntax.name.where, "message '{}' takes up to {} bytes besides strings, bytes and arrays, over {}",
                      m.name, m.fixed_bound, largest_fixed);
        m.fixed_bound = largest_fixed;
    }

    // Who declares a C name: a message, or else a header of the codec.
    struct declarer {
        const draft *message = nullptr;
        std::string_view header;
    };

    // Messages, functions and accessors share one scope in C.
    void check_c_identifiers()
    {
        std::map<std::string, declarer> declarers;
        for (const auto &[name, header] : shared_c_identifiers())
            declarers.emplace(name, declarer{nullptr, header});
        for (const draft *d : in_order_) {
            if (!d->is_well_named)
                continue;
            for (const std::string &name : c_identifiers(*d->finished)) {
                const auto [known, is_new] = declarers.emplace(name, declarer{d, {}});
                if (is_new || known->second.message == d)
                    continue;
                report_collision(*d, known->second, name);
                break;
            }
        }
    }

    void report_collision(const draft &d, const declarer &other, const std::string &name)
    {
        const name_syntax &message = d.syntax->name;
        if (!other.message)
            errors_.error(message.where, "message '{}' and {} both need the C name {}", message.text, other.header,
                          name);
        else
            errors_.error(message.where, note{other.message->syntax->name.where, "the other one"},
                          "message '{}' and message '{}' both need the C name {}", message.text,
                          other.message->syntax->name.text, name);
    }

    void collect_holders()
    {
        for (const auto &g : model_.groups) {
            for (const auto &m : g->messages)
                for (const field &f : m->fields)
                    add_holder(f, *m);
        }
    }

    void add_holder(const field &f, const message &holder)
    {
        if (!f.nested)
            return;
        std::vector<const message *> &holders = drafts_.at(f.nested->name).finished->holders;
        if (holders.empty() || holders.back() != &holder)
            holders.push_back(&holder);
    }

    const std::vector<std::unique_ptr<schema_file>> &files_;
    diagnostics &errors_;
    model model_;
    std::map<std::string, draft> drafts_; // by message name
    std::vector<draft *> in_order_;       // of declaration
    std::vector<const draft *> open_;     // from the outermost to the one being completed
};

} // namespace

model build_model(const std::vector<std::unique_ptr<schema_file>> &files, diagnostics &errors, const naming &chosen)
{
    return builder(files, errors, chosen).build();
}

} // namespace zidlc

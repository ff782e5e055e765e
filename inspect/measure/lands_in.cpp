#include "inspect/measure/lands_in.hpp"

#include "inspect/formats/message_json.hpp"

#include <algorithm>
#include <charconv>
#include <map>
#include <optional>

namespace rib_inspect
{

using zidl::field_descriptor;
using zidl::kind;
using zidl::message_descriptor;

namespace
{

// One field at the end of one way.
struct row {
    const message_descriptor *type;
    const field_descriptor *field;
    std::string way; // to the message that holds the field
    landing lands;
    bool has_lost = false; // lands.lost holds something to be compared with
};

// The blocks of generic attributes are six members rather than a list.
std::string without_indices(std::string_view name)
{
    constexpr std::string_view blocks = "rt_attr_blocks[0]";
    std::string out;
    if (name.starts_with(blocks.substr(0, blocks.size() - 2))) {
        out = name.substr(0, blocks.size());
        name.remove_prefix(blocks.size());
    }
    bool is_index = false;
    for (const char c : name) {
        is_index = is_index || c == '[';
        if (!is_index)
            out += c;
        is_index = is_index && c != ']';
    }
    return out;
}

void add_member(landing &to, const std::string &name)
{
    const std::string member = without_indices(name);
    if (std::find(to.members.begin(), to.members.end(), member) == to.members.end())
        to.members.push_back(member);
}

class table
{
public:
    void add(const measured_base &base)
    {
        add_all(*base.type, base.type->name);
        for (const auto &[path, lands] : base.fields)
            add(*base.type, path, lands);
    }

    std::string text() const
    {
        std::string out = "message\tfield\tway\tlands in\n";
        for (const row &each : rows_) {
            const std::string lands =
                each.field->type == kind::message && each.lands.is_nothing() ? "by its fields" : to_string(each.lands);
            out += std::string(each.type->name) + '\t' + each.field->member + '\t' + each.way + '\t' + lands + '\n';
        }
        return out;
    }

private:
    // A row for each field below, measured or not.
    void add_all(const message_descriptor &type, const std::string &way)
    {
        for (uint32_t i = 0; i < type.field_count; ++i) {
            const field_descriptor &field = type.fields[i];
            if (!by_name_.emplace(way + "." + field.member, rows_.size()).second)
                continue;
            rows_.push_back({&type, &field, way, {}});
            rows_.back().lands.is_number = field.type != kind::string && field.type != kind::bytes;
            if (field.message != nullptr)
                add_all(*field.message, way + "." + field.member);
        }
    }

    row &find(const message_descriptor &type, const field_path &path)
    {
        return rows_[by_name_.at(std::string(type.name) + "." + without_indices(to_string(path)))];
    }

    // What any message shows a field to do, it does; bits are lost that no message shows.
    void add(const message_descriptor &type, const field_path &path, const landing &seen)
    {
        row &into = find(type, path);
        into.lands.decides |= seen.decides;
        for (const std::string &member : seen.members)
            add_member(into.lands, member);
        if (seen.members.empty() || !seen.is_number || path.steps[path.depth - 1].field->type == kind::message)
            return;
        if (!into.has_lost) {
            into.lands.lost = seen.lost;
            into.has_lost = true;
            return;
        }
        std::erase_if(into.lands.lost, [&](uint32_t bit) {
            return std::find(seen.lost.begin(), seen.lost.end(), bit) == seen.lost.end();
        });
    }

    std::vector<row> rows_;
    std::map<std::string, size_t> by_name_;
};

base_message read_base(std::string_view line, size_t number)
{
    const auto fail = [&](const std::string &why) { throw bad_base("line " + std::to_string(number) + ": " + why); };
    base_message base = {};
    const auto code = std::from_chars(line.data(), line.data() + line.size(), base.code);
    const message_descriptor *const type = message_of_code(base.code);
    if (code.ec != std::errc() || type == nullptr)
        fail("no type code of an encoded update");
    const std::string_view json = line.substr(static_cast<size_t>(code.ptr - line.data()));
    if (const std::optional<json_problem> problem = json_reader(*type).read(json, base.payload))
        fail(problem->path + ": " + problem->text);
    return base;
}

} // namespace

std::vector<base_message> read_bases(std::string_view text)
{
    std::vector<base_message> bases;
    for (size_t number = 1; !text.empty(); ++number) {
        const size_t end = std::min(text.find('\n'), text.size());
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (!line.empty() && line[0] != '#')
            bases.push_back(read_base(line, number));
    }
    return bases;
}

std::vector<measured_base> measured(const std::vector<base_message> &bases)
{
    std::vector<measured_base> all;
    for (const base_message &base : bases) {
        measured_base made = {message_of_code(base.code), {}};
        for (const measured_value &value : measure(base.code, base.payload).values)
            made.fields.emplace_back(value.path, value.lands);
        for (const measured_list &list : measure_lists(base.code, base.payload))
            made.fields.emplace_back(list.path, list.lands);
        landing decides;
        decides.decides = true;
        for (const field_path &path : deciding_presence(base.code, base.payload))
            made.fields.emplace_back(path, decides);
        all.push_back(std::move(made));
    }
    return all;
}

std::string lands_in_table(const std::vector<measured_base> &bases)
{
    table all;
    for (const measured_base &base : bases)
        all.add(base);
    return all.text();
}

} // namespace rib_inspect

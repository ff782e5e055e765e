#include "inspect/formats/message_json_names.hpp"

#include <memory>
#include <span>

namespace rib_inspect
{

namespace
{

using type_table = std::unordered_map<const zidl::message_descriptor *, std::unique_ptr<json_type>>;

std::unique_ptr<json_type> named(const zidl::message_descriptor &type, const type_table &nested)
{
    auto names = std::make_unique<json_type>();
    names->type = &type;
    names->members.reserve(type.field_count);
    names->camel_names.reserve(type.field_count);
    for (const zidl::field_descriptor &field : std::span(type.fields, type.field_count)) {
        const json_type *const message = field.message == nullptr ? nullptr : nested.at(field.message).get();
        names->members.push_back({&field, message, ",\"" + std::string(field.member) + "\":"});
        names->camel_names.push_back(lower_camel_case(field.member));
    }
    for (size_t i = 0; i < names->members.size(); ++i) {
        names->by_name.emplace(names->camel_names[i], &names->members[i]);
        names->by_name.insert_or_assign(names->members[i].name(), &names->members[i]);
    }
    return names;
}

type_table all_types()
{
    type_table types;
    for (const zidl::message_descriptor *type : std::span(zidl::all_messages, zidl::message_count))
        types.emplace(type, named(*type, types));
    return types;
}

} // namespace

const json_type &json_type_of(const zidl::message_descriptor &type)
{
    static const type_table types = all_types();
    return *types.at(&type);
}

std::string lower_camel_case(std::string_view name)
{
    std::string out;
    bool begins_word = false;
    for (const char c : name) {
        const bool is_letter = c >= 'a' && c <= 'z';
        if (c != '_')
            out += begins_word && is_letter ? static_cast<char>(c - 'a' + 'A') : c;
        begins_word = c == '_';
    }
    return out;
}

} // namespace rib_inspect

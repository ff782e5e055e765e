// Writes the code that a user of protozero would write by hand for our records: for each message one function that
// reads it with a pbf_reader, one that writes it with a pbf_writer and one that gives back what the record owns.
// Straight-line, a case or a statement a field; printed on the standard output.

#include "bench/message_types.hpp"
#include "messages/descriptors.hpp"

#include <cstdio>
#include <set>
#include <string>
#include <string_view>

namespace
{

using zidl::field_descriptor;
using zidl::kind;
using zidl::message_descriptor;

const char *wire_type(kind type)
{
    switch (type) {
    case kind::fixed32:
        return "fixed32";
    case kind::string:
    case kind::bytes:
    case kind::message:
        return "length_delimited";
    default:
        return "varint";
    }
}

// The reader's accessor for a scalar, and the end of the writer's.
const char *scalar_name(kind type)
{
    switch (type) {
    case kind::u64:
        return "uint64";
    case kind::boolean:
        return "bool";
    case kind::fixed32:
        return "fixed32";
    default:
        return "uint32";
    }
}

// The member that counts an array's elements.
std::string count_of(const field_descriptor &field)
{
    const std::string member = field.member;
    return "msg." + (member == "ecomm_values" ? "ecomm_count" : member + "_count");
}

std::string read_statement(const field_descriptor &field)
{
    const std::string member = field.member;
    if (field.repeated) {
        const std::string array = "in, mem, msg." + member + ", " + count_of(field);
        const std::string each = std::string(", [](pbf_reader &at, auto &element, Memory &") +
                                 (field.type == kind::message ? "from" : "") + ") { ";
        if (field.type == kind::message)
            return "read_element(" + array + each + "read(at.get_message(), element, from); });";
        if (field.type == kind::bytes)
            return "read_block(" + array + ");";
        const std::string cast = field.type == kind::u8 ? "static_cast<uint8_t>(at.get_uint32())"
                                                        : std::string("at.get_") + scalar_name(field.type) + "()";
        return "read_element(" + array + each + "element = " + cast + "; });";
    }
    switch (field.type) {
    case kind::message:
        return "read(in.get_message(), msg." + member + ", mem);";
    case kind::string:
        return "msg." + member + " = mem.string(in.get_view());";
    case kind::bytes:
        return "set_bytes(msg." + member + ", msg." + member + "_size, mem, in.get_view());";
    case kind::u8:
        return "msg." + member + " = static_cast<uint8_t>(in.get_uint32());";
    default:
        return "msg." + member + " = in.get_" + scalar_name(field.type) + "();";
    }
}

void write_reader(const message_descriptor &type)
{
    std::printf("template <class Memory>\nvoid read(pbf_reader in, zidl_%s &msg, [[maybe_unused]] Memory &mem)\n{\n",
                type.name);
    std::printf(
        "    decltype(msg.presence) seen = 0;\n    while (in.next()) {\n        switch (in.tag_and_type()) {\n");
    for (uint32_t i = 0; i < type.field_count; ++i) {
        const field_descriptor &field = type.fields[i];
        std::printf("        case tag_and_type(%u, pbf_wire_type::%s):\n            %s\n", field.number,
                    wire_type(field.type), read_statement(field).c_str());
        std::printf("            seen |= decltype(msg.presence){1} << %u;\n            break;\n", field.bit);
    }
    std::printf("        default:\n            in.skip();\n        }\n    }\n    msg.presence = seen;\n}\n\n");
}

std::string write_statement(const field_descriptor &field, const std::string &value)
{
    const std::string number = std::to_string(field.number);
    switch (field.type) {
    case kind::message:
        return "write_message(out, " + number + ", " + value + ");";
    case kind::string:
        return "out.add_string(" + number + ", " + value + ");";
    case kind::bytes:
        return field.repeated ? "out.add_bytes(" + number + ", reinterpret_cast<const char *>(" + value + ".data), " +
                                    value + ".size);"
                              : "out.add_bytes(" + number + ", reinterpret_cast<const char *>(" + value + "), " +
                                    value + "_size);";
    default:
        return std::string("out.add_") + scalar_name(field.type) + "(" + number + ", " + value + ");";
    }
}

void write_writer(const message_descriptor &type)
{
    std::printf("template <class Writer>\nvoid write(Writer &out, const zidl_%s &msg)\n{\n", type.name);
    for (uint32_t i = 0; i < type.field_count; ++i) {
        const field_descriptor &field = type.fields[i];
        const std::string member = std::string("msg.") + field.member;
        if (field.repeated) {
            std::printf("    for (uint32_t i = 0; i < %s; ++i)\n        %s\n", count_of(field).c_str(),
                        write_statement(field, member + "[i]").c_str());
        } else {
            std::printf("    if (msg.presence >> %u & 1)\n        %s\n", field.bit,
                        write_statement(field, member).c_str());
        }
    }
    std::printf("}\n\n");
}

bool owns_memory(const message_descriptor &type)
{
    for (uint32_t i = 0; i < type.field_count; ++i) {
        const field_descriptor &field = type.fields[i];
        if (field.repeated || field.type == kind::string || field.type == kind::bytes ||
            (field.type == kind::message && owns_memory(*field.message)))
            return true;
    }
    return false;
}

void write_release(const message_descriptor &type)
{
    if (!owns_memory(type))
        return;
    std::printf("inline void release(zidl_%s &msg)\n{\n", type.name);
    for (uint32_t i = 0; i < type.field_count; ++i) {
        const field_descriptor &field = type.fields[i];
        const bool inner = field.type == kind::message && owns_memory(*field.message);
        if (field.repeated && inner)
            std::printf("    for (uint32_t i = 0; i < %s; ++i)\n        release(msg.%s[i]);\n", count_of(field).c_str(),
                        field.member);
        if (field.repeated && field.type == kind::bytes)
            std::printf("    for (uint32_t i = 0; i < %s; ++i)\n        free(msg.%s[i].data);\n",
                        count_of(field).c_str(), field.member);
        if (field.repeated || field.type == kind::string || field.type == kind::bytes)
            std::printf("    free(msg.%s);\n", field.member);
        else if (inner)
            std::printf("    release(msg.%s);\n", field.member);
    }
    std::printf("}\n\n");
}

// What a message holds first, so that every function stands behind those that it calls.
void write_message(const message_descriptor &type, std::set<std::string_view> &written)
{
    if (!written.insert(type.name).second)
        return;
    for (uint32_t i = 0; i < type.field_count; ++i) {
        if (type.fields[i].message != nullptr)
            write_message(*type.fields[i].message, written);
    }
    write_reader(type);
    write_writer(type);
    write_release(type);
}

} // namespace

int main()
{
    std::printf("// Generated by make_protozero. Do not edit.\n\n");
    std::set<std::string_view> written;
#define WRITE(type) write_message(*zidl::find_message(#type), written)
    BENCH_MESSAGE_TYPES(WRITE);
#undef WRITE
}

#include "tools/zidlc/emit_codec.hpp"

#include "tools/zidlc/derived_facts.hpp"
#include "tools/zidlc/names.hpp"
#include "tools/zidlc/printer.hpp"

#include <algorithm>

namespace zidlc
{
namespace
{

// How many of the fields declared next a decoder tests for before it asks the switch.
constexpr size_t lookahead = 3;

// How many neighbouring u32 fields make a run: an encoder takes it in a loop over the presence bits, a decoder in a loop
// over the tags.
constexpr ptrdiff_t shortest_run = 4;

using field_iterator = std::vector<field>::const_iterator;

bool is_embedded(const field &f)
{
    return f.type == kind::message && !f.repeated;
}

std::string wire_type_name(const field &f)
{
    return f.wire_type == 0 ? "varint" : f.wire_type == 2 ? "delimited" : "fixed32";
}

// The kind as helper names carry it.
std::string helper_kind(const field &f)
{
    if (f.repeated) {
        switch (f.type) {
        case kind::u8:
            return "u8s";
        case kind::u32:
            return "u32s";
        case kind::u64:
            return "u64s";
        case kind::bytes:
            return "byte_blocks";
        default:
            return "messages";
        }
    }
    switch (f.type) {
    case kind::u8:
        return "u8";
    case kind::u32:
        return "u32";
    case kind::u64:
        return "u64";
    case kind::boolean:
        return "bool";
    case kind::fixed32:
        return "fixed32";
    case kind::string:
        return "string";
    case kind::bytes:
        return "bytes";
    case kind::message:
        return "message";
    }
    return {};
}

// The member, and behind it the count or size that goes with it.
std::string members(const field &f, const std::string &object)
{
    std::string text = object + '.' + f.name;
    if (!f.count_name.empty())
        text += ", " + object + '.' + f.count_name;
    return text;
}

unsigned presence_words(const message &msg)
{
    unsigned words = 1;
    for (const field &f : msg.fields) {
        if (is_embedded(f))
            words += presence_words(*f.nested);
    }
    return words;
}

void emit_presence(printer &out, const message &msg)
{
    out.line("template <class Visit>");
    out.line("ZIDL_INLINE void each_presence({} &msg, const Visit &visit)", record_type(msg));
    out.line("{{");
    for (const field &f : msg.fields) {
        if (is_embedded(f))
            out.line("    each_presence(msg.{}, visit);", f.name);
    }
    out.line("    visit(msg.presence, {:#x});", msg.presence_mask);
    out.line("}}");
    out.line();
}

void emit_named_reset(printer &out, const message &msg)
{
    out.line("// The record as if nothing had been received; releases nothing.");
    out.line("inline void {}({} &msg)", msg.reset_name, record_type(msg));
    out.line("{{");
    out.line("    const spare_bits<{}> spare(msg);", record_type(msg));
    out.line("    memset(&msg, 0, sizeof msg);");
    out.line("    spare.restore(msg);");
    out.line("}}");
    out.line();
    out.line("template <>");
    out.line("ZIDL_INLINE void reset({} &msg)", record_type(msg));
    out.line("{{");
    out.line("    {}(msg);", msg.reset_name);
    out.line("}}");
    out.line();
}

// Where the run of u32 fields that starts at `first` ends: numbers one after another, tags that differ in their first byte
// alone.
field_iterator end_of_run(field_iterator first, field_iterator last)
{
    auto after = first;
    while (after != last && after->type == kind::u32 && !after->repeated && after->number / 16 == first->number / 16 &&
           after->tag_size <= 2 && after->number - first->number == after->bit - first->bit)
        ++after;
    return after;
}

// Messages with runs are many-sided: how long their values are cannot be foreseen. The small ones, an address or an id, look
// the same nearly every time.
bool has_varied_values(const message &msg)
{
    for (auto first = msg.fields.begin(); first != msg.fields.end(); ++first) {
        if (end_of_run(first, msg.fields.end()) - first >= shortest_run)
            return true;
    }
    return false;
}

// How many fields a small message has at most, and one that is mostly a run of values.
constexpr size_t few_fields = 6;
constexpr size_t few_values = 8;

// Small messages are read in the schema's order first: a few singular fields, or one run without memory around it.
bool is_small(const message &msg)
{
    const bool is_run = has_varied_values(msg) && !msg.owns_memory;
    return msg.fields.size() <= (is_run ? few_values : few_fields) && is_run == has_varied_values(msg) &&
           std::all_of(msg.fields.begin(), msg.fields.end(),
                       [](const field &f) { return !f.repeated && (f.nested == nullptr || is_small(*f.nested)); });
}

// Whether the sizes of its bytes members bound what the message takes on the wire: nothing has to be looked at, and no string
// to be measured.
bool is_bounded(const message &msg)
{
    return !msg.owns_memory || (is_small(msg) && std::all_of(msg.fields.begin(), msg.fields.end(), [](const field &f) {
                                    return f.type != kind::string && (f.nested == nullptr || is_bounded(*f.nested));
                                }));
}

void emit_shape(printer &out, const message &msg)
{
    out.line("template <>");
    out.line("struct shape<{}> {{", record_type(msg));
    out.line("    static constexpr unsigned presence_words = {};", presence_words(msg));
    out.line("    static constexpr size_t fixed_bound = {};", msg.fixed_bound);
    out.line("    static constexpr bool owns_memory = {};", msg.owns_memory);
    out.line("    static constexpr bool is_bounded = {};", is_bounded(msg));
    out.line("    static constexpr bool holds_bytes = {};", msg.has_bytes);
    out.line("}};");
    out.line();
}

void emit_sizes(printer &out, const message &msg)
{
    table rows;
    for (const field &f : msg.fields) {
        if (f.type == kind::bytes)
            rows.add("sizes.add<{}>\t(has<{}>(msg), msg.{});", f.number, f.bit, f.count_name);
        else if (f.nested != nullptr && f.nested->owns_memory)
            rows.add("add_sizes\t(sizes, msg.{});", f.name);
    }
    out.line("ZIDL_INLINE void add_sizes(content_sizes &sizes, const {} &msg)", record_type(msg));
    out.line("{{");
    out.block(rows, "    ");
    out.line("}}");
    out.line();
}

void add_encode_row(table &rows, const message &msg, const field &f)
{
    const char *const varied = f.type == kind::u32 && !f.repeated && has_varied_values(msg) ? "varied_" : "";
    rows.add("encode_{}{}\t<{}>\t(out, has<{}>(msg),\t {});", varied, helper_kind(f), f.number, f.bit,
             members(f, "msg"));
}

// Neighbouring embedded messages are mostly absent together: one test passes them all.
std::string absent_test(field_iterator first, field_iterator last)
{
    uint64_t bits = 0;
    std::string words;
    for (auto f = first; f != last; ++f) {
        bits |= uint64_t{1} << f->bit;
        words += fmt::format("{}any_presence(msg.{})", words.empty() ? "" : " | ", f->name);
    }
    return fmt::format("(msg.presence & {:#x}) != 0 || ({}) != 0", bits, words);
}

// One line for a run that is long enough to be worth a loop over its set presence bits; the fields by name beside it.
void add_run_row(table &rows, const message &msg, field_iterator first, field_iterator after)
{
    rows.add("encode_u32_run<{}, {}, {}, offsetof({}, {})>(out, msg); // {} to {}", first->number, first->bit,
             after - first, record_type(msg), first->name, first->name, std::prev(after)->name);
}

void emit_encode_rows(printer &out, const message &msg, field_iterator first, field_iterator last,
                      const std::string &indent)
{
    table rows;
    while (first != last) {
        if (const auto end = end_of_run(first, last); end - first >= shortest_run) {
            out.block(std::exchange(rows, {}), indent);
            add_run_row(rows, msg, first, end);
            out.block(std::exchange(rows, {}), indent);
            first = end;
            continue;
        }
        const auto after = std::find_if_not(first, last, is_embedded);
        if (after - first < 2) {
            add_encode_row(rows, msg, *first++);
            continue;
        }
        out.block(std::exchange(rows, {}), indent);
        out.line("{}if ({}) {{", indent, absent_test(first, after));
        for (; first != after; ++first)
            add_encode_row(rows, msg, *first);
        out.block(std::exchange(rows, {}), indent + "    ");
        out.line("{}}}", indent);
    }
    out.block(rows, indent);
}

// Fields of bounded size that stand together, below one test of the room that they need.
void emit_bounded_run(printer &out, const message &msg, field_iterator first, field_iterator last)
{
    uint64_t bound = 0;
    for (auto f = first; f != last; ++f)
        bound += fixed_bound(*f);
    out.line("    {{");
    out.line("        ZIDL_ROOM({}, out);", bound);
    emit_encode_rows(out, msg, first, last, "        ");
    out.line("    }}");
}

// A message that is bounded as a whole relies on the room that was made around it.
void emit_encode_body(printer &out, const message &msg)
{
    if (!msg.owns_memory)
        return emit_encode_rows(out, msg, msg.fields.begin(), msg.fields.end(), "    ");
    for (auto first = msg.fields.begin(); first != msg.fields.end();) {
        const bool is_variable = owns_memory(*first);
        const auto last =
            std::find_if(first, msg.fields.end(), [&](const field &f) { return owns_memory(f) != is_variable; });
        if (is_variable)
            emit_encode_rows(out, msg, first, last, "    ");
        else
            emit_bounded_run(out, msg, first, last);
        first = last;
    }
}

void emit_prefetches(printer &out, const message &msg, const std::string &object)
{
    for (const field &f : msg.fields) {
        if (f.repeated && f.type == kind::message)
            out.line("    prefetch({0}.{1}, {0}.{2});", object, f.name, f.count_name);
    }
}

void emit_encode(printer &out, const message &msg)
{
    out.line("template <class Sink>");
    out.line("Sink encode(Sink out, const {} &msg)", record_type(msg));
    out.line("{{");
    emit_prefetches(out, msg, "msg");
    emit_encode_body(out, msg);
    out.line("    return out;");
    out.line("}}");
    out.line();
}

// The kind as readers name it; numbers in messages with varied values are read without a guess.
std::string reader_kind(const field &f, bool varied)
{
    if (f.type == kind::boolean)
        return "boolean";
    if (f.type == kind::fixed32)
        return "fixed";
    const bool is_number = (f.type == kind::u32 || f.type == kind::u64) && !f.repeated;
    return (varied && is_number ? "varied_" : "") + helper_kind(f);
}

std::string read_call(const field &f, bool varied)
{
    const std::string number = f.repeated ? fmt::format("<{}>", f.number) : "";
    const std::string filled = f.repeated || !f.is_scalar() ? fmt::format(", seen & bit<{}>", f.bit) : "";
    return fmt::format("in.{}{}({}{})", reader_kind(f, varied), number, members(f, "msg"), filled);
}

// What a decoder reads with one line: a field, or a run of u32 fields.
struct read_group {
    field_iterator first;
    field_iterator last; // behind the last field

    bool is_run() const { return last - first >= shortest_run; }
};

std::vector<read_group> read_groups(const message &msg)
{
    std::vector<read_group> groups;
    for (auto first = msg.fields.begin(); first != msg.fields.end(); first = groups.back().last) {
        const read_group run{first, end_of_run(first, msg.fields.end())};
        groups.push_back(run.is_run() ? run : read_group{first, first + 1});
    }
    return groups;
}

std::string prediction(const read_group &group)
{
    if (group.is_run())
        return fmt::format("ZIDL_THEN_RUN({}, {});", group.first->number, group.last - group.first);
    return fmt::format("ZIDL_THEN({}, {});", group.first->number, wire_type_name(*group.first));
}

// What likely comes behind a group.
std::string predictions(const std::vector<read_group> &groups, size_t index)
{
    std::string tests;
    for (size_t next = index + 1; next < groups.size() && next <= index + lookahead; ++next)
        tests += prediction(groups[next]) + " ";
    return tests;
}

// One line for a run, and above it the cases, with the fields by name.
void emit_read_run(printer &out, const message &msg, const read_group &run, const std::string &behind)
{
    std::string cases;
    for (auto f = run.first; f != run.last; ++f)
        cases += fmt::format("ZIDL_CASE({}) ", f->number);
    const field &first = *run.first;
    out.line("        {}// {} to {}", cases, first.name, std::prev(run.last)->name);
    out.line(
        "        ZIDL_RUN({0}, (in.u32_run<{0}, {1}, {2}>(member_bytes(msg, offsetof({3}, {4})), seen))); {5}continue;",
        first.number, run.last - run.first, first.bit, record_type(msg), first.name, behind);
}

void add_read_row(table &rows, const field &f, bool varied, const std::string &behind)
{
    rows.add("ZIDL_FIELD({},\t {},\t {},\t {});\t {}\tcontinue;", f.number, wire_type_name(f), f.bit,
             read_call(f, varied), behind);
}

void emit_read_rows(printer &out, const message &msg)
{
    const auto groups = read_groups(msg);
    const bool varied = has_varied_values(msg);
    table rows;
    for (size_t i = 0; i < groups.size(); ++i) {
        if (groups[i].is_run()) {
            out.block(std::exchange(rows, {}), "        ");
            emit_read_run(out, msg, groups[i], predictions(groups, i));
        } else {
            add_read_row(rows, *groups[i].first, varied, predictions(groups, i));
        }
    }
    out.block(rows, "        ");
}

// The same for what is seldom read this way: nothing is foreseen.
void emit_patient_rows(printer &out, const message &msg)
{
    table rows;
    for (const field &f : msg.fields)
        add_read_row(rows, f, false, "");
    out.block(rows, "        ");
}

std::string field_numbers(const message &msg)
{
    std::string numbers;
    for (const field &f : msg.fields)
        numbers += (numbers.empty() ? "" : ", ") + std::to_string(f.number);
    return numbers;
}

std::string ordered_read_call(const message &msg, const field &f)
{
    return fmt::format("in.{}<{}>({})", reader_kind(f, has_varied_values(msg)), f.number, members(f, "msg"));
}

void add_ordered_row(table &rows, const message &msg, const read_group &group)
{
    const field &first = *group.first;
    if (group.is_run())
        rows.add("in.u32_run<{}, {}, {}>(member_bytes(msg, offsetof({}, {})), seen);", first.number,
                 group.last - group.first, first.bit, record_type(msg), first.name);
    else
        rows.add("if ({})\t seen |= bit<{}>;", ordered_read_call(msg, first), first.bit);
}

void emit_decode_in_order(printer &out, const message &msg)
{
    table rows;
    for (const read_group &group : read_groups(msg))
        add_ordered_row(rows, msg, group);
    out.line("ZIDL_INLINE void decode_in_order(ordered_reader &in, {} &msg)", record_type(msg));
    out.line("{{");
    out.line("    uint64_t seen = 0;");
    out.block(rows, "    ");
    out.line("    msg.presence = static_cast<{}>(msg.presence | seen);", presence_type(msg));
    out.line("}}");
    out.line();
}

void emit_decoder_head(printer &out, const message &msg, const std::string &linkage_and_name)
{
    out.line("{}({} &msg, const uint8_t *pos, const uint8_t *end, const decode_context &context)", linkage_and_name,
             record_type(msg));
    out.line("{{");
}

// Field after field, whatever comes, until the message ends.
void emit_field_loop(printer &out, const message &msg)
{
    out.line("    while (in.next_tag()) {{");
    out.line("        switch (in.tag()) {{");
    is_small(msg) ? emit_patient_rows(out, msg) : emit_read_rows(out, msg);
    out.line("        default:");
    out.line("            if (in.unknown(is_one_of<{}>(in.tag() >> 3)))", field_numbers(msg));
    out.line("                continue;");
    out.line("        }}");
    out.line("        break; // the value could not be read");
    out.line("    }}");
    out.line("    msg.presence = static_cast<{}>(msg.presence | seen);", presence_type(msg));
    out.line("    return in.status();");
    out.line("}}");
    out.line();
}

void emit_decode_small(printer &out, const message &msg)
{
    emit_decoder_head(out, msg, "ZIDL_COLD inline int32_t decode_in_any_order");
    out.line("    patient_reader in(pos, end, context);");
    out.line("    uint64_t seen = msg.presence;");
    emit_field_loop(out, msg);
    emit_decode_in_order(out, msg);
    emit_decoder_head(out, msg, "ZIDL_SMALL int32_t decode");
    out.line("    return decode_small(msg, pos, end, context);");
    out.line("}}");
    out.line();
}

void emit_decode(printer &out, const message &msg)
{
    if (is_small(msg))
        return emit_decode_small(out, msg);
    emit_decoder_head(out, msg, "inline int32_t decode");
    out.line("    reader in(pos, end, context);");
    out.line("    uint64_t seen = 0;");
    out.line("    {}", prediction(read_groups(msg).front()));
    emit_field_loop(out, msg);
}

void emit_duplicate(printer &out, const message &msg)
{
    table rows;
    for (const field &f : msg.fields) {
        if (is_embedded(f) && f.nested->owns_memory)
            rows.add("duplicate_owned\t(mem,\t dst.{},\t src.{});", f.name, f.name);
        else if (owns_memory(f))
            rows.add("mem.{}\t<{}>(dst,\t {},\t src.{});", f.repeated && f.is_scalar() ? "array" : helper_kind(f),
                     f.bit, members(f, "dst"), f.name);
    }
    out.line("// What `dst` shares with `src` becomes its own.");
    out.line("inline void duplicate_owned(copier &mem, {0} &dst, const {0} &src)", record_type(msg));
    out.line("{{");
    emit_prefetches(out, msg, "src");
    out.block(rows, "    ");
    out.line("}}");
    out.line();
}

void emit_release(printer &out, const message &msg)
{
    table rows;
    for (const field &f : msg.fields) {
        if (is_embedded(f) && f.nested->owns_memory)
            rows.add("release\t(mem, msg.{});", f.name);
        else if (f.repeated && !f.is_scalar())
            rows.add("mem.{}\t({});", helper_kind(f), members(f, "msg"));
        else if (owns_memory(f))
            rows.add("mem.{}\t(msg.{});", f.repeated ? "array" : helper_kind(f), f.name);
    }
    out.line("inline void release(const releaser &mem, {} &msg)", record_type(msg));
    out.line("{{");
    out.block(rows, "    ");
    out.line("}}");
    out.line();
}

void emit_message(printer &out, const message &msg)
{
    out.line("// {}", msg.name);
    out.line();
    emit_shape(out, msg);
    emit_presence(out, msg);
    if (!msg.reset_name.empty())
        emit_named_reset(out, msg);
    if (msg.owns_memory && is_bounded(msg))
        emit_sizes(out, msg);
    emit_encode(out, msg);
    emit_decode(out, msg);
    if (msg.owns_memory) {
        emit_duplicate(out, msg);
        emit_release(out, msg);
    }
}

void emit_function(printer &out, const operation &defined, const std::string &name,
                   const std::vector<std::string> &body)
{
    out.line("{} {}({})", defined.result, name, defined.parameter_list());
    out.line("{{");
    for (const std::string &line : body)
        out.line("    {}", line);
    out.line("}}");
    out.line();
}

// The calls of the operations that all types share, with a neutral value for every argument that this type leaves out.

std::string encode_flags(const message &msg)
{
    return msg.omit.encode_flags ? "0" : "flags";
}

std::string decode_call(const message &msg)
{
    return fmt::format("return zidl::decode_ext(*msg, buf, len, {}, {});",
                       msg.omit.decode_memory ? "nullptr, nullptr" : "alloc_fn, alloc_ctx",
                       msg.omit.decode_flags ? "0" : "flags");
}

void emit_baseline(printer &out, const message &msg)
{
    const auto build_of = [&](const operation &defined) {
        return msg.dispatch ? fmt::format("ZIDL_BASELINE({})", defined.name) : defined.name;
    };
    const operation encode = encode_operation(msg);
    const operation decode = decode_operation(msg);
    const operation duplicate = duplicate_operation(msg);
    const operation release = release_operation(msg);
    out.line("// {}", msg.name);
    out.line();
    emit_function(out, encode, build_of(encode),
                  {fmt::format("return zidl::encode_ext(*msg, buf, buflen, segs, nsegs, {});", encode_flags(msg))});
    emit_function(out, decode, build_of(decode), {decode_call(msg)});
    if (msg.dispatch) {
        out.line("ZIDL_DISPATCHED({})", encode.name);
        out.line("ZIDL_DISPATCHED({})", decode.name);
        out.line();
    }
    emit_function(out, duplicate, duplicate.name,
                  {fmt::format("return zidl::duplicate(*dst, *src, {});",
                               msg.omit.duplicate_memory ? "nullptr, nullptr" : "alloc_fn, alloc_ctx")});
    emit_function(out, release, release.name, {"zidl::free_ext(*msg, free_fn, free_ctx, flags);"});
}

// The quick paths alone; the rest is the baseline's.
void emit_bmi2(printer &out, const message &msg)
{
    const operation encode = encode_operation(msg);
    const operation decode = decode_operation(msg);
    out.line("// {}", msg.name);
    out.line();
    out.line("decltype({0}) {0}_baseline;", encode.name);
    out.line();
    emit_function(
        out, encode, encode.name + "_bmi2",
        {fmt::format("const size_t len = zidl::encode_quickly(*msg, buf, buflen, nsegs, {});", encode_flags(msg)),
         fmt::format("return ZIDL_LIKELY(len != zidl::not_written) ? len : {}_baseline(msg, buf, buflen, segs, "
                     "nsegs{});",
                     encode.name, msg.omit.encode_flags ? "" : ", flags")});
    emit_function(out, decode, decode.name + "_bmi2", {decode_call(msg)});
}

} // namespace

std::string emit_codec_header(const group &source)
{
    printer out;
    out.line("// {}", generated_line(source));
    out.line();
    out.line("#pragma once");
    out.line();
    out.line("#include \"codec/operations.hpp\"");
    out.line("#include \"{}\"", header_path(source.name));
    for (const std::string &used : source.uses)
        out.line("#include \"{}\"", codec_header_path(used));
    out.line();
    out.line("namespace zidl");
    out.line("{{");
    out.line("inline namespace ZIDL_VARIANT");
    out.line("{{");
    out.line();
    for (const auto &msg : source.messages)
        emit_message(out, *msg);
    out.line("}} // namespace ZIDL_VARIANT");
    out.line("}} // namespace zidl");
    return out.take();
}

std::string emit_codec_source(const group &source)
{
    printer out;
    out.line("// {}", generated_line(source));
    out.line();
    out.line("#include \"{}\"", codec_header_path(source.name));
    out.line("#include \"codec/variants.hpp\"");
    out.line();
    out.line("extern \"C\" {{");
    out.line();
    out.line("#ifndef ZIDL_BMI2_BUILD");
    out.line();
    for (const auto &msg : source.messages)
        emit_baseline(out, *msg);
    out.line("#else");
    out.line();
    for (const auto &msg : source.messages) {
        if (msg->dispatch)
            emit_bmi2(out, *msg);
    }
    out.line("#endif");
    out.line();
    out.line("}} // extern \"C\"");
    return out.take();
}

} // namespace zidlc

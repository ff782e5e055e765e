// What the emitters write for a small schema, byte for byte as in golden/. After a wanted change, run
// `zidlc -o golden --only header,descriptors,proto,docs golden/schema/*.zidl` here and read the difference.

#include "tests/zidlc/support.hpp"

#include "tools/zidlc/artefacts.hpp"

#include <fmt/format.h>

#include <sstream>

namespace zidlc
{

namespace
{

const std::set<artefact> everything = {artefact::header, artefact::codec, artefact::descriptors, artefact::proto,
                                       artefact::docs};

class zidlc_emitters : public in_fresh_folder
{
protected:
    static std::vector<generated_file> generated(const std::vector<std::filesystem::path> &schemas,
                                                 const std::set<artefact> &wanted = everything)
    {
        return generate(model_of_files(schemas), wanted);
    }

    static std::vector<std::string> paths(const std::vector<generated_file> &files)
    {
        std::vector<std::string> result;
        for (const generated_file &file : files)
            result.push_back(file.path);
        return result;
    }

    static void expect_golden(artefact wanted, const std::vector<std::string> &expected_paths)
    {
        const std::vector<generated_file> files =
            generated({golden / "schema/weather.zidl", golden / "schema/geo.zidl"}, {wanted});
        EXPECT_EQ(paths(files), expected_paths);
        for (const generated_file &file : files)
            EXPECT_EQ(file.text, read(golden / file.path)) << file.path;
    }

    static inline const std::filesystem::path golden = GOLDEN_FOLDER;
};

bool same(const std::vector<generated_file> &a, const std::vector<generated_file> &b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const generated_file &x, const generated_file &y) {
        return x.path == y.path && x.text == y.text;
    });
}

} // namespace

TEST_F(zidlc_emitters, headers_are_as_agreed)
{
    expect_golden(artefact::header, {"messages/geo.h", "messages/weather.h"});
}

TEST_F(zidlc_emitters, descriptors_are_as_agreed)
{
    expect_golden(artefact::descriptors, {"messages/descriptors.hpp", "messages/descriptors.cpp"});
}

TEST_F(zidlc_emitters, proto_files_are_as_agreed)
{
    expect_golden(artefact::proto, {"proto/geo.proto", "proto/weather.proto"});
}

TEST_F(zidlc_emitters, the_manual_is_as_agreed)
{
    expect_golden(artefact::docs, {"docs/messages/geo.md", "docs/messages/weather.md", "docs/messages/README.md"});
}

TEST_F(zidlc_emitters, the_codec_defines_the_four_operations_of_every_message)
{
    const std::vector<generated_file> files = generated({golden / "schema/weather.zidl"}, {artefact::codec});
    ASSERT_EQ(paths(files), (std::vector<std::string>{"messages/weather.hpp", "messages/weather.cpp"}));
    for (const char *name : {"instrument", "reading", "archive", "day"}) {
        for (const char *operation : {"encode_ext", "decode_ext", "duplicate", "free_ext"})
            EXPECT_NE(files[1].text.find(fmt::format(" zidl_{}_{}(", name, operation)), std::string::npos) << operation;
    }
}

TEST_F(zidlc_emitters, the_codec_dispatches_what_says_so)
{
    const std::string text = generated({golden / "schema/weather.zidl"}, {artefact::codec}).at(1).text;
    for (const char *operation : {"encode_ext", "decode_ext"}) {
        EXPECT_NE(text.find(fmt::format(" ZIDL_BUILD(zidl_history_{})(", operation)), std::string::npos);
        EXPECT_NE(text.find(fmt::format("ZIDL_DISPATCHED(zidl_history_{})", operation)), std::string::npos);
        EXPECT_EQ(text.find(fmt::format("ZIDL_BUILD(zidl_day_{})", operation)), std::string::npos) << "within history";
    }
    EXPECT_NE(text.find("ZIDL_EXACT_ENCODER(zidl_history)"), std::string::npos) << "in one build alone";
    for (const char *operation : {"duplicate", "free_ext"})
        EXPECT_NE(text.find(fmt::format(" zidl_history_{}(", operation)), std::string::npos) << "in one build alone";
}

TEST_F(zidlc_emitters, the_decoder_of_a_rare_message_is_in_one_build_alone)
{
    const std::vector<generated_file> files = generated({golden / "schema/weather.zidl"}, {artefact::codec});
    EXPECT_NE(files.at(0).text.find("#ifndef ZIDL_BMI2_BUILD // which calls this one, see codec/built_once.hpp\n"
                                    "inline int32_t decode(zidl_archive &msg,"),
              std::string::npos);
    EXPECT_EQ(files.at(0).text.find("#ifndef", files.at(0).text.find("decode(zidl_archive &msg,")), std::string::npos)
        << "of the other messages every build has a copy, or they are bounded";
    EXPECT_NE(files.at(1).text.find("\nZIDL_BUILT_ONCE(zidl_archive)\n"), std::string::npos);
    EXPECT_EQ(files.at(1).text.find("ZIDL_BUILT_ONCE(zidl_day)"), std::string::npos) << "it is bounded";
}

TEST_F(zidlc_emitters, resets_are_called_after_their_messages_without_the_name_of_the_group)
{
    write("sample.zidl", "group sample;\n"
                         "message sample_hop { 1 x : u32; }\n"
                         "message samples { 1 x : u32; }\n"
                         "message sample { 1 x : u32; }\n"
                         "message other_hop { 1 x : u32; }\n"
                         "message sample_2d { 1 x : u32; }\n");
    const std::string text = generated({"sample.zidl"}, {artefact::codec}).at(0).text;
    for (const char *line :
         {"\nZIDL_RESET(hop_clear, zidl_sample_hop)\n", "\nZIDL_RESET(samples_clear, zidl_samples)\n",
          "\nZIDL_RESET(sample_clear, zidl_sample)\n", "\nZIDL_RESET(other_hop_clear, zidl_other_hop)\n",
          "\nZIDL_RESET(sample_2d_clear, zidl_sample_2d)\n"})
        EXPECT_NE(text.find(line), std::string::npos) << line;
}

TEST_F(zidlc_emitters, two_runs_give_the_same_bytes)
{
    const std::vector<std::filesystem::path> schemas = {golden / "schema/geo.zidl", golden / "schema/weather.zidl"};
    EXPECT_TRUE(same(generated(schemas), generated(schemas)));
}

TEST_F(zidlc_emitters, neither_the_order_of_the_files_nor_the_current_folder_matters)
{
    const auto there = generated({golden / "schema/geo.zidl", golden / "schema/weather.zidl"});
    std::filesystem::current_path(golden / "schema");
    EXPECT_TRUE(same(there, generated({"weather.zidl", "geo.zidl"})));
}

TEST_F(zidlc_emitters, groups_that_are_only_used_get_no_files_but_stand_in_the_descriptors)
{
    const auto files = generated({golden / "schema/weather.zidl"});
    EXPECT_EQ(paths(files),
              (std::vector<std::string>{"messages/weather.h", "messages/weather.hpp", "messages/weather.cpp",
                                        "proto/weather.proto", "docs/messages/weather.md", "messages/descriptors.hpp",
                                        "messages/descriptors.cpp", "docs/messages/README.md"}));
    EXPECT_NE(files.at(6).text.find("descriptor_of_geo_position"), std::string::npos);
    EXPECT_EQ(files.at(7).text.find("[geo]"), std::string::npos);
}

TEST_F(zidlc_emitters, wide_presence_words_are_tested_and_set_in_their_own_width)
{
    std::string text = "group sample;\nmessage m {\n";
    for (unsigned i = 1; i <= 33; ++i)
        text += fmt::format("    {0} f{0} : u32;\n", i);
    write("sample.zidl", text + "}\n");
    const std::string header = generated({"sample.zidl"}, {artefact::header}).at(0).text;
    for (const char *line :
         {"    uint64_t presence; // bits 0 to 32\n",
          "static inline bool zidl_m_has_f33(const zidl_m *msg) { return msg->presence >> 32 & 1; }\n",
          "static inline void zidl_m_set_f33(zidl_m *msg, uint32_t value) { msg->f33 = value; msg->presence |= "
          "UINT64_C(1) << 32; }\n"})
        EXPECT_NE(header.find(line), std::string::npos) << line;
}

TEST_F(zidlc_emitters, no_line_of_code_is_wider_than_140_columns)
{
    std::vector<std::filesystem::path> schemas;
    for (const auto &file : std::filesystem::directory_iterator(SCHEMA_FOLDER))
        schemas.push_back(file.path());
    ASSERT_FALSE(schemas.empty());
    size_t lines = 0;
    for (const generated_file &file :
         generated(schemas, {artefact::header, artefact::codec, artefact::descriptors, artefact::proto})) {
        std::istringstream text(file.text);
        for (std::string line; std::getline(text, line); ++lines)
            EXPECT_LE(line.size(), 140u) << file.path << ": " << line;
    }
    EXPECT_GT(lines, 10000u);
}

TEST_F(zidlc_emitters, ownership_that_does_not_fit_in_a_line_is_wrapped)
{
    std::string text = "group sample;\n# All.\nmessage m {\n";
    for (unsigned i = 1; i <= 8; ++i)
        text += fmt::format("    {0} a_member_name_{0} : string;\n", i);
    write("sample.zidl", text + "}\n");
    const std::string header = generated({"sample.zidl"}, {artefact::header}).at(0).text;
    EXPECT_NE(header.find("// All.\n"
                          "// Owns a_member_name_1, a_member_name_2, a_member_name_3, a_member_name_4, "
                          "a_member_name_5, a_member_name_6,\n"
                          "// a_member_name_7 and a_member_name_8.\n"),
              std::string::npos)
        << header;
}

} // namespace zidlc

// What is read out of packed files, whole, several in one, damaged and cut.

#include "tests/ribtool/run_ribtool.hpp"
#include "tools/ribtool/input/compressed_input.hpp"

namespace ribtool_test
{

namespace
{

using ribtool::compressed_input;

const std::string FORMATS[] = {"xz", "gzip", "bzip2", "zstd"};

std::string packed(const std::string &format, const std::string &text)
{
    const run_result result = run(format, {"-c"}, text);
    EXPECT_EQ(result.exit_code, 0) << format << " " << result.err;
    return result.out;
}

// Hard to pack: an archive of many blocks.
std::string noise(int len)
{
    std::string text;
    uint32_t state = 1;
    for (int index = 0; index < len; ++index) {
        state = state * 1664525 + 1013904223;
        text += static_cast<char>(state >> 24);
    }
    return text;
}

struct read_result {
    std::string text;
    std::string error; // empty: the end was reached
};

} // namespace

class compressed : public tool_test
{
protected:
    read_result read_all(const std::string &contents) const
    {
        const std::string file = write("file", contents);
        read_result result;
        try {
            compressed_input input(file);
            uint8_t room[1000];
            while (const size_t got = input.read(room))
                result.text.append(reinterpret_cast<const char *>(room), got);
            if (input.error())
                result.error = input.error()->text;
            EXPECT_EQ(input.read(room), 0u); // the end stays the end
        } catch (const ribtool::failure &failure) {
            result.error = failure.what();
        }
        return result;
    }
};

TEST_F(compressed, each_format_is_told_by_its_first_bytes)
{
    const std::string text = noise(60000);
    for (const std::string &format : FORMATS) {
        const read_result result = read_all(packed(format, text));
        EXPECT_TRUE(result.text == text) << format;
        EXPECT_EQ(result.error, "") << format;
    }
}

TEST_F(compressed, a_file_that_is_not_packed_is_read_as_it_is)
{
    for (const std::string &text :
         {std::string(), std::string("B"), std::string("BZh9 is no archive"), std::string("\x1f\x8b", 2),
          std::string("\xfd"
                      "7zXY"),
          noise(60000)}) {
        const read_result result = read_all(text);
        EXPECT_TRUE(result.text == text) << text.substr(0, 20);
        EXPECT_EQ(result.error, "");
    }
}

TEST_F(compressed, archives_one_after_another_are_one_file)
{
    for (const std::string &format : FORMATS) {
        const read_result result =
            read_all(packed(format, "first ") + packed(format, "") + packed(format, "and second"));
        EXPECT_EQ(result.text, "first and second") << format;
        EXPECT_EQ(result.error, "") << format;
    }
}

TEST_F(compressed, zeros_behind_an_xz_archive_are_padding)
{
    const std::string padding(8, '\0');
    const read_result result = read_all(packed("xz", "first ") + padding + packed("xz", "and second") + padding);
    EXPECT_EQ(result.text, "first and second");
    EXPECT_EQ(result.error, "");
}

TEST_F(compressed, what_follows_an_archive_and_is_none_is_an_error_behind_its_contents)
{
    for (const std::string &format : FORMATS) {
        const read_result result = read_all(packed(format, "contents") + "something else");
        EXPECT_EQ(result.text, "contents") << format;
        EXPECT_EQ(result.error, "cannot unpack: something else follows") << format;
    }
}

TEST_F(compressed, an_archive_that_is_cut_anywhere_gives_its_start_and_an_error)
{
    const std::string text = "some text, some more text, and the end";
    for (const std::string &format : FORMATS) {
        const std::string archive = packed(format, text);
        for (size_t len = 6; len < archive.size(); ++len) {
            const read_result result = read_all(archive.substr(0, len));
            EXPECT_EQ(result.error, "cannot unpack: truncated") << format << " " << len;
            EXPECT_EQ(text.rfind(result.text, 0), 0u) << format << " " << len;
        }
    }
}

TEST_F(compressed, a_damaged_archive_is_an_error_behind_what_is_before_the_damage)
{
    const std::string text = noise(300000);
    for (const std::string &format : FORMATS) {
        std::string archive = packed(format, text);
        archive[archive.size() - 50] ^= 0x10;
        const read_result result = read_all(archive);
        EXPECT_EQ(result.error, "cannot unpack: damaged") << format;
        if (format == "bzip2") // its blocks are longer than all of this
            continue;
        EXPECT_TRUE(result.text.substr(0, 100000) == text.substr(0, 100000)) << format;
    }
}

// The header of an archive says how far back it refers: 2 GiB here.
// All of it is read ahead, with the damage, when the capture is opened.
TEST_F(compressed, a_small_capture_in_a_damaged_archive_is_read_up_to_the_damage)
{
    ASSERT_EQ(ribtool({"synth", "--profile", "full-table", "--updates", "3", "-o", path("small.pcap")}).exit_code, 0);
    const bytes capture = read("small.pcap");
    for (const std::string &format : FORMATS) {
        std::string archive = packed(format, std::string(capture.begin(), capture.end()));
        archive[archive.size() - 3] ^= 1; // of a checksum, a length or a mark
        const run_result result = ribtool({"show", write("file", archive)});
        EXPECT_EQ(result.exit_code, 4) << format << " " << result.err;
        EXPECT_NE(result.err.find("cannot unpack: "), std::string::npos) << format << " " << result.err;
        if (format == "xz") { // which has given all before it looks at its end
            EXPECT_EQ(result.out_lines().size(), 3u);
            EXPECT_NE(result.err.find("file: packet 4: cannot unpack: "), std::string::npos) << result.err;
        }
    }
}

TEST_F(compressed, an_archive_that_asks_for_too_much_memory_is_refused)
{
    const std::string greedy_zstd = {
        '\x28',
        '\xb5',
        '\x2f',
        '\xfd',                            // mark
        '\x00',                            // no size of the contents
        static_cast<char>((31 - 10) << 3), // a window of 2^31 bytes
        '\x01',
        '\x00',
        '\x00', // the last block, empty
    };
    EXPECT_EQ(read_all(greedy_zstd).error, "cannot unpack: that takes more than 256 MiB of memory");
}

} // namespace ribtool_test

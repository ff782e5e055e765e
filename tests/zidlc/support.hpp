// What the tests of the schema compiler share: a folder to work in, and the way from text to errors or a model.

#pragma once

#include "tools/zidlc/build_model.hpp"
#include "tools/zidlc/loader.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace zidlc
{

// A fresh folder that is the current one for the duration of a test, so that paths in messages are plain names.
class in_fresh_folder : public testing::Test
{
protected:
    void SetUp() override
    {
        std::string name = (std::filesystem::temp_directory_path() / "zidlc_test.XXXXXX").string();
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        folder_ = name;
        before_ = std::filesystem::current_path();
        std::filesystem::current_path(folder_);
    }

    void TearDown() override
    {
        std::filesystem::current_path(before_);
        std::filesystem::remove_all(folder_);
    }

    static void write(const std::string &path, const std::string &text)
    {
        if (const auto parent = std::filesystem::path(path).parent_path(); !parent.empty())
            std::filesystem::create_directories(parent);
        std::ofstream(path, std::ios::binary) << text;
    }

    static std::string read(const std::string &path)
    {
        std::ifstream in(path, std::ios::binary);
        EXPECT_TRUE(in) << path;
        return {std::istreambuf_iterator<char>(in), {}};
    }

    // Everything that a run on these files reports.
    static std::string errors_in_files(const std::vector<std::filesystem::path> &files,
                                       const std::vector<std::filesystem::path> &folders = {})
    {
        diagnostics errors;
        const auto loaded = load(files, folders, errors);
        if (errors.empty())
            build_model(loaded, errors);
        return errors.text();
    }

    // The same for one file, sample.zidl.
    static std::string errors_in(const std::string &text)
    {
        write("sample.zidl", text);
        return errors_in_files({"sample.zidl"});
    }

    // The model of files that have no errors.
    static model model_of_files(const std::vector<std::filesystem::path> &files)
    {
        diagnostics errors;
        model all = build_model(load(files, {}, errors), errors);
        EXPECT_EQ(errors.text(), "");
        return all;
    }

    static model model_of(const std::string &text)
    {
        write("sample.zidl", text);
        return model_of_files({"sample.zidl"});
    }

private:
    std::filesystem::path folder_;
    std::filesystem::path before_;
};

} // namespace zidlc

#include "local_files.hpp"

#include <support/temporary_folder.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

namespace tarnix::cli {
namespace {

namespace fs = std::filesystem;
using test::write_bytes;
using testing::HasSubstr;

class LocalFilesTest : public testing::Test {
protected:
    test::temporary_folder folder_;
};

using LocalTargetTest = LocalFilesTest;

TEST_F(LocalTargetTest, a_folder_means_a_file_in_it)
{
    EXPECT_EQ(local_target(folder_.path(), "n"), folder_ / "n");
    EXPECT_EQ(local_target("not there/", "n"), fs::path("not there/n"));
    EXPECT_EQ(local_target(folder_ / "other", "n"), folder_ / "other");
}

using CheckReadableTest = LocalFilesTest;

TEST_F(CheckReadableTest, says_which_file_and_why)
{
    check_readable(write_bytes(folder_ / "a", ""));
    try {
        check_readable(folder_ / "b");
        FAIL() << "was read";
    } catch (const local_file_error& error) {
        EXPECT_THAT(error.what(), HasSubstr((folder_ / "b").string()));
        EXPECT_THAT(error.what(), HasSubstr("No such file"));
    }
}

} // namespace
} // namespace tarnix::cli

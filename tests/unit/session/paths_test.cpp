#include "paths.hpp"

#include <gtest/gtest.h>

namespace tarnix::ftp {
namespace {

TEST(AbsolutePathTest, relative_paths_are_seen_from_the_folder)
{
    EXPECT_EQ(absolute_path("/home/u", "a"), "/home/u/a");
    EXPECT_EQ(absolute_path("/home/u", "a/b c"), "/home/u/a/b c");
    EXPECT_EQ(absolute_path("/", "a"), "/a");
    EXPECT_EQ(absolute_path("/home/u", ""), "/home/u");
    EXPECT_EQ(absolute_path("/", ""), "/");
}

TEST(AbsolutePathTest, absolute_paths_are_not)
{
    EXPECT_EQ(absolute_path("/home/u", "/a"), "/a");
    EXPECT_EQ(absolute_path("/home/u", "/"), "/");
}

TEST(AbsolutePathTest, dots_are_resolved)
{
    EXPECT_EQ(absolute_path("/home/u", "."), "/home/u");
    EXPECT_EQ(absolute_path("/home/u", ".."), "/home");
    EXPECT_EQ(absolute_path("/home/u", "../../../.."), "/");
    EXPECT_EQ(absolute_path("/home/u", "a/./../b"), "/home/u/b");
    EXPECT_EQ(absolute_path("/", "/a/.."), "/");
}

TEST(AbsolutePathTest, names_that_begin_with_dots_stay)
{
    EXPECT_EQ(absolute_path("/h", "..."), "/h/...");
    EXPECT_EQ(absolute_path("/h", ".hidden/..x"), "/h/.hidden/..x");
}

TEST(AbsolutePathTest, superfluous_slashes_go)
{
    EXPECT_EQ(absolute_path("/h/", "a//b/"), "/h/a/b");
    EXPECT_EQ(absolute_path("//h", "x"), "/h/x");
    EXPECT_EQ(absolute_path("/h", "//a"), "/a");
}

TEST(AbsolutePathTest, never_is_empty)
{
    EXPECT_EQ(absolute_path("", ""), "/");
    EXPECT_EQ(absolute_path("", "a"), "/a");
}

TEST(ParentFolderTest, is_one_level_up)
{
    EXPECT_EQ(parent_folder("/a/b"), "/a");
    EXPECT_EQ(parent_folder("/a"), "/");
    EXPECT_EQ(parent_folder("/"), "/");
}

TEST(EscapeQuotesTest, quotes_and_backslashes_get_a_backslash)
{
    EXPECT_EQ(escape_quotes("/a b"), "/a b");
    EXPECT_EQ(escape_quotes("/a\"b"), "/a\\\"b");
    EXPECT_EQ(escape_quotes("/a\\"), "/a\\\\");
    EXPECT_EQ(escape_quotes("/it's"), "/it's");
}

TEST(UndoubleQuotesTest, doubled_quotes_are_one)
{
    EXPECT_EQ(undouble_quotes("/a\"\"b"), "/a\"b");
    EXPECT_EQ(undouble_quotes("/a\"\"\"\"b"), "/a\"\"b");
    EXPECT_EQ(undouble_quotes("/plain"), "/plain");
}

} // namespace
} // namespace tarnix::ftp

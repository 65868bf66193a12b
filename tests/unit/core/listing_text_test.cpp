#include <tarnix/io/ftp/core.hpp>

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace tarnix::test {
namespace {

using namespace tarnix::io::ftp::core;
using pieces = std::vector<std::string_view>;

TEST(SplitString, an_empty_text_is_one_empty_piece)
{
    EXPECT_EQ(split_string("", "\n"), pieces{""});
    EXPECT_EQ(split_string("", ""), pieces{""});
}

TEST(SplitString, an_empty_separator_separates_nothing)
{
    EXPECT_EQ(split_string("abc", ""), pieces{"abc"});
}

TEST(SplitString, a_text_without_the_separator_is_the_only_piece)
{
    EXPECT_EQ(split_string("abc", "\r\n"), pieces{"abc"});
    EXPECT_EQ(split_string("a\nb\rc", "\r\n"), pieces{"a\nb\rc"});
}

TEST(SplitString, a_separator_at_the_end_adds_an_empty_piece)
{
    EXPECT_EQ(split_string("x\n", "\n"), (pieces{"x", ""}));
    EXPECT_EQ(split_string("a\r\n", "\r\n"), (pieces{"a", ""}));
    EXPECT_EQ(split_string("\r\n", "\r\n"), (pieces{"", ""}));
}

TEST(SplitString, empty_pieces_are_never_dropped)
{
    EXPECT_EQ(split_string("\n\n", "\n"), (pieces{"", "", ""}));
    EXPECT_EQ(split_string("a\r\n\r\nb", "\r\n"), (pieces{"a", "", "b"}));
    EXPECT_EQ(split_string("\na", "\n"), (pieces{"", "a"}));
}

TEST(SplitString, separators_are_found_from_left_to_right_without_overlap)
{
    EXPECT_EQ(split_string("aaa", "aa"), (pieces{"", "a"}));
}

TEST(SplitString, a_zero_byte_is_a_character)
{
    const std::string text("a\0b\0", 4);
    EXPECT_EQ(split_string(text, std::string_view("\0", 1)), (pieces{"a", "b", ""}));
}

TEST(SplitString, pieces_point_into_the_text)
{
    const std::string text = "ab\ncd";
    const auto found = split_string(text, "\n");
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0].data(), text.data());
    EXPECT_EQ(found[1].data(), text.data() + 3);
}

TEST(ParseNlstListing, splits_at_line_feeds_and_keeps_carriage_returns)
{
    EXPECT_EQ(parse_nlst_listing("a\r\nb"), (pieces{"a\r", "b"}));
    EXPECT_EQ(parse_nlst_listing("a\nb\n"), (pieces{"a", "b", ""}));
    EXPECT_EQ(parse_nlst_listing(""), pieces{""});
}

TEST(ParseNlstListing, lines_point_into_the_listing)
{
    const std::string listing = "a\nb";
    EXPECT_EQ(parse_nlst_listing(listing).back().data(), listing.data() + 2);
}

} // namespace
} // namespace tarnix::test

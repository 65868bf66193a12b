#include <support/identifier_matchers.hpp>

#include <tarnix/io/ftp/core.hpp>

#include <gtest/gtest.h>

namespace tarnix::test {
namespace {

using namespace tarnix::io::ftp::core;

TEST(MatchResponseCode, finds_the_first_line_that_begins_with_the_code)
{
    EXPECT_EQ(match_response_code("220 hi\r\n257 \"/x\" ok\r\n", "257"), "257 \"/x\" ok");
    EXPECT_EQ(match_response_code("257 a\r\n257 b\r\n", "257"), "257 a");
}

TEST(MatchResponseCode, a_continuation_line_matches_too)
{
    EXPECT_EQ(match_response_code("257-a\r\n257 b\r\n", "257"), "257-a");
}

TEST(MatchResponseCode, an_empty_code_matches_nothing)
{
    EXPECT_EQ(match_response_code("257 a\r\n", ""), std::nullopt);
    EXPECT_EQ(match_response_code("", ""), std::nullopt);
}

TEST(MatchResponseCode, only_a_carriage_return_with_a_line_feed_ends_a_line)
{
    EXPECT_EQ(match_response_code("257 \"/x\"\n", "257"), "257 \"/x\"\n");
    EXPECT_EQ(match_response_code("200 a\n257 b", "257"), std::nullopt);
    EXPECT_EQ(match_response_code("200 a\r257 b", "257"), std::nullopt);
}

TEST(MatchResponseCode, a_line_shorter_than_the_code_does_not_match)
{
    EXPECT_EQ(match_response_code("25", "257"), std::nullopt);
    EXPECT_EQ(match_response_code("", "257"), std::nullopt);
}

TEST(MatchResponseCode, a_line_that_is_exactly_the_code_matches)
{
    EXPECT_EQ(match_response_code("257\r\n", "257"), "257");
}

TEST(MatchResponseCode, the_code_is_a_literal_prefix)
{
    EXPECT_EQ(match_response_code(" 257 a\r\n", "257"), std::nullopt);
    EXPECT_EQ(match_response_code("2571 a\r\n", "257"), "2571 a");
    EXPECT_EQ(match_response_code("2.7 a\r\n", "2.7"), "2.7 a");
    EXPECT_EQ(match_response_code("257 a\r\n", "2.7"), std::nullopt);
}

TEST(ParsePwdResponse, takes_what_stands_between_the_first_and_the_last_quote)
{
    EXPECT_EQ(parse_pwd_response("257 \"/home/u\" is cwd"), "/home/u");
    EXPECT_EQ(parse_pwd_response("257 \"/a\"b\" is \"cwd\""), "/a\"b\" is \"cwd");
    EXPECT_EQ(parse_pwd_response("257\"/a\""), "/a");
}

TEST(ParsePwdResponse, doubled_quotes_inside_stay_doubled)
{
    EXPECT_EQ(parse_pwd_response("257 \"/a\"\"b\" x"), "/a\"\"b");
}

TEST(ParsePwdResponse, two_quotes_in_a_row_are_an_empty_path)
{
    EXPECT_EQ(parse_pwd_response("257 \"\""), "");
}

TEST(ParsePwdResponse, double_slashes_become_single_ones_once)
{
    EXPECT_EQ(parse_pwd_response("257 \"//srv//data\""), "/srv/data");
    EXPECT_EQ(parse_pwd_response("257 \"///\""), "//");
    EXPECT_EQ(parse_pwd_response("257 \"///x\""), "//x");
    EXPECT_EQ(parse_pwd_response("257 \"////\""), "//");
    EXPECT_EQ(parse_pwd_response("257 \"a//b\""), "a/b");
    EXPECT_EQ(parse_pwd_response("257 \"/a/b/\""), "/a/b/");
}

TEST(ParsePwdResponse, a_line_shorter_than_a_code_raises)
{
    for (const auto* line : {"25", "", "2"})
        EXPECT_ERROR_ID(parse_pwd_response(line),
                        id_of<ids::InternalError>("PWD", "PWD response code is too short"));
}

TEST(ParsePwdResponse, another_code_raises_with_code_and_line)
{
    EXPECT_ERROR_ID(
        parse_pwd_response("550 x"),
        id_of<ids::InternalError>("PWD", "PWD operation failed or returned unrecognized status "
                                         "code (550) from response: 550 x"));
    EXPECT_ERROR_ID(
        parse_pwd_response(" 257"),
        id_of<ids::InternalError>("PWD", "PWD operation failed or returned unrecognized status "
                                         "code ( 25) from response:  257"));
}

TEST(ParsePwdResponse, a_line_without_quotes_raises)
{
    EXPECT_ERROR_ID(
        parse_pwd_response("257 /x"),
        id_of<ids::InternalError>("PWD", "Could not find opening quote in PWD response: 257 /x"));
    EXPECT_ERROR_ID(
        parse_pwd_response("257"),
        id_of<ids::InternalError>("PWD", "Could not find opening quote in PWD response: 257"));
}

TEST(ParsePwdResponse, a_line_with_one_quote_raises)
{
    EXPECT_ERROR_ID(
        parse_pwd_response("257 \"/x"),
        id_of<ids::InternalError>("PWD", "Could not find closing quote in PWD response: 257 \"/x"));
}

} // namespace
} // namespace tarnix::test

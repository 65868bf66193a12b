#include <support/identifier_matchers.hpp>
#include <support/option_recorder.hpp>

#include <tarnix/io/ftp/core.hpp>

#include <gtest/gtest.h>

#include <string>

namespace tarnix::test {
namespace {

using namespace tarnix::io::ftp::core;

class path_text : public testing::Test {
protected:
    std::string fullurl_at(const std::string& url, const std::string& path, bool is_encoded = false)
    {
        recorder_.start_at(url);
        return fullurl(handle_, path, is_encoded);
    }

    option_recorder recorder_;
    curl_ptr handle_{false};
};

std::string every_byte()
{
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte)
        bytes += static_cast<char>(byte);
    return bytes;
}

std::string in_hexadecimal(char byte)
{
    constexpr auto digits = "0123456789ABCDEF";
    const auto value = static_cast<unsigned char>(byte);
    return {'%', digits[value / 16], digits[value % 16]};
}

TEST_F(path_text, add_trailing_slash_gives_exactly_one_unless_empty)
{
    EXPECT_EQ(add_trailing_slash(""), "");
    EXPECT_EQ(add_trailing_slash("/"), "/");
    EXPECT_EQ(add_trailing_slash("a"), "a/");
    EXPECT_EQ(add_trailing_slash("a/"), "a/");
    EXPECT_EQ(add_trailing_slash("a//"), "a//");
}

TEST_F(path_text, percent_encode_encodes_slashes_too)
{
    EXPECT_EQ(percent_encode(handle_, "a/b"), "a%2Fb");
    EXPECT_EQ(percent_encode(handle_, "~user"), "~user");
    EXPECT_EQ(percent_encode(handle_, ""), "");
    EXPECT_EQ(percent_encode(handle_, "100%"), "100%25");
}

TEST_F(path_text, percent_encode_keeps_letters_digits_and_four_characters_only)
{
    const std::string kept = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";
    for (const auto byte : every_byte()) {
        const std::string text(1, byte);
        const auto encoded = percent_encode(handle_, text);
        if (kept.find(byte) != std::string::npos)
            EXPECT_EQ(encoded, text);
        else
            EXPECT_EQ(encoded, in_hexadecimal(byte));
    }
}

TEST_F(path_text, percent_decode_brings_back_every_byte)
{
    EXPECT_EQ(percent_decode(handle_, percent_encode(handle_, every_byte())), every_byte());
}

TEST_F(path_text, percent_decode_decodes_slashes_and_zero_bytes)
{
    EXPECT_EQ(percent_decode(handle_, "a%2Fb"), "a/b");
    EXPECT_EQ(percent_decode(handle_, "a%2fb"), "a/b");
    EXPECT_EQ(percent_decode(handle_, "%00"), std::string(1, '\0'));
    EXPECT_EQ(percent_decode(handle_, "a%00b"), std::string("a\0b", 3));
    EXPECT_EQ(percent_decode(handle_, ""), "");
}

TEST_F(path_text, percent_decode_leaves_what_is_no_sequence)
{
    EXPECT_EQ(percent_decode(handle_, "a%zz%4"), "a%zz%4");
    EXPECT_EQ(percent_decode(handle_, "a+b"), "a+b");
}

TEST_F(path_text, percent_encode_path_keeps_all_separators)
{
    EXPECT_EQ(percent_encode_path(handle_, "/pub/my file.txt"), "/pub/my%20file.txt");
    EXPECT_EQ(percent_encode_path(handle_, "a//b"), "a//b");
    EXPECT_EQ(percent_encode_path(handle_, "/dir/"), "/dir/");
    EXPECT_EQ(percent_encode_path(handle_, "/"), "/");
    EXPECT_EQ(percent_encode_path(handle_, "//"), "//");
    EXPECT_EQ(percent_encode_path(handle_, "///"), "///");
    EXPECT_EQ(percent_encode_path(handle_, "x"), "x");
    EXPECT_EQ(percent_encode_path(handle_, "x/"), "x/");
    EXPECT_EQ(percent_encode_path(handle_, "x//"), "x//");
    EXPECT_EQ(percent_encode_path(handle_, "a b/c#d?/"), "a%20b/c%23d%3F/");
}

TEST_F(path_text, percent_encode_path_of_an_empty_path_is_empty)
{
    EXPECT_EQ(percent_encode_path(handle_, ""), "");
}

TEST_F(path_text, encoding_needs_no_easy_handle)
{
    const curl_ptr holder(std::move(handle_));
    EXPECT_EQ(percent_encode(handle_, "a b"), "a%20b");
    EXPECT_EQ(percent_decode(handle_, "a%20b"), "a b");
    EXPECT_EQ(percent_encode_path(handle_, "a b/c"), "a%20b/c");
}

TEST_F(path_text, an_absolute_ftp_url_has_a_double_slash_after_the_server)
{
    EXPECT_EQ(make_absolute_url(handle_, "ftp://host/home/u/", "/pub/a b", false),
              "ftp://host//pub/a%20b");
    EXPECT_EQ(make_absolute_url(handle_, "ftp://host", "/x", false), "ftp://host//x");
    EXPECT_EQ(make_absolute_url(handle_, "ftps://u@host:990/a", "/x/", false),
              "ftps://u@host:990//x/");
}

TEST_F(path_text, an_absolute_sftp_url_has_not)
{
    EXPECT_EQ(make_absolute_url(handle_, "sftp://host:22/home/u/", "/pub/x", false),
              "sftp://host:22/pub/x");
    EXPECT_EQ(make_absolute_url(handle_, "sftp://host", "/x", false), "sftp://host/x");
}

TEST_F(path_text, an_encoded_path_is_taken_as_it_is)
{
    EXPECT_EQ(make_absolute_url(handle_, "ftp://host/", "/a%20b c", true), "ftp://host//a%20b c");
    EXPECT_EQ(make_absolute_url(handle_, "ftp://host/", "/a%20b", false), "ftp://host//a%2520b");
}

TEST_F(path_text, a_path_that_is_not_absolute_becomes_the_root)
{
    for (const auto* path : {"rel/x", ""}) {
        EXPECT_EQ(make_absolute_url(handle_, "ftp://host/home/", path, false), "ftp://host//");
        EXPECT_EQ(make_absolute_url(handle_, "sftp://host/home/", path, true), "sftp://host/");
    }
}

TEST_F(path_text, a_url_without_a_scheme_raises)
{
    const auto expected = id_of<ids::InternalError>("URL Generation", "Couldn't find URL scheme");
    EXPECT_ERROR_ID(make_absolute_url(handle_, "host/dir", "/x", false), expected);
    EXPECT_ERROR_ID(make_absolute_url(handle_, "", "/x", false), expected);
    EXPECT_ERROR_ID(make_absolute_url(handle_, "host:21/dir", "/x", false), expected);
    EXPECT_ERROR_ID(make_absolute_url(handle_, "ftp:/host", "/x", false), expected);
}

TEST_F(path_text, the_scheme_is_compared_exactly_so_capitals_are_ftp)
{
    EXPECT_EQ(make_absolute_url(handle_, "SFTP://host/home", "/x", false), "SFTP://host//x");
    EXPECT_EQ(make_absolute_url(handle_, "xsftp://host/home", "/x", false), "xsftp://host//x");
    EXPECT_EQ(make_absolute_url(handle_, "sftp:a://host/home", "/x", false), "sftp:a://host//x");
}

TEST_F(path_text, the_first_colon_with_two_slashes_ends_the_scheme)
{
    EXPECT_EQ(make_absolute_url(handle_, "a:b://host/c://d", "/x", false), "a:b://host//x");
}

TEST_F(path_text, fullurl_of_an_empty_path_is_the_current_url_itself)
{
    EXPECT_EQ(fullurl_at("ftp://host/home", ""), "ftp://host/home");
    EXPECT_EQ(fullurl_at("", ""), "");
}

TEST_F(path_text, fullurl_of_a_relative_path_appends_it_encoded)
{
    EXPECT_EQ(fullurl_at("ftp://host/home", "a/b c"), "ftp://host/home/a/b%20c");
    EXPECT_EQ(fullurl_at("ftp://host/home/", "a/b c"), "ftp://host/home/a/b%20c");
    EXPECT_EQ(fullurl_at("", "a"), "a");
}

TEST_F(path_text, fullurl_of_an_encoded_path_takes_it_as_it_is)
{
    EXPECT_EQ(fullurl_at("ftp://host/home", "a%20b", true), "ftp://host/home/a%20b");
    EXPECT_EQ(fullurl_at("sftp://host/home", "/a%20b", true), "sftp://host/a%20b");
}

TEST_F(path_text, fullurl_of_an_absolute_path_starts_at_the_server)
{
    EXPECT_EQ(fullurl_at("ftp://host/home/u/", "/a b"), "ftp://host//a%20b");
    EXPECT_EQ(fullurl_at("sftp://host/home/u/", "/a b"), "sftp://host/a%20b");
}

TEST_F(path_text, fullurl_of_an_absolute_path_without_a_current_url_raises)
{
    EXPECT_ERROR_ID(fullurl_at("", "/x"),
                    id_of<ids::InternalError>("URL Generation", "Couldn't find URL scheme"));
}

TEST_F(path_text, fullurl_of_an_empty_handle_raises)
{
    const curl_ptr holder(std::move(handle_));
    EXPECT_ERROR_ID(fullurl(handle_, "x", false), id_of<ids::InvalidCurlHandle>());
    EXPECT_ERROR_ID(fullfile(handle_, "x"), id_of<ids::InvalidCurlHandle>());
}

} // namespace
} // namespace tarnix::test

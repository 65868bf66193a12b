#include "arguments.hpp"

#include "commands.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tarnix::cli {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

std::optional<arguments> read(std::vector<const char*> words, std::string& answer)
{
    words.insert(words.begin(), "tarnix-ftp");
    return read_arguments(static_cast<int>(words.size()), words.data(), answer);
}

arguments read(const std::vector<const char*>& words)
{
    std::string answer;
    return read(words, answer).value();
}

std::string complaint_about(const std::vector<const char*>& words)
{
    try {
        read(words);
    } catch (const usage_error& error) {
        return error.what();
    }
    return "";
}

TEST(ArgumentsTest, url_command_and_operands_are_in_this_order)
{
    const auto given = read({"ftp://h", "put", "a", "b"});
    EXPECT_EQ(given.url, "ftp://h");
    EXPECT_EQ(given.command, "put");
    EXPECT_THAT(given.operands, ElementsAre("a", "b"));
    EXPECT_THAT(read({"ftp://h", "pwd"}).operands, IsEmpty());
}

TEST(ArgumentsTest, options_may_stand_anywhere)
{
    EXPECT_EQ(read({"--port", "2121", "ftp://h", "pwd"}).port, 2121);
    EXPECT_EQ(read({"ftp://h", "--port=2121", "pwd"}).port, 2121);
    EXPECT_EQ(read({"ftp://h", "pwd", "--port", "2121"}).port, 2121);
}

TEST(ArgumentsTest, operands_are_taken_as_they_stand)
{
    EXPECT_THAT(read({"ftp://h", "get", "[a,b]", "pwd"}).operands, ElementsAre("[a,b]", "pwd"));
    EXPECT_THAT(read({"ftp://h", "get", "--", "-x", "--port"}).operands,
                ElementsAre("-x", "--port"));
}

TEST(ArgumentsTest, verify_everything_unless_told_otherwise)
{
    const auto usual = read({"ftp://h", "pwd"});
    EXPECT_TRUE(usual.verify_certificate);
    EXPECT_TRUE(usual.verify_host_name);
    EXPECT_TRUE(usual.verify_host_key);
    EXPECT_TRUE(usual.verify_end);
    EXPECT_FALSE(usual.use_proxy);
    EXPECT_FALSE(read({"ftp://h", "pwd", "--no-verify-certificate"}).verify_certificate);
    EXPECT_FALSE(read({"ftp://h", "pwd", "--no-verify-host-name"}).verify_host_name);
    EXPECT_FALSE(read({"ftp://h", "pwd", "--no-verify-host-key"}).verify_host_key);
    EXPECT_FALSE(read({"ftp://h", "pwd", "--no-verify-end"}).verify_end);
}

TEST(ArgumentsTest, what_does_not_fit_is_refused)
{
    EXPECT_THAT(complaint_about({}), HasSubstr("URL"));
    EXPECT_THAT(complaint_about({"ftp://h"}), HasSubstr("COMMAND"));
    EXPECT_THAT(complaint_about({"ftp://h", "fly"}), HasSubstr("fly"));
    EXPECT_THAT(complaint_about({"ftp://h", "pwd", "x"}), HasSubstr("usage"));
    EXPECT_THAT(complaint_about({"ftp://h", "mkdir"}), HasSubstr("mkdir FOLDER"));
    EXPECT_THAT(complaint_about({"ftp://h", "get"}), HasSubstr("get REMOTE"));
    EXPECT_THAT(complaint_about({"ftp://h", "rm"}), HasSubstr("rm FILE"));
    EXPECT_THAT(complaint_about({"ftp://h", "mv", "a"}), HasSubstr("mv FROM TO"));
    EXPECT_THAT(complaint_about({"ftp://h", "is-file"}), HasSubstr("is-file PATH"));
    EXPECT_THAT(complaint_about({"ftp://h", "syst", "x"}), HasSubstr("syst"));
    EXPECT_THAT(complaint_about({"ftp://h", "put", "a", "b", "c"}), Not(IsEmpty()));
    EXPECT_THAT(complaint_about({"ftp://h", "pwd", "--bogus"}), HasSubstr("--bogus"));
    EXPECT_THAT(complaint_about({"ftp://h", "pwd", "--port", "0"}), HasSubstr("--port"));
    EXPECT_THAT(complaint_about({"ftp://h", "pwd", "--port", "65536"}), HasSubstr("--port"));
    EXPECT_THAT(complaint_about({"ftp://h", "pwd", "--port", "x"}), HasSubstr("--port"));
    EXPECT_THAT(complaint_about({"ftp://h", "pwd", "--connect-timeout", "0"}),
                HasSubstr("--connect-timeout"));
    EXPECT_THAT(complaint_about({"ftp://h", "pwd", "--reply-timeout", "-1"}),
                HasSubstr("--reply-timeout"));
}

TEST(ArgumentsTest, empty_operands_are_refused)
{
    EXPECT_THAT(complaint_about({"ftp://h", "names", ""}),
                HasSubstr("names: an argument is empty"));
    EXPECT_THAT(complaint_about({"ftp://h", "exists", ""}), HasSubstr("empty"));
    EXPECT_THAT(complaint_about({"ftp://h", "put", "", "f"}), HasSubstr("empty"));
    EXPECT_THAT(complaint_about({"ftp://h", "put", "f", ""}), HasSubstr("empty"));
}

TEST(ArgumentsTest, logins_can_be_made_unreadable)
{
    EXPECT_EQ(without_logins("x ftp://u:secret@h/p"), "x ftp://***@h/p");
    EXPECT_EQ(without_logins("ftp://h/p"), "ftp://h/p");
    EXPECT_EQ(without_logins("a@b ftp://h/p"), "a@b ftp://h/p");
}

TEST(ArgumentsTest, logins_with_any_character_are_made_unreadable)
{
    for (const std::string password : {"se/cret", "se cret", "se@cret", "se//cret", "se\tcr\net"})
        EXPECT_EQ(without_logins("\"ftp://u:" + password + "@h\""), "\"ftp://***@h\"");
    EXPECT_EQ(without_logins("sftp://v@w ftp://u:secret@h"), "sftp://***@h");
}

TEST(ArgumentsTest, long_arguments_are_no_trouble)
{
    const std::string many(1'000'000, 'x');
    EXPECT_EQ(without_logins("ftp://" + many + "@h"), "ftp://***@h");
    EXPECT_EQ(without_logins("//" + many), "//" + many);
}

TEST(ArgumentsTest, help_and_version_are_answers)
{
    std::string answer;
    EXPECT_FALSE(read({"--help"}, answer));
    for (const auto* text : {"put LOCAL [REMOTE]", "exists PATH", "Exit codes:", "--known-hosts"})
        EXPECT_THAT(answer, HasSubstr(text));
    EXPECT_FALSE(read({"--version"}, answer));
    EXPECT_THAT(answer, testing::MatchesRegex("tarnix-ftp [0-9.]+\n"));
}

} // namespace
} // namespace tarnix::cli

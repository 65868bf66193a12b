#include "replies.hpp"
#include "requests.hpp"

#include <gtest/gtest.h>

#include <string>

namespace tarnix::ftp {
namespace {

replies after(std::initializer_list<std::string> lines)
{
    replies heard;
    for (auto line : lines)
        EXPECT_EQ(replies::collect(line.data(), 1, line.size(), &heard), line.size());
    return heard;
}

TEST(RepliesTest, keep_the_last_refusal)
{
    EXPECT_EQ(after({"500 EPSV?\r\n", "227 ok\r\n", "550 no file\r\n"}).refusal(), "550 no file");
    EXPECT_EQ(after({"421 time-out\r\n"}).refusal(), "421 time-out");
}

TEST(RepliesTest, forget_a_refusal_that_another_reply_follows)
{
    EXPECT_EQ(after({"500 EPSV?\r\n", "227 ok\r\n"}).refusal(), std::nullopt);
    EXPECT_EQ(after({"500 EPSV?\r\n", "150 here\r\n"}).refusal(), std::nullopt);
    EXPECT_EQ(after({"500 AUTH?\r\n", "331 password\r\n"}).refusal(), std::nullopt);
}

TEST(RepliesTest, know_whether_one_is_missing)
{
    EXPECT_TRUE(after({}).lack_an_end());
    EXPECT_TRUE(after({"229 ok\r\n"}).lack_an_end());
    EXPECT_TRUE(after({"229 ok\r\n", "150 here\r\n"}).lack_an_end());
    EXPECT_FALSE(after({"229 ok\r\n", "150 here\r\n", "226 done\r\n"}).lack_an_end());
    EXPECT_FALSE(after({"229 ok\r\n", "150 here\r\n", "426 cut\r\n"}).lack_an_end());
    EXPECT_FALSE(after({"550 no\r\n"}).lack_an_end());
}

TEST(RepliesTest, agreement_is_no_refusal)
{
    EXPECT_EQ(after({"220 hello\r\n", "331 password\r\n", "150 here\r\n"}).refusal(), std::nullopt);
}

TEST(RepliesTest, only_the_last_line_of_a_reply_counts)
{
    EXPECT_EQ(after({"230-550 is my number\r\n", "230 end\r\n"}).refusal(), std::nullopt);
    EXPECT_EQ(after({"550-first\r\n", "550 last\r\n"}).refusal(), "550 last");
    EXPECT_EQ(after({"550-first\r\n", "text\r\n", "55\r\n", "\r\n", ""}).refusal(), std::nullopt);
}

TEST(RepliesTest, notice_a_size)
{
    EXPECT_TRUE(after({"213 12\r\n"}).has_file_size());
    EXPECT_FALSE(after({"550 no\r\n"}).has_file_size());
}

TEST(RepliesTest, notice_a_folder_that_vsftpd_cannot_read)
{
    EXPECT_TRUE(
        after({"226 Transfer done (but failed to open directory).\r\n"}).says_folder_unreadable());
    EXPECT_FALSE(after({"226 Directory send OK.\r\n"}).says_folder_unreadable());
}

struct refusal_kind {
    std::string reply;
    failure_kind kind;
};

TEST(RefusalKindTest, follows_the_reply_code)
{
    for (const auto& [reply, kind] : {refusal_kind{"421 bye", failure_kind::connection},
                                      refusal_kind{"530 log in", failure_kind::permission},
                                      refusal_kind{"532 account", failure_kind::permission},
                                      refusal_kind{"550 it depends", failure_kind::conflict},
                                      refusal_kind{"553 it depends", failure_kind::conflict},
                                      refusal_kind{"522 use TLS", failure_kind::security},
                                      refusal_kind{"452 disk full", failure_kind::transfer},
                                      refusal_kind{"552 quota", failure_kind::transfer},
                                      refusal_kind{"426 cut", failure_kind::transfer}})
        EXPECT_EQ(kind_of_refusal(reply, failure_kind::conflict), kind) << reply;
}

} // namespace
} // namespace tarnix::ftp

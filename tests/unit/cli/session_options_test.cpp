#include "session_options.hpp"

#include "local_files.hpp"

#include <tarnix/ftp/errors.hpp>

#include <support/temporary_folder.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <string>

namespace tarnix::cli {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::Not;

class SessionOptionsTest : public testing::Test {
protected:
    SessionOptionsTest() { ::setenv("TARNIX_FTP_PASSWORD", "p", 1); }
    ~SessionOptionsTest() override
    {
        ::unsetenv("TARNIX_FTP_PASSWORD");
        ::unsetenv("TARNIX_FTP_PASSPHRASE");
    }

    std::optional<std::string> password_for(const std::string& text)
    {
        auto options = make_session_options(given_);
        add_secrets(options, given_, read_url(text));
        return options.password;
    }

    arguments given_;
    test::temporary_folder folder_;
};

TEST_F(SessionOptionsTest, are_the_sessions_own_where_nothing_is_given)
{
    const auto options = make_session_options(given_);
    const ftp::session_options usual;
    EXPECT_EQ(options.connect_timeout, usual.connect_timeout);
    EXPECT_EQ(options.transfer_timeout, usual.transfer_timeout);
    EXPECT_EQ(options.reply_timeout, usual.reply_timeout);
    EXPECT_EQ(options.low_speed_limit, usual.low_speed_limit);
    EXPECT_EQ(options.low_speed_time, usual.low_speed_time);
    EXPECT_EQ(options.tls, std::nullopt);
    EXPECT_TRUE(options.verify_peer);
    EXPECT_TRUE(options.verify_host);
    EXPECT_TRUE(options.verify_host_key);
}

TEST_F(SessionOptionsTest, times_are_given_in_seconds)
{
    given_.connect_timeout = 0.5;
    given_.transfer_timeout = 2;
    given_.reply_timeout = 3;
    given_.low_speed_time = 4;
    given_.low_speed_limit = 5;
    const auto options = make_session_options(given_);
    EXPECT_EQ(options.connect_timeout, 500ms);
    EXPECT_EQ(options.transfer_timeout, 2000ms);
    EXPECT_EQ(options.reply_timeout, 3s);
    EXPECT_EQ(options.low_speed_time, 4s);
    EXPECT_EQ(options.low_speed_limit, 5);
}

TEST_F(SessionOptionsTest, a_time_that_is_not_0_does_not_become_0)
{
    given_.transfer_timeout = 0.0001;
    EXPECT_EQ(make_session_options(given_).transfer_timeout, 1ms);
}

TEST_F(SessionOptionsTest, tls_modes_have_names)
{
    given_.tls = "opportunistic";
    EXPECT_EQ(make_session_options(given_).tls, ftp::tls_mode::opportunistic);
    given_.tls = "strict";
    EXPECT_EQ(make_session_options(given_).tls, ftp::tls_mode::strict);
    given_.tls = "none";
    EXPECT_EQ(make_session_options(given_).tls, ftp::tls_mode::none);
    given_.tls = "Strict";
    EXPECT_THROW(make_session_options(given_), usage_error);
}

TEST_F(SessionOptionsTest, host_keys_come_from_the_users_own_file)
{
    const std::string home = std::getenv("HOME") ? std::getenv("HOME") : "";
    ::setenv("HOME", "/home/of/tests", 1);
    EXPECT_EQ(make_session_options(given_).known_hosts_file, "/home/of/tests/.ssh/known_hosts");
    given_.known_hosts_file = test::write_bytes(folder_ / "known", "");
    EXPECT_EQ(make_session_options(given_).known_hosts_file, given_.known_hosts_file);
    ::setenv("HOME", home.c_str(), 1);
}

TEST_F(SessionOptionsTest, a_certificate_that_is_not_verified_needs_no_name)
{
    given_.verify_certificate = false;
    const auto options = make_session_options(given_);
    EXPECT_FALSE(options.verify_peer);
    EXPECT_FALSE(options.verify_host);
}

TEST_F(SessionOptionsTest, files_are_looked_at_first)
{
    given_.ca_file = folder_ / "missing";
    EXPECT_THROW(make_session_options(given_), local_file_error);
    given_.ca_file.clear();
    given_.private_key_file = folder_ / "missing";
    EXPECT_THROW(make_session_options(given_), local_file_error);
}

TEST_F(SessionOptionsTest, the_environment_has_the_password)
{
    EXPECT_EQ(password_for("ftp://u@h"), "p");
    EXPECT_EQ(password_for("ftpes://u@h"), "p");
    EXPECT_EQ(password_for("sftp://u@h"), "p");
    given_.user = "v";
    EXPECT_EQ(password_for("ftp://h"), "p");
}

TEST_F(SessionOptionsTest, a_password_goes_to_no_one_who_does_not_need_it)
{
    EXPECT_EQ(password_for("ftp://h"), std::nullopt);
    EXPECT_EQ(password_for("ftp://anonymous@h"), std::nullopt);
    given_.private_key_file = test::write_bytes(folder_ / "key", "");
    EXPECT_EQ(password_for("sftp://u@h"), std::nullopt);
}

TEST_F(SessionOptionsTest, the_environment_has_the_passphrase)
{
    given_.private_key_file = test::write_bytes(folder_ / "key", "");
    auto options = make_session_options(given_);
    add_secrets(options, given_, read_url("sftp://u@h"));
    EXPECT_EQ(options.passphrase, "");
    ::setenv("TARNIX_FTP_PASSPHRASE", "phrase", 1);
    add_secrets(options, given_, read_url("sftp://u@h"));
    EXPECT_EQ(options.passphrase, "phrase");
}

TEST_F(SessionOptionsTest, a_url_with_a_password_is_refused)
{
    try {
        read_url("ftp://u:secret@h");
        FAIL() << "was accepted";
    } catch (const usage_error& error) {
        EXPECT_THAT(error.what(), HasSubstr("TARNIX_FTP_PASSWORD"));
        EXPECT_THAT(error.what(), Not(HasSubstr("secret")));
    }
    EXPECT_THROW(read_url("ftp://u:@h"), usage_error);
    EXPECT_THROW(read_url("http://u@h"), ftp::invalid_url);
}

} // namespace
} // namespace tarnix::cli

#include "libcurl_version.hpp"
#include "settings.hpp"

#include <tarnix/ftp/errors.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <ostream>
#include <string>

namespace tarnix::ftp {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::Not;

session_options with_password()
{
    session_options options;
    options.user = "u";
    options.password = "p";
    options.known_hosts_file = "known_hosts";
    return options;
}

TEST(SettingsTest, ftp_without_a_user_is_anonymous)
{
    const auto found = make_settings(parse_url("ftp://host"), {});
    EXPECT_EQ(found.user, "anonymous");
    EXPECT_FALSE(found.password.empty());
    EXPECT_EQ(found.port, 21);
    EXPECT_EQ(found.tls, "none");
    EXPECT_EQ(found.server_url(), "ftp://host");
    EXPECT_EQ(found.starting_folder, "");
}

TEST(SettingsTest, ftpes_is_ftp_with_strict_tls)
{
    const auto found = make_settings(parse_url("ftpes://u@host"), with_password());
    EXPECT_EQ(found.tls, "strict");
    EXPECT_EQ(found.server_url(), "ftp://host");
    EXPECT_FALSE(found.ca_file.empty());
}

TEST(SettingsTest, sftp_has_its_port)
{
    const auto found = make_settings(parse_url("sftp://u@host"), with_password());
    EXPECT_EQ(found.port, 22);
    EXPECT_EQ(found.server_url(), "sftp://host");
    EXPECT_FALSE(found.with_key);
}

TEST(SettingsTest, ports_and_users_may_stand_in_either_place)
{
    auto options = with_password();
    options.port = 2121;
    EXPECT_EQ(make_settings(parse_url("ftp://host"), options).port, 2121);
    EXPECT_EQ(make_settings(parse_url("ftp://host:2121"), options).port, 2121);
    EXPECT_EQ(make_settings(parse_url("ftp://host"), options).user, "u");
    EXPECT_EQ(make_settings(parse_url("ftp://u@host"), options).user, "u");
}

TEST(SettingsTest, the_first_slash_of_an_ftp_path_separates)
{
    const auto folder = [](const char* text) {
        return make_settings(parse_url(text), with_password()).starting_folder;
    };
    EXPECT_EQ(folder("ftp://u@h/a/b"), "a/b");
    EXPECT_EQ(folder("ftp://u@h//a"), "/a");
    EXPECT_EQ(folder("ftp://u@h/"), "");
    EXPECT_EQ(folder("sftp://u@h/a"), "/a");
    EXPECT_EQ(folder("sftp://u@h/"), "/");
    EXPECT_EQ(folder("sftp://u@h"), "");
}

TEST(SettingsTest, the_options_starting_folder_goes_first)
{
    auto options = with_password();
    options.starting_folder = "x";
    EXPECT_EQ(make_settings(parse_url("ftp://u@h/a"), options).starting_folder, "x");
}

TEST(SettingsTest, fingerprints_are_taken_as_tools_print_them)
{
    const std::string bare(43, 'A');
    for (const auto& text : {bare, "SHA256:" + bare, bare + "="}) {
        auto options = with_password();
        options.known_hosts_file.clear();
        options.host_key_fingerprint = text;
        EXPECT_EQ(make_settings(parse_url("sftp://u@h"), options).fingerprint, bare) << text;
    }
}

TEST(SettingsTest, a_key_needs_no_password)
{
    session_options options;
    options.private_key_file = "key";
    options.known_hosts_file = "known_hosts";
    EXPECT_TRUE(make_settings(parse_url("sftp://u@h"), options).with_key);
}

TEST(SettingsTest, host_keys_may_go_unverified_when_told_so)
{
    auto options = with_password();
    options.known_hosts_file.clear();
    options.verify_host_key = false;
    EXPECT_EQ(make_settings(parse_url("sftp://u@h"), options).fingerprint, "");
}

TEST(SettingsTest, nothing_waits_without_end_by_default)
{
    const session_options options;
    EXPECT_GT(options.connect_timeout, 0ms);
    EXPECT_GT(options.reply_timeout, 0s);
    EXPECT_GT(options.low_speed_limit, 0);
    EXPECT_GT(options.low_speed_time, 0s);
}

struct bad_input {
    std::string name;
    std::string url;
    std::function<void(session_options&)> change;
    std::string complaint;
};

void PrintTo(const bad_input& one, std::ostream* stream)
{
    *stream << one.name;
}

class BadInputTest : public testing::TestWithParam<bad_input> {};

TEST_P(BadInputTest, is_refused)
{
    auto options = with_password();
    GetParam().change(options);
    try {
        make_settings(parse_url(GetParam().url), options);
        FAIL() << "was accepted";
    } catch (const invalid_input& error) {
        EXPECT_THAT(error.what(), HasSubstr(GetParam().complaint));
        EXPECT_THAT(error.what(), Not(HasSubstr("secret")));
    }
}

using options_ref = session_options&;

INSTANTIATE_TEST_SUITE_P(
    All, BadInputTest,
    testing::Values(
        bad_input{"ports", "ftp://u@h:1", [](options_ref o) { o.port = 2; }, "ports"},
        bad_input{"port_0", "ftp://u@h", [](options_ref o) { o.port = 0; }, "65535"},
        bad_input{"users", "ftp://v@h", [](options_ref) {}, "user names"},
        bad_input{"empty_user", "ftp://h", [](options_ref o) { o.user = ""; }, "empty"},
        bad_input{"no_password", "ftp://u@h", [](options_ref o) { o.password.reset(); },
                  "password"},
        bad_input{"no_user", "sftp://h", [](options_ref o) { o.user.reset(); }, "user name"},
        bad_input{"no_login", "sftp://u@h", [](options_ref o) { o.password.reset(); },
                  "private key"},
        bad_input{"no_host_key", "sftp://u@h", [](options_ref o) { o.known_hosts_file = ""; },
                  "host key"},
        bad_input{"short_fingerprint", "sftp://u@h",
                  [](options_ref o) { o.host_key_fingerprint = "SHA256:AAAA"; }, "43"},
        bad_input{"fingerprint_of_nothing", "sftp://u@h",
                  [](options_ref o) { o.host_key_fingerprint = "SHA256:"; }, "43"},
        bad_input{"odd_fingerprint", "sftp://u@h",
                  [](options_ref o) { o.host_key_fingerprint = std::string(43, ':'); }, "43"},
        bad_input{"weak_ftpes", "ftpes://u@h", [](options_ref o) { o.tls = tls_mode::none; },
                  "TLS"},
        bad_input{"maybe_ftpes", "ftpes://u@h",
                  [](options_ref o) { o.tls = tls_mode::opportunistic; }, "TLS"},
        bad_input{"sftp_tls", "sftp://u@h", [](options_ref o) { o.tls = tls_mode::strict; }, "TLS"},
        bad_input{"sftp_active", "sftp://u@h", [](options_ref o) { o.active_mode = true; },
                  "active"},
        bad_input{"ftp_key", "ftp://u@h", [](options_ref o) { o.private_key_file = "k"; }, "key"},
        bad_input{"connect_0", "ftp://u@h", [](options_ref o) { o.connect_timeout = 0ms; },
                  "time-out"},
        bad_input{"reply_0", "ftp://u@h", [](options_ref o) { o.reply_timeout = 0s; }, "time-out"},
        bad_input{"negative_transfer", "ftp://u@h",
                  [](options_ref o) { o.transfer_timeout = -1ms; }, "time-out"},
        bad_input{"negative_speed", "ftp://u@h", [](options_ref o) { o.low_speed_limit = -1; },
                  "speed"},
        bad_input{"user_with_line", "ftp://h", [](options_ref o) { o.user = "u\r\nDELE x"; },
                  "control"},
        bad_input{"password_with_line", "ftp://u@h",
                  [](options_ref o) { o.password = "secret\r\nDELE x"; }, "control"},
        bad_input{"passphrase_with_line", "sftp://u@h",
                  [](options_ref o) { o.passphrase = "secret\n"; }, "control"},
        bad_input{"folder_with_line", "ftp://u@h", [](options_ref o) { o.starting_folder = "\n"; },
                  "control"},
        bad_input{"file_with_line", "ftp://u@h", [](options_ref o) { o.ca_file = "a\x7F"; },
                  "control"}),
    [](const auto& one) { return one.param.name; });

TEST(SettingsTest, active_mode_with_tls_takes_a_libcurl_that_secures_its_data)
{
    auto options = with_password();
    options.active_mode = true;
    EXPECT_EQ(make_settings(parse_url("ftp://u@host"), options).tls, "none");
    for (const auto mode : {tls_mode::opportunistic, tls_mode::strict}) {
        options.tls = mode;
        const auto settle = [&] { make_settings(parse_url("ftp://u@host"), options); };
        if (libcurl_is_before(8, 0))
            EXPECT_THROW(settle(), invalid_input);
        else
            EXPECT_NO_THROW(settle());
    }
}

TEST(SettingsTest, a_url_made_by_hand_is_checked_too)
{
    url server;
    server.host = "h\r\nx";
    EXPECT_THROW(make_settings(server, {}), invalid_input);
    server.host = "";
    EXPECT_THROW(make_settings(server, {}), invalid_input);
    server.host = "h";
    server.path = "/a\nb";
    EXPECT_THROW(make_settings(server, {}), invalid_input);
}

} // namespace
} // namespace tarnix::ftp

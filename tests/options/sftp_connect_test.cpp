#include "connecting.hpp"

namespace tarnix::test {
namespace {

const scripted_answer done{};
const scripted_answer failed{.code = CURLE_SSH};

class sftp_connect : public connecting_session {
protected:
    struct settings {
        std::string host = "server";
        std::string starting_folder = "";
        bool start_at_root = false;
        bool use_proxy = false;
        bool verify_peer = true;
        bool verify_host = true;
    };

    std::string connect_with(const settings& s)
    {
        return connect_helper(handle_, s.host, "user", 2222, s.use_proxy, s.starting_folder,
                              "/etc/ca.pem", s.verify_peer, s.verify_host, 10, 30, s.start_at_root);
    }

    /// Up to the first request and with it.
    static transcript beginning(const std::string& url)
    {
        return steps(
            {{"URL=" + url, "USERNAME=user", "PORT=2222", "SSL_VERIFYHOST=1", "SSL_VERIFYPEER=1",
              "CAINFO=/etc/ca.pem", "LOW_SPEED_LIMIT=10", "LOW_SPEED_TIME=30", "DIRLISTONLY=1"},
             probing()});
    }

    static transcript checking(const std::string& url)
    {
        return steps({{"URL=" + url, "DIRLISTONLY=0"},
                      collecting_body(),
                      {"DIRLISTONLY=1"},
                      moving_to(url)});
    }

    transcript home_warning() const { return {"TARNIX:io:ftp:ftp:CouldNotDetermineHomeFolder()"}; }
};

// No folder given

TEST_F(sftp_connect, without_a_folder_goes_home)
{
    recorder_.answer({done, folder_is("/home/u/")});
    EXPECT_EQ(connect_with({}), "/home/u/");
    EXPECT_EQ(recorder_.take(), steps({beginning("sftp://server/~"), asking_pwd()}));
    EXPECT_EQ(warnings_, transcript{});
}

TEST_F(sftp_connect, a_starting_folder_of_slash_tilde_slash_is_exactly_as_an_empty_one)
{
    recorder_.answer({done, folder_is("/home/u/")});
    EXPECT_EQ(connect_with({.starting_folder = "/~/"}), "/home/u/");
    EXPECT_EQ(recorder_.take(), steps({beginning("sftp://server/~"), asking_pwd()}));
}

TEST_F(sftp_connect, at_the_root_without_a_folder_probes_the_bare_server)
{
    for (const auto* folder : {"", "/~/"}) {
        recorder_.answer({done, folder_is("/")});
        EXPECT_EQ(connect_with({.starting_folder = folder, .start_at_root = true}), "/");
        EXPECT_EQ(recorder_.take(), steps({beginning("sftp://server"), asking_pwd()}));
    }
}

TEST_F(sftp_connect, a_home_that_fails_and_a_root_that_answers_warns_and_gives_the_root)
{
    recorder_.answer({failed, done, folder_is("/")});
    EXPECT_EQ(connect_with({}), "/");
    EXPECT_EQ(recorder_.take(),
              steps({beginning("sftp://server/~"), moving_to("sftp://server"), asking_pwd()}));
    EXPECT_EQ(warnings_, home_warning());
    EXPECT_EQ(recorder_.value_of(CURLOPT_URL), "sftp://server");
}

TEST_F(sftp_connect, a_root_that_refuses_the_login_is_a_bad_login_at_the_base_url)
{
    recorder_.answer({{.code = CURLE_LOGIN_DENIED}, {.code = CURLE_LOGIN_DENIED}});
    EXPECT_ERROR_ID(connect_with({}), id_of<ids::BadLogin>("sftp://server"));
    EXPECT_EQ(warnings_, transcript{});
}

TEST_F(sftp_connect, a_root_that_cannot_be_reached_is_no_connection_at_the_base_url)
{
    recorder_.answer({failed, {.code = CURLE_COULDNT_CONNECT}});
    EXPECT_ERROR_ID(connect_with({}), id_of<ids::NoConnection>("sftp://server", "2222"));
    EXPECT_EQ(recorder_.take(), steps({beginning("sftp://server/~"), moving_to("sftp://server")}));
    EXPECT_EQ(warnings_, transcript{});
}

TEST_F(sftp_connect, starting_at_the_root_still_tries_the_root_a_second_time)
{
    recorder_.answer({failed, done, folder_is("/")});
    EXPECT_EQ(connect_with({.start_at_root = true}), "/");
    EXPECT_EQ(warnings_, home_warning());
}

// A folder given

TEST_F(sftp_connect, a_folder_is_probed_then_checked_by_a_listing)
{
    recorder_.answer({done, {.body = {"drwx .\n"}}, done, folder_is("/my data/")});
    EXPECT_EQ(connect_with({.starting_folder = "/my data"}), "/my data/");
    EXPECT_EQ(recorder_.take(), steps({beginning("sftp://server/my%20data/"),
                                       checking("sftp://server/my%20data/"), asking_pwd()}));
    EXPECT_EQ(warnings_, transcript{});
}

TEST_F(sftp_connect, a_relative_folder_is_meant_from_the_root_exactly_as_an_absolute_one)
{
    for (const auto* folder : {"data", "/data", "data/", "/data/"}) {
        recorder_.start_at("");
        recorder_.answer({done, done, done, folder_is("/data/")});
        EXPECT_EQ(connect_with({.starting_folder = folder}), "/data/");
        EXPECT_EQ(recorder_.take(), steps({beginning("sftp://server/data/"),
                                           checking("sftp://server/data/"), asking_pwd()}))
            << folder;
    }
}

TEST_F(sftp_connect, a_tilde_that_is_not_alone_is_a_folder)
{
    recorder_.answer({done, done, done, folder_is("/~/x/")});
    connect_with({.starting_folder = "/~/x"});
    EXPECT_EQ(recorder_.value_of(CURLOPT_URL), "sftp://server/~/x/");
}

TEST_F(sftp_connect, the_first_requests_code_is_not_judged_when_a_folder_is_given)
{
    recorder_.answer({{.code = CURLE_LOGIN_DENIED}, done, done, folder_is("/data/")});
    EXPECT_EQ(connect_with({.starting_folder = "data"}), "/data/");
}

TEST_F(sftp_connect, a_check_that_refuses_the_login_is_a_bad_login_at_the_host)
{
    recorder_.answer({failed, {.code = CURLE_LOGIN_DENIED}, done});
    EXPECT_ERROR_ID(connect_with({.starting_folder = "data"}), id_of<ids::BadLogin>("server"));
}

TEST_F(sftp_connect, a_check_that_finds_no_host_has_no_connection_to_the_starting_folder)
{
    recorder_.answer({{.code = CURLE_COULDNT_RESOLVE_HOST},
                      {.code = CURLE_COULDNT_RESOLVE_HOST},
                      {.code = CURLE_COULDNT_RESOLVE_HOST}});
    EXPECT_ERROR_ID(connect_with({.starting_folder = "data"}),
                    id_of<ids::NoConnectionToStartingFolder>("server", "2222"));
    EXPECT_EQ(recorder_.take(),
              steps({beginning("sftp://server/data/"), checking("sftp://server/data/")}));
}

TEST_F(sftp_connect, an_unreachable_server_ends_at_the_root_request)
{
    const scripted_answer unreachable{.code = CURLE_COULDNT_CONNECT};
    recorder_.answer({unreachable, unreachable, unreachable, unreachable});
    EXPECT_ERROR_ID(connect_with({.starting_folder = "data"}),
                    id_of<ids::NoConnection>("sftp://server", "2222"));
    EXPECT_EQ(recorder_.take(),
              steps({beginning("sftp://server/data/"), checking("sftp://server/data/"),
                     moving_to("sftp://server")}));
    EXPECT_EQ(warnings_, transcript{});
}

TEST_F(sftp_connect, a_folder_that_is_not_there_means_the_root_with_a_warning)
{
    recorder_.answer({done, {.code = CURLE_REMOTE_FILE_NOT_FOUND}, done, done, folder_is("/")});
    EXPECT_EQ(connect_with({.starting_folder = "missing"}), "/");
    EXPECT_EQ(recorder_.take(),
              steps({beginning("sftp://server/missing/"), checking("sftp://server/missing/"),
                     moving_to("sftp://server"), asking_pwd()}));
    EXPECT_EQ(warnings_, home_warning());
}

// Both

TEST_F(sftp_connect, flags_are_handed_over_as_they_are)
{
    recorder_.answer({done, folder_is("/")});
    connect_with({.verify_peer = false, .verify_host = true});
    EXPECT_EQ(recorder_.value_of(CURLOPT_SSL_VERIFYPEER), "0");
    EXPECT_EQ(recorder_.value_of(CURLOPT_SSL_VERIFYHOST), "1");
}

TEST_F(sftp_connect, names_only_listings_stay_on_for_the_session)
{
    recorder_.answer({done, folder_is("/")});
    connect_with({});
    EXPECT_EQ(recorder_.value_of(CURLOPT_DIRLISTONLY), "1");
}

TEST_F(sftp_connect, each_request_and_the_result_are_logged_at_level_8)
{
    const log_recorder log(getLogger(), 8);
    recorder_.answer(
        {{.code = CURLE_SSH}, {.code = CURLE_REMOTE_FILE_NOT_FOUND}, done, done, folder_is("/")});
    connect_with({.starting_folder = "data"});
    EXPECT_EQ(
        log.lines(),
        (transcript{"8 Response from first request to connect to home folder: 79",
                    "8 unsafe_cd on path \"sftp://server/data/\" returned curl code: 0 and reply "
                    "code: 0",
                    "8 Response from request to connect to login folder: 78",
                    "8 Response from second request to connect to root folder: 0",
                    "8 Current working folder on SFTP server:  /"}));
}

TEST_F(sftp_connect, a_pwd_that_fails_is_an_internal_error)
{
    recorder_.answer({done, {.code = CURLE_QUOTE_ERROR}});
    EXPECT_ERROR_ID(connect_with({}),
                    id_of<ids::InternalError>("PWD", "Could not get PWD response"));
}

TEST_F(sftp_connect, an_empty_handle_raises_before_anything_is_set)
{
    const curl_ptr holder(std::move(handle_));
    recorder_.take_all();
    EXPECT_ERROR_ID(connect_with({.use_proxy = true}), id_of<ids::InvalidCurlHandle>());
    EXPECT_ERROR_ID(connect_with_password(handle_, "server", "user", 22, "secret", false, "", "",
                                          true, true, 0, 0, false),
                    id_of<ids::InvalidCurlHandle>());
    EXPECT_ERROR_ID(connect_with_keys(handle_, "server", "user", 22, "a.pub", "a", "", false, "",
                                      "", true, true, 0, 0, false),
                    id_of<ids::InvalidCurlHandle>());
    EXPECT_EQ(recorder_.take_all(), transcript{});
}

// The two entries

TEST_F(sftp_connect, with_a_password_offers_only_that)
{
    recorder_.answer({done, folder_is("/")});
    EXPECT_EQ(connect_with_password(handle_, "server", "user", 2222, "secret", false, "",
                                    "/etc/ca.pem", true, true, 10, 30, true),
              "/");
    EXPECT_EQ(
        recorder_.take(),
        steps({{"SSH_AUTH_TYPES=2", "PASSWORD=secret"}, beginning("sftp://server"), asking_pwd()}));
}

TEST_F(sftp_connect, with_a_password_hands_every_parameter_on)
{
    recorder_.answer({done, done, done, folder_is("/data/")});
    connect_with_password(handle_, "other", "me", 23, "", false, "data", "ca", false, true, 1, 2,
                          false);
    EXPECT_THAT(recorder_.take(),
                testing::IsSupersetOf({"PASSWORD=", "URL=sftp://other/data/", "USERNAME=me",
                                       "PORT=23", "SSL_VERIFYHOST=1", "SSL_VERIFYPEER=0",
                                       "CAINFO=ca", "LOW_SPEED_LIMIT=1", "LOW_SPEED_TIME=2"}));
}

TEST_F(sftp_connect, with_keys_offers_only_the_key)
{
    recorder_.answer({done, folder_is("/")});
    EXPECT_EQ(connect_with_keys(handle_, "server", "user", 2222, "/k/id.pub", "/k/id", "phrase",
                                false, "", "/etc/ca.pem", true, true, 10, 30, true),
              "/");
    EXPECT_EQ(recorder_.take(),
              steps({{"SSH_AUTH_TYPES=1", "KEYPASSWD=phrase", "SSH_PUBLIC_KEYFILE=/k/id.pub",
                      "SSH_PRIVATE_KEYFILE=/k/id"},
                     beginning("sftp://server"),
                     asking_pwd()}));
}

TEST_F(sftp_connect, with_keys_an_empty_passphrase_and_public_key_file_are_not_set)
{
    recorder_.answer({done, folder_is("/")});
    connect_with_keys(handle_, "server", "user", 2222, "", "/k/id", "", false, "", "/etc/ca.pem",
                      true, true, 10, 30, true);
    EXPECT_EQ(recorder_.take(), steps({{"SSH_AUTH_TYPES=1", "SSH_PRIVATE_KEYFILE=/k/id"},
                                       beginning("sftp://server"),
                                       asking_pwd()}));
}

TEST_F(sftp_connect, with_keys_hands_every_parameter_on)
{
    recorder_.answer({done, done, done, folder_is("/data/")});
    connect_with_keys(handle_, "other", "me", 23, "", "key", "", false, "data", "ca", true, false,
                      1, 2, false);
    EXPECT_THAT(recorder_.take(),
                testing::IsSupersetOf({"URL=sftp://other/data/", "USERNAME=me", "PORT=23",
                                       "SSL_VERIFYHOST=0", "SSL_VERIFYPEER=1", "CAINFO=ca",
                                       "LOW_SPEED_LIMIT=1", "LOW_SPEED_TIME=2"}));
}

} // namespace
} // namespace tarnix::test

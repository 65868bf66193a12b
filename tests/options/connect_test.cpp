#include "connecting.hpp"

namespace tarnix::test {
namespace {

const scripted_answer done{.reply = 226};
const scripted_answer refused{.code = CURLE_REMOTE_ACCESS_DENIED, .reply = 550};

class ftp_connect : public connecting_session {
protected:
    struct settings {
        std::string url = "ftp://server/pub";
        std::string username = "user";
        std::string password = "secret";
        long port = 2121;
        std::string connection_mode = "passive";
        std::string tls_mode = "none";
        bool use_proxy = false;
        std::string ca_file = "/etc/ca bundle.pem";
        bool verify_peer = true;
        bool verify_host = true;
        long low_speed_limit = 10;
        long low_speed_time = 30;
    };

    std::string connect_with(const settings& s)
    {
        return connect(handle_, s.url, s.username, s.password, s.port, s.connection_mode,
                       s.tls_mode, s.use_proxy, s.ca_file, s.verify_peer, s.verify_host,
                       s.low_speed_limit, s.low_speed_time);
    }

    /// Everything that is set for the session but the last option, the TLS level.
    static transcript session_options(const std::string& url)
    {
        return {"URL=" + url,         "USERNAME=user",     "PASSWORD=secret",
                "PORT=2121",          "SSL_VERIFYHOST=1",  "SSL_VERIFYPEER=1",
                "LOW_SPEED_LIMIT=10", "LOW_SPEED_TIME=30", "CAINFO=/etc/ca bundle.pem"};
    }

    static transcript first_request()
    {
        return {"NOBODY=1", "WRITEFUNCTION=set", "perform", "WRITEFUNCTION=null", "NOBODY=0"};
    }

    /// Up to the first request and with it.
    static transcript beginning(const std::string& url)
    {
        return steps({session_options(url), {"USE_SSL=0"}, first_request()});
    }
};

TEST_F(ftp_connect, sets_the_session_options_probes_and_changes_to_the_folder_of_the_url)
{
    recorder_.answer({done, folder_is("/pub"), done, folder_is("/srv/pub")});
    EXPECT_EQ(connect_with({}), "/srv/pub");
    EXPECT_EQ(recorder_.take(), steps({beginning("ftp://server/pub/"), asking_pwd(),
                                       moving_to("ftp://server/pub/"), asking_pwd()}));
    EXPECT_EQ(warnings_, transcript{});
}

TEST_F(ftp_connect, a_url_without_a_path_ends_at_the_absolute_url_of_the_login_folder)
{
    recorder_.answer({done, folder_is("/home/u"), done, folder_is("/home/u")});
    EXPECT_EQ(connect_with({.url = "ftp://server"}), "/home/u");
    EXPECT_EQ(recorder_.take(), steps({beginning("ftp://server/"), asking_pwd(),
                                       moving_to("ftp://server//home/u/"), asking_pwd()}));
}

TEST_F(ftp_connect, the_name_of_the_login_folder_goes_into_the_url_as_printed)
{
    recorder_.answer({done, folder_is("/home/my data"), done, folder_is("/")});
    connect_with({.url = "ftp://server"});
    EXPECT_EQ(recorder_.value_of(CURLOPT_URL), "ftp://server//home/my data/");
}

TEST_F(ftp_connect, a_lone_slash_after_the_server_is_a_path)
{
    recorder_.answer({done, folder_is("/home/u"), done, folder_is("/home/u")});
    connect_with({.url = "ftp://server/"});
    EXPECT_EQ(recorder_.value_of(CURLOPT_URL), "ftp://server/");
}

TEST_F(ftp_connect, what_arrives_in_the_first_request_is_dropped)
{
    recorder_.answer({{.body = {"Content-Length: 5\r\n"}}, folder_is("/"), done, folder_is("/")});
    EXPECT_NO_THROW(connect_with({}));
}

TEST_F(ftp_connect, flags_and_numbers_are_handed_over_as_they_are)
{
    recorder_.answer({done, folder_is("/"), done, folder_is("/")});
    connect_with({.port = 0,
                  .ca_file = "",
                  .verify_peer = false,
                  .verify_host = false,
                  .low_speed_limit = 0,
                  .low_speed_time = -1});
    EXPECT_EQ(recorder_.value_of(CURLOPT_PORT), "0");
    EXPECT_EQ(recorder_.value_of(CURLOPT_CAINFO), "");
    EXPECT_EQ(recorder_.value_of(CURLOPT_SSL_VERIFYPEER), "0");
    EXPECT_EQ(recorder_.value_of(CURLOPT_SSL_VERIFYHOST), "0");
    EXPECT_EQ(recorder_.value_of(CURLOPT_LOW_SPEED_LIMIT), "0");
    EXPECT_EQ(recorder_.value_of(CURLOPT_LOW_SPEED_TIME), "-1");
}

TEST_F(ftp_connect, peer_and_host_checks_are_separate)
{
    recorder_.answer({done, folder_is("/"), done, folder_is("/")});
    connect_with({.verify_peer = true, .verify_host = false});
    EXPECT_EQ(recorder_.value_of(CURLOPT_SSL_VERIFYPEER), "1");
    EXPECT_EQ(recorder_.value_of(CURLOPT_SSL_VERIFYHOST), "0");
}

struct tls_case {
    std::string mode;
    std::string value;
};

class ftp_connect_tls : public ftp_connect, public testing::WithParamInterface<tls_case> {};

TEST_P(ftp_connect_tls, the_mode_chooses_the_tls_level)
{
    recorder_.answer({done, folder_is("/"), done, folder_is("/")});
    connect_with({.tls_mode = GetParam().mode});
    EXPECT_EQ(recorder_.take(), steps({session_options("ftp://server/pub/"),
                                       {"USE_SSL=" + GetParam().value},
                                       first_request(),
                                       asking_pwd(),
                                       moving_to("ftp://server/pub/"),
                                       asking_pwd()}));
}

INSTANTIATE_TEST_SUITE_P(modes, ftp_connect_tls,
                         testing::Values(tls_case{"none", "0"}, tls_case{"opportunistic", "1"},
                                         tls_case{"strict", "3"}),
                         [](const auto& tested) { return tested.param.mode; });

class ftp_connect_wrong_tls : public ftp_connect,
                              public testing::WithParamInterface<const char*> {};

TEST_P(ftp_connect_wrong_tls, an_unknown_mode_raises_after_the_other_options_and_before_a_request)
{
    const std::string mode = GetParam();
    EXPECT_ERROR_ID(connect_with({.tls_mode = mode}),
                    id_of<ids::InternalError>("TLSMode", "Unrecognized option: " + mode));
    EXPECT_EQ(recorder_.take(), session_options("ftp://server/pub/"));
}

INSTANTIATE_TEST_SUITE_P(modes, ftp_connect_wrong_tls,
                         testing::Values("Strict", "", "all", "none ", "strict\n", "control"));

TEST_F(ftp_connect, active_mode_is_set_before_the_url)
{
    recorder_.answer({done, folder_is("/"), done, folder_is("/")});
    connect_with({.connection_mode = "active"});
    EXPECT_EQ(recorder_.take(), steps({{"FTPPORT=-"},
                                       beginning("ftp://server/pub/"),
                                       asking_pwd(),
                                       moving_to("ftp://server/pub/"),
                                       asking_pwd()}));
}

TEST_F(ftp_connect, any_other_connection_mode_leaves_passive_mode)
{
    for (const auto* mode : {"Active", "passive", "", "active ", "PASSIVE"}) {
        recorder_.answer({done, folder_is("/"), done, folder_is("/")});
        connect_with({.connection_mode = mode});
        EXPECT_EQ(recorder_.value_of(CURLOPT_FTPPORT), "untouched") << mode;
    }
}

// Failures of the first request

TEST_F(ftp_connect, a_refused_login_is_a_bad_login_at_the_url)
{
    recorder_.answer({{.code = CURLE_LOGIN_DENIED, .reply = 530}});
    EXPECT_ERROR_ID(connect_with({}), id_of<ids::BadLogin>("ftp://server/pub"));
    EXPECT_EQ(recorder_.take(), beginning("ftp://server/pub/")) << "and nothing is rolled back";
}

TEST_F(ftp_connect, every_other_failure_is_no_connection_with_url_and_port)
{
    for (const auto code : {CURLE_COULDNT_CONNECT, CURLE_COULDNT_RESOLVE_HOST, CURLE_USE_SSL_FAILED,
                            CURLE_SSL_CACERT_BADFILE, CURLE_OPERATION_TIMEDOUT}) {
        recorder_.answer({{.code = code}});
        EXPECT_ERROR_ID(connect_with({}), id_of<ids::NoConnection>("ftp://server/pub", "2121"))
            << code;
    }
}

TEST_F(ftp_connect, the_first_request_logs_nothing_of_its_own)
{
    const log_recorder log(getLogger(), 1 | 4 | 8 | 256);
    recorder_.answer({{.code = CURLE_COULDNT_CONNECT}});
    EXPECT_ANY_THROW(connect_with({}));
    EXPECT_EQ(log.lines(), transcript{});
}

// A folder that cannot be entered

TEST_F(ftp_connect, without_a_slash_after_the_server_a_refused_folder_is_no_connection)
{
    recorder_.answer({refused});
    EXPECT_ERROR_ID(connect_with({.url = "ftp://server"}),
                    id_of<ids::NoConnection>("ftp://server", "2121"));
    EXPECT_EQ(recorder_.take(), beginning("ftp://server/"));
    EXPECT_EQ(warnings_, transcript{});
}

TEST_F(ftp_connect, a_refused_folder_falls_back_to_the_root_and_the_login_folder_with_a_warning)
{
    // The refused folder is tried once more at the end; here it lets the session in.
    recorder_.answer({refused, done, folder_is("/home/u"), done, folder_is("/home/u"),
                      folder_is("/home/u"), done, folder_is("/srv/pub")});
    EXPECT_EQ(connect_with({.url = "ftp://server:21/pub/x"}), "/srv/pub");
    EXPECT_EQ(recorder_.take(),
              steps({beginning("ftp://server:21/pub/x/"), moving_to("ftp://server:21"),
                     asking_pwd(), moving_to("ftp://server:21//home/u/"), asking_pwd(),
                     asking_pwd(), moving_to("ftp://server:21/pub/x/"), asking_pwd()}));
    EXPECT_EQ(warnings_, transcript{"TARNIX:io:ftp:ftp:CouldNotLoginToRemoteFolder()"});
}

TEST_F(ftp_connect, a_folder_refused_to_the_end_is_a_missing_directory_after_the_warning)
{
    recorder_.answer({refused, done, folder_is("/home/u"), done, folder_is("/home/u"),
                      folder_is("/home/u"), refused, done});
    EXPECT_ERROR_ID(connect_with({}), id_of<ids::NoSuchDirectory>("ftp://server/pub/"));
    EXPECT_EQ(warnings_, transcript{"TARNIX:io:ftp:ftp:CouldNotLoginToRemoteFolder()"});
    EXPECT_EQ(recorder_.value_of(CURLOPT_URL), "ftp://server//home/u/");
}

TEST_F(ftp_connect, a_root_that_refuses_the_login_is_a_bad_login_at_the_root_url)
{
    recorder_.answer({refused, {.code = CURLE_LOGIN_DENIED}});
    EXPECT_ERROR_ID(connect_with({}), id_of<ids::BadLogin>("ftp://server"));
    EXPECT_EQ(recorder_.take(), steps({beginning("ftp://server/pub/"), moving_to("ftp://server")}));
    EXPECT_EQ(warnings_, transcript{});
}

TEST_F(ftp_connect, a_root_that_cannot_be_reached_is_no_connection_at_the_root_url)
{
    recorder_.answer({refused, {.code = CURLE_COULDNT_CONNECT}});
    EXPECT_ERROR_ID(connect_with({}), id_of<ids::NoConnection>("ftp://server", "2121"));
    EXPECT_EQ(warnings_, transcript{});
}

TEST_F(ftp_connect, a_root_that_is_refused_is_no_connection_too)
{
    recorder_.answer({refused, refused});
    EXPECT_ERROR_ID(connect_with({}), id_of<ids::NoConnection>("ftp://server", "2121"));
}

TEST_F(ftp_connect, the_root_request_is_logged_at_level_8)
{
    const log_recorder log(getLogger(), 1 | 4 | 8 | 256);
    recorder_.answer({refused, {.code = CURLE_COULDNT_CONNECT}});
    EXPECT_ANY_THROW(connect_with({}));
    EXPECT_EQ(log.lines(),
              transcript{"8 Response from second request to connect to root folder: 7"});
}

TEST_F(ftp_connect, a_login_folder_that_cannot_be_entered_is_a_missing_directory)
{
    recorder_.answer({refused, done, folder_is("/home/u"), refused, done});
    EXPECT_ERROR_ID(connect_with({}), id_of<ids::NoSuchDirectory>("ftp://server//home/u/"));
    EXPECT_EQ(recorder_.value_of(CURLOPT_URL), "ftp://server/");
}

// Failures after the first request

TEST_F(ftp_connect, a_pwd_that_fails_is_an_internal_error)
{
    recorder_.answer({done, {.code = CURLE_QUOTE_ERROR}});
    EXPECT_ERROR_ID(connect_with({}),
                    id_of<ids::InternalError>("PWD", "Could not get PWD response"));
}

TEST_F(ftp_connect, a_target_that_cannot_be_entered_is_a_missing_directory)
{
    recorder_.answer({done, folder_is("/home/u"), refused, done});
    EXPECT_ERROR_ID(connect_with({.url = "ftp://server"}),
                    id_of<ids::NoSuchDirectory>("ftp://server//home/u/"));
}

TEST_F(ftp_connect, an_empty_handle_raises_before_anything_is_set)
{
    const curl_ptr holder(std::move(handle_));
    recorder_.take_all();
    EXPECT_ERROR_ID(
        connect_with({.connection_mode = "active", .tls_mode = "wrong", .use_proxy = true}),
        id_of<ids::InvalidCurlHandle>());
    EXPECT_EQ(recorder_.take_all(), transcript{});
}

} // namespace
} // namespace tarnix::test

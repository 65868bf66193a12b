#include "session.hpp"

namespace tarnix::test {
namespace {

class cd_options : public scripted_session {};

TEST_F(cd_options, unsafe_cd_sets_the_url_with_a_slash_and_makes_one_request_without_body)
{
    EXPECT_EQ(unsafe_cd(handle_, "ftp://server/pub"), CURLE_OK);
    EXPECT_EQ(recorder_.take(), moving_to("ftp://server/pub/"));
}

TEST_F(cd_options, unsafe_cd_adds_no_second_slash)
{
    unsafe_cd(handle_, "ftp://server/pub/");
    EXPECT_EQ(recorder_.take(), moving_to("ftp://server/pub/"));
}

TEST_F(cd_options, unsafe_cd_returns_the_code_and_keeps_the_url_after_a_failure)
{
    recorder_.answer({{.code = CURLE_REMOTE_ACCESS_DENIED, .reply = 550}});
    EXPECT_EQ(unsafe_cd(handle_, "ftp://server/pub"), CURLE_REMOTE_ACCESS_DENIED);
    EXPECT_EQ(recorder_.value_of(CURLOPT_URL), "ftp://server/pub/");
    EXPECT_EQ(recorder_.value_of(CURLOPT_NOBODY), "0");
}

TEST_F(cd_options, unsafe_cd_logs_the_url_as_passed_with_both_codes_at_level_8)
{
    const log_recorder log(getLogger(), 1 | 4 | 8 | 256);
    recorder_.answer({{.code = CURLE_REMOTE_ACCESS_DENIED, .reply = 550}});
    unsafe_cd(handle_, "ftp://server/pub");
    EXPECT_EQ(log.lines(), transcript{"8 unsafe_cd on path \"ftp://server/pub\" returned curl "
                                      "code: 9 and reply code: 550"});
}

TEST_F(cd_options, unsafe_cd_puts_nobody_back_when_the_request_raises)
{
    recorder_.answer({{.during = [] { throw 1; }}});
    EXPECT_THROW(unsafe_cd(handle_, "ftp://server/pub"), int);
    EXPECT_EQ(recorder_.take(), moving_to("ftp://server/pub/"));
}

TEST_F(cd_options, unsafe_cd_passes_what_a_log_sink_raises_on_with_nobody_put_back)
{
    log_recorder log(getLogger(), 8);
    log.in_sink([](const log_record&) { throw 1; });
    EXPECT_THROW(unsafe_cd(handle_, "ftp://server/pub"), int);
    EXPECT_EQ(recorder_.take(), moving_to("ftp://server/pub/"));
}

TEST_F(cd_options, unsafe_cd_on_an_empty_handle_raises)
{
    const curl_ptr holder(std::move(handle_));
    EXPECT_ERROR_ID(unsafe_cd(handle_, "ftp://server/"), id_of<ids::InvalidCurlHandle>());
}

TEST_F(cd_options, cd_moves_and_returns_what_the_server_says)
{
    recorder_.answer({{.reply = 250}, folder_is("/srv/pub")});
    EXPECT_EQ(cd(handle_, "ftp://server/pub"), "/srv/pub");
    EXPECT_EQ(recorder_.take(), steps({moving_to("ftp://server/pub/"), asking_pwd()}));
}

TEST_F(cd_options, cd_reads_the_old_url_before_it_moves)
{
    recorder_.answer({{}, folder_is("/")});
    cd(handle_, "ftp://server/pub");
    EXPECT_EQ(recorder_.take_all().front(), "ask EFFECTIVE_URL");
}

TEST_F(cd_options, cd_into_a_missing_folder_goes_back_and_raises_with_the_url_as_passed)
{
    recorder_.start_at("ftp://server/home/u");
    recorder_.answer({{.code = CURLE_REMOTE_ACCESS_DENIED, .reply = 550}, {.reply = 250}});
    EXPECT_ERROR_ID(cd(handle_, "ftp://server/missing"),
                    id_of<ids::NoSuchDirectory>("ftp://server/missing"));
    EXPECT_EQ(recorder_.take(),
              steps({moving_to("ftp://server/missing/"), moving_to("ftp://server/home/u/")}));
}

TEST_F(cd_options, cd_reports_any_failure_as_a_missing_folder)
{
    for (const auto code : {CURLE_COULDNT_CONNECT, CURLE_OPERATION_TIMEDOUT, CURLE_LOGIN_DENIED,
                            CURLE_URL_MALFORMAT, CURLE_GOT_NOTHING}) {
        recorder_.answer({{.code = code}, {}});
        EXPECT_ERROR_ID(cd(handle_, "ftp://server/a"),
                        id_of<ids::NoSuchDirectory>("ftp://server/a"))
            << code;
    }
}

TEST_F(cd_options, cd_raises_the_same_when_going_back_fails_too)
{
    recorder_.answer({{.code = CURLE_COULDNT_CONNECT}, {.code = CURLE_COULDNT_CONNECT}});
    EXPECT_ERROR_ID(cd(handle_, "ftp://server/a"), id_of<ids::NoSuchDirectory>("ftp://server/a"));
    EXPECT_EQ(recorder_.value_of(CURLOPT_URL), "ftp://server/home/u/");
}

TEST_F(cd_options, cd_passes_an_exception_of_the_request_on_unchanged)
{
    recorder_.answer({{.during = [] { throw 1; }}});
    EXPECT_THROW(cd(handle_, "ftp://server/pub"), int);
    EXPECT_EQ(recorder_.take(), moving_to("ftp://server/pub/")) << "and does not go back";
}

TEST_F(cd_options, cd_whose_pwd_fails_stays_where_it_went)
{
    recorder_.answer({{}, {.code = CURLE_RECV_ERROR}});
    EXPECT_ERROR_ID(cd(handle_, "ftp://server/pub"),
                    id_of<ids::InternalError>("PWD", "Could not get PWD response"));
    EXPECT_EQ(recorder_.value_of(CURLOPT_URL), "ftp://server/pub/");
}

TEST_F(cd_options, cd_on_an_empty_handle_raises)
{
    const curl_ptr holder(std::move(handle_));
    recorder_.take_all();
    EXPECT_ERROR_ID(cd(handle_, "ftp://server/"), id_of<ids::InvalidCurlHandle>());
    EXPECT_EQ(recorder_.take_all(), transcript{});
}

} // namespace
} // namespace tarnix::test

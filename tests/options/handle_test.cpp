#include "session.hpp"

namespace tarnix::test {
namespace {

TEST(HandleOptions, construction_turns_the_protocol_trace_on_and_sets_nothing_else)
{
    option_recorder recorder;
    recorder.name(&getLogger(), "logger");
    const curl_ptr handle(false);
    EXPECT_EQ(recorder.take_all(),
              (transcript{"init", "VERBOSE=1", "DEBUGDATA=logger", "DEBUGFUNCTION=set"}));
}

TEST(HandleOptions, tracing_is_on_whatever_levels_are_enabled)
{
    const log_recorder log(getLogger(), 0);
    option_recorder recorder;
    const curl_ptr handle(false);
    EXPECT_EQ(recorder.value_of(CURLOPT_VERBOSE), "1");
    EXPECT_EQ(recorder.value_of(CURLOPT_DEBUGFUNCTION), "set");
}

TEST(HandleOptions, perform_is_one_request_and_touches_no_option)
{
    option_recorder recorder;
    curl_ptr handle(false);
    recorder.take_all();
    recorder.answer({{.code = CURLE_COULDNT_CONNECT}});
    EXPECT_EQ(handle.perform(), CURLE_COULDNT_CONNECT);
    EXPECT_EQ(recorder.take_all(), transcript{"perform"});
}

TEST_F(scripted_session, current_remote_url_asks_libcurl_and_sends_nothing)
{
    EXPECT_EQ(current_remote_url(handle_), "ftp://server/home/u/");
    EXPECT_EQ(recorder_.take_all(), transcript{"ask EFFECTIVE_URL"});
}

TEST_F(scripted_session, last_response_code_asks_libcurl_and_sends_nothing)
{
    recorder_.start_at("ftp://server/", 226);
    EXPECT_EQ(last_response_code(handle_), 226);
    EXPECT_EQ(recorder_.take_all(), transcript{"ask RESPONSE_CODE"});
}

TEST_F(scripted_session, refused_queries_read_as_an_empty_url_and_reply_0)
{
    recorder_.start_at("ftp://server/", 226);
    recorder_.refuse_queries();
    EXPECT_EQ(current_remote_url(handle_), "");
    EXPECT_EQ(last_response_code(handle_), 0);
}

TEST(HandleQueries, a_fresh_handle_has_no_url_and_reply_0)
{
    option_recorder recorder(option_recorder::requests::real);
    curl_ptr handle(false);
    EXPECT_EQ(current_remote_url(handle), "");
    EXPECT_EQ(last_response_code(handle), 0);
}

TEST(HandleQueries, before_any_transfer_the_url_is_what_libcurl_reports_for_the_one_set)
{
    option_recorder recorder(option_recorder::requests::real);
    curl_ptr handle(false);
    set_option(handle, CURLOPT_URL, "ftp://server/pub/");
    EXPECT_EQ(current_remote_url(handle), "ftp://server/pub/");
    EXPECT_EQ(last_response_code(handle), 0);
}

TEST(HandleQueries, an_empty_handle_raises_before_libcurl_is_asked)
{
    option_recorder recorder;
    curl_ptr handle(false);
    const curl_ptr holder(std::move(handle));
    recorder.take_all();
    EXPECT_ERROR_ID(current_remote_url(handle), id_of<ids::InvalidCurlHandle>());
    EXPECT_ERROR_ID(last_response_code(handle), id_of<ids::InvalidCurlHandle>());
    EXPECT_ERROR_ID(handle.perform(), id_of<ids::InvalidCurlHandle>());
    EXPECT_EQ(recorder.take_all(), transcript{});
}

TEST_F(scripted_session, set_option_hands_over_numbers_texts_offsets_and_functions)
{
    set_option(handle_, CURLOPT_PORT, 2121);
    set_option(handle_, CURLOPT_INFILESIZE_LARGE, -1);
    set_option(handle_, CURLOPT_INFILESIZE_LARGE, 5'000'000'000);
    set_option(handle_, CURLOPT_USERNAME, "anonymous");
    set_option(handle_, CURLOPT_READFUNCTION, reinterpret_cast<void (*)()>(&std::fread));
    EXPECT_EQ(recorder_.take_all(),
              (transcript{"PORT=2121", "INFILESIZE_LARGE=-1", "INFILESIZE_LARGE=5000000000",
                          "USERNAME=anonymous", "READFUNCTION=fread"}));
}

} // namespace
} // namespace tarnix::test

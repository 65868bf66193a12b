#include "session.hpp"

#include <cstdio>
#include <limits>

namespace tarnix::test {
namespace {

class scoped_request_options : public scripted_session {};

constexpr auto home = "ftp://server/home/u/";

TEST_F(scoped_request_options, creating_a_scope_touches_no_option)
{
    {
        const scoped_request scope(handle_);
    }
    EXPECT_EQ(recorder_.take_all(), transcript{});
}

TEST_F(scoped_request_options, options_are_put_back_last_one_first)
{
    scoped_request(handle_)
        .setopt(CURLOPT_CRLF, 1L, 0)
        .setopt(CURLOPT_CUSTOMREQUEST, "LIST", nullptr)
        .setopt(CURLOPT_FTP_FILEMETHOD, CURLFTPMETHOD_NOCWD, CURLFTPMETHOD_MULTICWD)
        .setopt(CURLOPT_WRITEDATA, &handle_, stdout)
        .setopt(CURLOPT_READFUNCTION, &std::fread, &std::fwrite);
    EXPECT_EQ(recorder_.take_all(),
              (transcript{"CRLF=1", "CUSTOMREQUEST=LIST", "FTP_FILEMETHOD=2", "WRITEDATA=set",
                          "READFUNCTION=fread", "READFUNCTION=fwrite", "WRITEDATA=stdout",
                          "FTP_FILEMETHOD=1", "CUSTOMREQUEST=null", "CRLF=0"}));
}

TEST_F(scoped_request_options, an_option_goes_back_to_the_given_value_not_to_its_earlier_one)
{
    set_option(handle_, CURLOPT_DIRLISTONLY, 1);
    scoped_request(handle_).setopt(CURLOPT_DIRLISTONLY, 1L, 0);
    EXPECT_EQ(recorder_.value_of(CURLOPT_DIRLISTONLY), "0");
}

TEST_F(scoped_request_options, an_offset_goes_back_to_minus_1)
{
    scoped_request(handle_).setopt(CURLOPT_INFILESIZE_LARGE, 7L, -1);
    EXPECT_EQ(recorder_.take_all(), (transcript{"INFILESIZE_LARGE=7", "INFILESIZE_LARGE=-1"}));
}

TEST_F(scoped_request_options, an_option_set_twice_is_put_back_twice)
{
    scoped_request(handle_).setopt(CURLOPT_CRLF, 1L, 2).setopt(CURLOPT_CRLF, 3L, 4);
    EXPECT_EQ(recorder_.take_all(), (transcript{"CRLF=1", "CRLF=3", "CRLF=4", "CRLF=2"}));
}

TEST_F(scoped_request_options, setopt_and_seturl_return_the_same_scope)
{
    scoped_request scope(handle_);
    const auto& after_option = scope.setopt(CURLOPT_CRLF, 1L, 0);
    const auto& after_url = scope.seturl("ftp://server/pub/");
    EXPECT_EQ(&after_option, &scope);
    EXPECT_EQ(&after_url, &scope);
}

TEST_F(scoped_request_options, the_way_back_to_the_url_comes_after_all_options)
{
    scoped_request(handle_)
        .setopt(CURLOPT_CRLF, 1L, 0)
        .seturl("ftp://server//pub/")
        .setopt(CURLOPT_TRANSFERTEXT, 1L, 0);
    EXPECT_EQ(recorder_.take(), steps({{"CRLF=1", "URL=ftp://server//pub/", "TRANSFERTEXT=1",
                                        "TRANSFERTEXT=0", "CRLF=0"},
                                       moving_to(home)}));
}

TEST_F(scoped_request_options, seturl_reads_the_url_before_it_sets_the_new_one)
{
    {
        scoped_request scope(handle_);
        scope.seturl("ftp://server/a");
        EXPECT_EQ(recorder_.take_all(), (transcript{"ask EFFECTIVE_URL", "URL=ftp://server/a"}));
    }
    EXPECT_EQ(recorder_.take(), moving_to(home));
}

TEST_F(scoped_request_options, the_url_that_libcurl_reports_is_kept_not_the_one_that_was_set)
{
    recorder_.start_at("ftp://server/as/reported");
    scoped_request(handle_).seturl("ftp://server/a");
    EXPECT_EQ(recorder_.take(),
              steps({{"URL=ftp://server/a"}, moving_to("ftp://server/as/reported/")}));
}

TEST_F(scoped_request_options, options_are_put_back_when_an_exception_leaves_the_scope)
{
    try {
        scoped_request scope(handle_);
        scope.setopt(CURLOPT_CRLF, 1L, 0).setopt(CURLOPT_UPLOAD, 1L, 0);
        throw 1;
    } catch (int) {
    }
    EXPECT_EQ(recorder_.take_all(), (transcript{"CRLF=1", "UPLOAD=1", "UPLOAD=0", "CRLF=0"}));
}

TEST_F(scoped_request_options, perform_returns_code_and_reply_and_changes_no_option)
{
    recorder_.answer({{.code = CURLE_QUOTE_ERROR, .reply = 550}});
    const auto [code, reply] = scoped_request(handle_).perform();
    EXPECT_EQ(code, CURLE_QUOTE_ERROR);
    EXPECT_EQ(reply, 550);
    EXPECT_EQ(recorder_.take_all(), (transcript{"perform", "ask RESPONSE_CODE"}));
}

TEST_F(scoped_request_options, request_header_collects_all_reply_lines)
{
    recorder_.answer({{.reply = 226, .headers = {"150 go\r\n", "226 done\r\n"}, .body = {"data"}}});
    const auto [code, text] = scoped_request(handle_).request_header();
    EXPECT_EQ(code, CURLE_OK);
    EXPECT_EQ(text, "150 go\r\n226 done\r\n");
    EXPECT_EQ(recorder_.take_all(),
              (transcript{"HEADERDATA=set", "HEADERFUNCTION=set", "perform", "ask RESPONSE_CODE",
                          "HEADERFUNCTION=null", "HEADERDATA=null"}));
}

TEST_F(scoped_request_options, after_request_header_headers_go_nowhere_special_again)
{
    scoped_request(handle_).request_header();
    EXPECT_EQ(recorder_.value_of(CURLOPT_HEADERDATA), "null");
    EXPECT_EQ(recorder_.value_of(CURLOPT_HEADERFUNCTION), "null");
}

TEST_F(scoped_request_options, request_header_of_a_failed_transfer_keeps_what_arrived)
{
    recorder_.answer({{.code = CURLE_RECV_ERROR, .headers = {"150 go\r\n"}}});
    EXPECT_EQ(scoped_request(handle_).request_header(),
              (std::pair<CURLcode, std::string>(CURLE_RECV_ERROR, "150 go\r\n")));
}

TEST_F(scoped_request_options, request_body_collects_the_whole_body_zero_bytes_included)
{
    recorder_.answer(
        {{.reply = 226, .headers = {"150 go\r\n"}, .body = {"one", std::string(1, '\0'), "two"}}});
    const auto [code, text] = scoped_request(handle_).request_body();
    EXPECT_EQ(code, CURLE_OK);
    EXPECT_EQ(text, std::string("one\0two", 7));
    EXPECT_EQ(recorder_.take_all(),
              (transcript{"WRITEDATA=set", "WRITEFUNCTION=set", "perform", "ask RESPONSE_CODE",
                          "WRITEFUNCTION=null", "WRITEDATA=stdout"}));
}

TEST_F(scoped_request_options, after_request_body_data_goes_to_standard_output_as_by_default)
{
    scoped_request(handle_).request_body();
    EXPECT_EQ(recorder_.value_of(CURLOPT_WRITEDATA), "stdout");
    EXPECT_EQ(recorder_.value_of(CURLOPT_WRITEFUNCTION), "null");
}

TEST_F(scoped_request_options,
       a_body_that_does_not_fit_into_memory_is_a_write_error_and_no_exception)
{
    const auto more_than_any_text_holds = std::numeric_limits<std::size_t>::max() / 2 + 1;
    std::size_t taken = 1;
    recorder_.answer({{.code = CURLE_WRITE_ERROR, .body = {"some "}, .during = [&] {
                           const auto collect =
                               recorder_.function_of<curl_write_callback>(CURLOPT_WRITEFUNCTION);
                           char data = 'x';
                           taken =
                               collect(&data, 1, more_than_any_text_holds,
                                       const_cast<void*>(recorder_.pointer_of(CURLOPT_WRITEDATA)));
                       }}});
    EXPECT_EQ(scoped_request(handle_).request_body().first, CURLE_WRITE_ERROR);
    EXPECT_EQ(taken, 0U);
}

TEST_F(scoped_request_options, the_collector_appends_size_times_count_bytes)
{
    recorder_.answer({{.during = [&] {
        const auto collect = recorder_.function_of<curl_write_callback>(CURLOPT_WRITEFUNCTION);
        std::string data = "abcdef";
        EXPECT_EQ(
            collect(data.data(), 2, 3, const_cast<void*>(recorder_.pointer_of(CURLOPT_WRITEDATA))),
            6U);
    }}});
    EXPECT_EQ(scoped_request(handle_).request_body().second, "abcdef");
}

TEST_F(scoped_request_options, request_quoted_sends_at_the_url_without_a_body_and_moves_back)
{
    recorder_.answer({{.code = CURLE_QUOTE_ERROR, .reply = 550}, {.reply = 250}});
    const auto [code, reply] =
        scoped_request(handle_).request_quoted("ftp://server/pub/", slist{"RNFR a b", "RNTO c"});
    EXPECT_EQ(code, CURLE_QUOTE_ERROR);
    EXPECT_EQ(reply, 550) << "the reply of the request, not of the move back";
    EXPECT_EQ(recorder_.take(), commanding_at("ftp://server/pub/", "[RNFR a b][RNTO c]", home));
}

TEST_F(scoped_request_options, request_quoted_reads_the_reply_before_options_are_put_back)
{
    scoped_request(handle_).request_quoted("ftp://server/pub/", slist{"NOOP"});
    EXPECT_EQ(recorder_.take_all(),
              (transcript{"ask EFFECTIVE_URL", "URL=ftp://server/pub/", "FTP_FILEMETHOD=2",
                          "NOBODY=1", "QUOTE=[NOOP]", "perform", "ask RESPONSE_CODE", "QUOTE=null",
                          "NOBODY=0", "FTP_FILEMETHOD=1", "URL=ftp://server/home/u/", "NOBODY=1",
                          "perform", "ask RESPONSE_CODE", "NOBODY=0"}));
}

TEST_F(scoped_request_options, when_perform_raises_options_are_put_back_and_the_session_moves_back)
{
    recorder_.answer(
        {{.during = [] { throw error<ids::InvalidCurlHandle>(id_of<ids::InvalidCurlHandle>()); }}});
    EXPECT_ERROR_ID(scoped_request(handle_).request_quoted("ftp://server/pub/", slist{"NOOP"}),
                    id_of<ids::InvalidCurlHandle>());
    EXPECT_EQ(recorder_.take(), commanding_at("ftp://server/pub/", "[NOOP]", home));
}

TEST_F(scoped_request_options, the_commands_live_until_the_transfer_is_over)
{
    std::string sent;
    recorder_.answer({{.during = [&] {
        const auto list = static_cast<const curl_slist*>(recorder_.pointer_of(CURLOPT_QUOTE));
        sent = list->data;
    }}});
    scoped_request(handle_).request_quoted("ftp://server/", slist{"SITE CHMOD 600 a"});
    EXPECT_EQ(sent, "SITE CHMOD 600 a");
}

TEST_F(scoped_request_options, request_post_quoted_leaves_url_and_file_method_alone)
{
    recorder_.answer({{.code = CURLE_QUOTE_ERROR, .reply = 502}});
    EXPECT_EQ(scoped_request(handle_).request_post_quoted(slist{"SITE HELP"}),
              (std::pair<CURLcode, long>(CURLE_QUOTE_ERROR, 502)));
    EXPECT_EQ(recorder_.take_all(), (transcript{"NOBODY=1", "QUOTE=[SITE HELP]", "perform",
                                                "ask RESPONSE_CODE", "QUOTE=null", "NOBODY=0"}));
}

TEST_F(scoped_request_options, request_post_quoted_sends_ahead_of_the_request_and_never_after)
{
    scoped_request(handle_).request_post_quoted(slist{"SITE HELP"});
    EXPECT_EQ(recorder_.value_of(CURLOPT_POSTQUOTE), "untouched");
    EXPECT_EQ(recorder_.value_of(CURLOPT_QUOTE), "null");
}

TEST_F(scoped_request_options, request_quoted_body_keeps_nobody_on_and_collects)
{
    recorder_.answer({{.reply = 213, .body = {"left over"}}, {.reply = 250}});
    EXPECT_EQ(scoped_request(handle_).request_quoted_body("ftp://server/pub/", slist{"STAT"}),
              (std::pair<CURLcode, std::string>(CURLE_OK, "left over")));
    EXPECT_EQ(recorder_.take(),
              steps({{"URL=ftp://server/pub/", "FTP_FILEMETHOD=2", "NOBODY=1", "QUOTE=[STAT]"},
                     collecting_body(),
                     {"QUOTE=null", "NOBODY=0", "FTP_FILEMETHOD=1"},
                     moving_to(home)}));
}

TEST_F(scoped_request_options, an_empty_handle_raises_and_sets_nothing)
{
    const curl_ptr holder(std::move(handle_));
    recorder_.take_all();
    const auto empty = id_of<ids::InvalidCurlHandle>();
    EXPECT_ERROR_ID(scoped_request(handle_).setopt(CURLOPT_CRLF, 1L, 0), empty);
    EXPECT_ERROR_ID(scoped_request(handle_).seturl("ftp://server/"), empty);
    EXPECT_ERROR_ID(scoped_request(handle_).perform(), empty);
    EXPECT_ERROR_ID(scoped_request(handle_).request_header(), empty);
    EXPECT_ERROR_ID(scoped_request(handle_).request_body(), empty);
    EXPECT_ERROR_ID(scoped_request(handle_).request_quoted("ftp://a/", slist{"NOOP"}), empty);
    EXPECT_ERROR_ID(scoped_request(handle_).request_post_quoted(slist{"NOOP"}), empty);
    EXPECT_ERROR_ID(scoped_request(handle_).request_quoted_body("ftp://a/", slist{"NOOP"}), empty);
    EXPECT_EQ(recorder_.take_all(), transcript{});
}

TEST_F(scoped_request_options, a_failure_while_putting_back_ends_the_process)
{
    EXPECT_DEATH(
        {
            scoped_request scope(handle_);
            scope.setopt(CURLOPT_CRLF, 1L, 0);
            const curl_ptr holder(std::move(handle_));
        },
        "");
}

TEST_F(scoped_request_options, a_log_sink_that_raises_on_the_way_back_ends_the_process)
{
    EXPECT_DEATH(
        {
            log_recorder log(getLogger(), 8);
            log.in_sink([](const log_record&) { throw 1; });
            scoped_request(handle_).seturl("ftp://server/a");
        },
        "");
}

TEST(StringList, keeps_its_entries_in_order)
{
    const slist list{"RNFR a", "RNTO b"};
    ASSERT_NE(list.get(), nullptr);
    EXPECT_STREQ(list.get()->data, "RNFR a");
    ASSERT_NE(list.get()->next, nullptr);
    EXPECT_STREQ(list.get()->next->data, "RNTO b");
    EXPECT_EQ(list.get()->next->next, nullptr);
}

TEST(StringList, moves_and_is_not_copied)
{
    static_assert(std::is_move_constructible_v<slist> && !std::is_copy_constructible_v<slist>);
    slist first{"NOOP"};
    const auto raw = first.get();
    const slist second(std::move(first));
    EXPECT_EQ(second.get(), raw);
}

} // namespace
} // namespace tarnix::test

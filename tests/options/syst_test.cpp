#include "session.hpp"

namespace tarnix::test {
namespace {

class syst_options : public scripted_session {
protected:
    static transcript asking_syst()
    {
        return steps(
            {{"NOBODY=1", "PREQUOTE=[SYST]"}, collecting_headers(), {"PREQUOTE=null", "NOBODY=0"}});
    }

    /// What `syst` makes of a server that sends `lines`.
    std::string syst_of(const std::vector<std::string>& lines, CURLcode code = CURLE_OK,
                        long reply = 215)
    {
        recorder_.answer({{.code = code, .reply = reply, .headers = lines}});
        return syst(handle_);
    }
};

TEST_F(syst_options, asks_in_one_request_where_the_session_stands)
{
    EXPECT_EQ(syst_of({"215 UNIX Type: L8\r\n"}), "215 UNIX Type: L8\r\n");
    EXPECT_EQ(recorder_.take(), asking_syst());
    EXPECT_EQ(recorder_.value_of(CURLOPT_QUOTE), "untouched");
    EXPECT_EQ(recorder_.value_of(CURLOPT_URL), "untouched");
}

TEST_F(syst_options, the_command_is_there_during_the_request_and_gone_afterwards)
{
    std::string sent;
    recorder_.answer({{.during = [&] {
        sent = static_cast<const curl_slist*>(recorder_.pointer_of(CURLOPT_PREQUOTE))->data;
    }}});
    syst(handle_);
    EXPECT_EQ(sent, "SYST");
    EXPECT_EQ(recorder_.pointer_of(CURLOPT_PREQUOTE), nullptr);
}

TEST_F(syst_options, gives_every_reply_line_of_the_request_as_it_came)
{
    EXPECT_EQ(syst_of({"220 hi\r\n", "257 \"/\"\r\n", "215-two\r\n", "215 lines\r\n"}),
              "220 hi\r\n257 \"/\"\r\n215-two\r\n215 lines\r\n");
}

TEST_F(syst_options, a_failed_request_gives_an_empty_text_even_if_replies_were_captured)
{
    for (const auto code : {CURLE_QUOTE_ERROR, CURLE_OPERATION_TIMEDOUT, CURLE_COULDNT_CONNECT}) {
        EXPECT_EQ(syst_of({"215 UNIX\r\n"}, code), "") << code;
        EXPECT_EQ(recorder_.take(), asking_syst()) << code;
    }
}

TEST_F(syst_options, the_reply_code_is_not_looked_at)
{
    EXPECT_EQ(syst_of({"550 no\r\n"}, CURLE_OK, 550), "550 no\r\n");
    EXPECT_EQ(syst_of({}, CURLE_OK, 215), "");
}

TEST_F(syst_options, logs_code_and_text_at_level_4)
{
    const log_recorder log(getLogger(), 4);
    syst_of({"220 hi\r\n", "215 UNIX\r\n"});
    EXPECT_EQ(log.lines(), (transcript{"4 SYST response code: 0",
                                       "4 SYST response text: 220 hi\r\n215 UNIX\r\n"}));
}

TEST_F(syst_options, logs_a_failed_request_too)
{
    const log_recorder log(getLogger(), 4);
    syst_of({"502 what?\r\n"}, CURLE_QUOTE_ERROR);
    EXPECT_EQ(log.lines(),
              (transcript{"4 SYST response code: 21", "4 SYST response text: 502 what?\r\n"}));
}

TEST_F(syst_options, logs_at_no_other_level)
{
    const log_recorder log(getLogger(), 1 | 8 | 128 | 256);
    syst_of({"215 UNIX\r\n"});
    EXPECT_EQ(log.lines(), transcript{});
}

TEST_F(syst_options, all_options_are_back_before_it_logs)
{
    log_recorder log(getLogger(), 4);
    transcript before_logging;
    log.in_sink([&](const log_record&) {
        if (before_logging.empty())
            before_logging = recorder_.take();
    });
    syst_of({"215 UNIX\r\n"});
    EXPECT_EQ(before_logging, asking_syst());
}

TEST_F(syst_options, an_empty_handle_raises_and_sets_nothing)
{
    const curl_ptr holder(std::move(handle_));
    recorder_.take_all();
    EXPECT_ERROR_ID(syst(handle_), id_of<ids::InvalidCurlHandle>());
    EXPECT_EQ(recorder_.take_all(), transcript{});
}

} // namespace
} // namespace tarnix::test

#include "session.hpp"

namespace tarnix::test {
namespace {

class pwd_options : public scripted_session {
protected:
    /// What `pwd` says of a server that sends `lines`.
    std::string pwd_of(const std::vector<std::string>& lines, CURLcode code = CURLE_OK)
    {
        recorder_.answer({{.code = code, .reply = 257, .headers = lines}});
        return pwd(handle_);
    }
};

resource_core::BaseMsgID pwd_error(const std::string& what)
{
    return id_of<ids::InternalError>("PWD", what);
}

TEST_F(pwd_options, asks_where_the_session_stands_in_one_request)
{
    EXPECT_EQ(pwd_of({"257 \"/home/u\" is cwd\r\n"}), "/home/u");
    EXPECT_EQ(recorder_.take(), asking_pwd());
}

TEST_F(pwd_options, all_options_are_back_before_a_failure_is_raised)
{
    EXPECT_ERROR_ID(pwd_of({}, CURLE_OPERATION_TIMEDOUT), pwd_error("Could not get PWD response"));
    EXPECT_EQ(recorder_.take(), asking_pwd());
}

TEST_F(pwd_options, a_failed_transfer_raises_even_if_a_reply_was_captured)
{
    EXPECT_ERROR_ID(pwd_of({"257 \"/home/u\"\r\n"}, CURLE_RECV_ERROR),
                    pwd_error("Could not get PWD response"));
}

TEST_F(pwd_options, replies_without_a_257_raise_with_the_whole_captured_text)
{
    EXPECT_ERROR_ID(
        pwd_of({"200 ok\r\n", "550 no\r\n"}),
        pwd_error("Could not match any server responses to the PWD command: 200 ok\r\n550 no\r\n"));
}

TEST_F(pwd_options, no_reply_at_all_raises)
{
    EXPECT_ERROR_ID(pwd_of({}),
                    pwd_error("Could not match any server responses to the PWD command: "));
}

TEST_F(pwd_options, a_257_without_quotes_raises_what_the_parser_says)
{
    EXPECT_ERROR_ID(pwd_of({"257 /home\r\n"}),
                    pwd_error("Could not find opening quote in PWD response: 257 /home"));
    EXPECT_ERROR_ID(pwd_of({"257 \"/home\r\n"}),
                    pwd_error("Could not find closing quote in PWD response: 257 \"/home"));
}

TEST_F(pwd_options, the_first_257_line_wins)
{
    EXPECT_EQ(pwd_of({"220 hi\r\n", "257-\"/first\"\r\n", "257 \"/second\"\r\n"}), "/first");
}

TEST_F(pwd_options, an_empty_path_is_the_root)
{
    EXPECT_EQ(pwd_of({"257 \"\"\r\n"}), "/");
}

TEST_F(pwd_options, a_path_of_slashes_only_is_the_root)
{
    EXPECT_EQ(pwd_of({"257 \"/\"\r\n"}), "/");
    EXPECT_EQ(pwd_of({"257 \"///\"\r\n"}), "/");
    EXPECT_EQ(pwd_of({"257 \"//////\"\r\n"}), "/");
}

TEST_F(pwd_options, a_trailing_slash_stays)
{
    EXPECT_EQ(pwd_of({"257 \"/home/u/\"\r\n"}), "/home/u/");
}

TEST_F(pwd_options, an_sftp_answer_with_a_lone_line_feed_is_read_to_the_last_quote)
{
    EXPECT_EQ(pwd_of({"257 \"/home/u/\" is the current directory.\n"}), "/home/u/");
}

TEST_F(pwd_options, logs_code_text_and_result_at_level_4)
{
    const log_recorder log(getLogger(), 4);
    pwd_of({"220 hi\r\n", "257 \"//srv//data\"\r\n"});
    EXPECT_EQ(log.lines(), (transcript{"4 PWD response code: 0",
                                       "4 PWD response text: 220 hi\r\n257 \"//srv//data\"\r\n",
                                       "4 PWD parsed as: /srv/data"}));
}

TEST_F(pwd_options, a_failed_transfer_logs_nothing)
{
    const log_recorder log(getLogger(), 1 | 4 | 8);
    EXPECT_ANY_THROW(pwd_of({"257 \"/\"\r\n"}, CURLE_RECV_ERROR));
    EXPECT_EQ(log.lines(), transcript{});
}

TEST_F(pwd_options, an_unreadable_reply_is_logged_but_no_result)
{
    const log_recorder log(getLogger(), 4);
    EXPECT_ANY_THROW(pwd_of({"550 no\r\n"}));
    EXPECT_EQ(log.lines(),
              (transcript{"4 PWD response code: 0", "4 PWD response text: 550 no\r\n"}));
}

TEST_F(pwd_options, an_empty_handle_raises)
{
    const curl_ptr holder(std::move(handle_));
    EXPECT_ERROR_ID(pwd(handle_), id_of<ids::InvalidCurlHandle>());
}

TEST_F(pwd_options, fullfile_joins_the_name_to_the_working_folder_for_one_pwd)
{
    recorder_.answer({folder_is("/home/u")});
    EXPECT_EQ(fullfile(handle_, "a b"), "/home/u/a b");
    EXPECT_EQ(recorder_.take(), asking_pwd());
}

TEST_F(pwd_options, fullfile_in_the_root_has_one_slash)
{
    recorder_.answer({folder_is("/")});
    EXPECT_EQ(fullfile(handle_, "x"), "/x");
}

TEST_F(pwd_options, fullfile_never_looks_at_its_name)
{
    recorder_.answer({folder_is("/home/u"), folder_is("/home/u")});
    EXPECT_EQ(fullfile(handle_, "/etc/x"), "/home/u//etc/x");
    EXPECT_EQ(fullfile(handle_, ""), "/home/u/");
}

TEST_F(pwd_options, fullfile_passes_a_failed_pwd_on)
{
    recorder_.answer({{.code = CURLE_RECV_ERROR}});
    EXPECT_ERROR_ID(fullfile(handle_, "x"), pwd_error("Could not get PWD response"));
}

} // namespace
} // namespace tarnix::test

#include "session.hpp"

#include <algorithm>
#include <exception>
#include <functional>
#include <ostream>
#include <string>

namespace tarnix::test {
namespace {

constexpr auto ftp_home = "ftp://server/home/u/";
constexpr auto sftp_home = "sftp://server/home/u/";

// Spelled out, so that a change of the catalogue shows here.

resource_core::BaseMsgID delete_failed(const std::string& path)
{
    return {{path}, "TARNIX:io:ftp:ftp", "DeleteFailed"};
}

resource_core::BaseMsgID ftp_error(long long code)
{
    return {{code}, "TARNIX:io:ftp:ftp", "FTPError"};
}

/// An operation of which the tests of a suite are run, for paths that cost no PWD.
struct remote_file_operation {
    std::string name;
    std::string home;
    std::function<void(curl_ptr&)> call;
    std::string url; ///< where its commands are sent
    std::string commands;
};

void PrintTo(const remote_file_operation& operation, std::ostream* out)
{
    *out << operation.name;
}

class remote_file_options : public scripted_session {
protected:
    static constexpr auto lone_surrogate = u"\xd800";

    void call_on_empty_handle(const std::function<void(curl_ptr&)>& call)
    {
        const curl_ptr holder(std::move(handle_));
        recorder_.take_all();
        EXPECT_ERROR_ID(call(handle_), id_of<ids::InvalidCurlHandle>());
        EXPECT_EQ(recorder_.take_all(), transcript{});
    }
};

class operation_options : public remote_file_options,
                          public testing::WithParamInterface<remote_file_operation> {
protected:
    operation_options() { start_at(GetParam().home); }

    /// Runs the operation; its request ends like this, the way back with `reply_of_way_back`.
    void run(CURLcode code, long reply, long reply_of_way_back = 250)
    {
        recorder_.answer({{.code = code, .reply = reply}, {.reply = reply_of_way_back}});
        GetParam().call(handle_);
    }

    static transcript whole_request()
    {
        return commanding_at(GetParam().url, GetParam().commands, GetParam().home);
    }
};

const auto name_of_operation = [](const auto& info) { return info.param.name; };

// Deleting

class delete_options : public operation_options {};

INSTANTIATE_TEST_SUITE_P(
    operations, delete_options,
    testing::Values(remote_file_operation{"ftp", ftp_home,
                                          [](curl_ptr& h) { delete_remote_file(h, u"/p/ü"); },
                                          "ftp://server//p/%C3%BC/", "[DELE /p/ü]"},
                    remote_file_operation{"sftp", sftp_home,
                                          [](curl_ptr& h) { sftp_delete_remote_file(h, u"/p/ü"); },
                                          "sftp://server/p/%C3%BC/", "[rm \"/p/ü\"]"}),
    name_of_operation);

TEST_P(delete_options, is_one_request_at_the_url_of_the_file_and_the_way_back)
{
    run(CURLE_OK, 250);
    EXPECT_EQ(recorder_.take(), whole_request());
}

TEST_P(delete_options, code_0_is_success_whatever_the_reply)
{
    for (const auto reply : {0L, 250L, 450L, 550L})
        EXPECT_NO_THROW(run(CURLE_OK, reply)) << reply;
}

TEST_P(delete_options, any_other_code_failed_with_the_path_as_given_whatever_the_reply)
{
    for (const auto code : {CURLE_QUOTE_ERROR, CURLE_OPERATION_TIMEDOUT, CURLE_COULDNT_CONNECT})
        for (const auto reply : {0L, 250L, 450L, 550L})
            EXPECT_ERROR_ID(run(code, reply), delete_failed("/p/ü")) << code << ' ' << reply;
}

TEST_P(delete_options, the_session_is_back_before_a_failure_is_raised)
{
    EXPECT_ANY_THROW(run(CURLE_QUOTE_ERROR, 550));
    EXPECT_EQ(recorder_.take(), whole_request());
}

TEST_P(delete_options, the_way_back_is_not_judged)
{
    recorder_.answer({{}, {.code = CURLE_COULDNT_CONNECT}});
    EXPECT_NO_THROW(GetParam().call(handle_));
}

TEST_P(delete_options, raises_for_an_empty_handle)
{
    call_on_empty_handle(GetParam().call);
}

TEST_F(remote_file_options, delete_sends_a_relative_path_as_given_at_the_url_of_the_file)
{
    delete_remote_file(handle_, u"my file.txt");
    EXPECT_EQ(recorder_.take(),
              commanding_at("ftp://server/home/u/my%20file.txt/", "[DELE my file.txt]", ftp_home));
}

TEST_F(remote_file_options, delete_encodes_and_escapes_nothing_in_its_command)
{
    delete_remote_file(handle_, u"größer/a\"b%20#c");
    EXPECT_EQ(recorder_.take(),
              commanding_at("ftp://server/home/u/gr%C3%B6%C3%9Fer/a%22b%2520%23c/",
                            "[DELE größer/a\"b%20#c]", ftp_home));
}

TEST_F(remote_file_options, delete_of_a_path_with_a_slash_at_its_end_adds_none_to_the_url)
{
    delete_remote_file(handle_, u"a/");
    EXPECT_EQ(recorder_.take(), commanding_at("ftp://server/home/u/a/", "[DELE a/]", ftp_home));
}

TEST_F(remote_file_options, delete_of_an_empty_path_is_sent_where_the_session_stands)
{
    delete_remote_file(handle_, u"");
    EXPECT_EQ(recorder_.take(), commanding_at(ftp_home, "[DELE ]", ftp_home));
}

TEST_F(remote_file_options, delete_raises_when_the_url_cannot_be_composed)
{
    recorder_.start_at("server");
    EXPECT_ERROR_ID(delete_remote_file(handle_, u"/a"),
                    id_of<ids::InternalError>("URL Generation", "Couldn't find URL scheme"));
    EXPECT_EQ(recorder_.take(), transcript{});
}

// Renaming

class rename_options : public operation_options {};

INSTANTIATE_TEST_SUITE_P(
    operations, rename_options,
    testing::Values(
        remote_file_operation{"ftp", ftp_home,
                              [](curl_ptr& h) { rename_remote_file(h, u"/p/a b", u"/p/ü"); },
                              ftp_home, "[RNFR /p/a b][RNTO /p/ü]"},
        remote_file_operation{"sftp", sftp_home,
                              [](curl_ptr& h) { sftp_rename_remote_file(h, u"/p/a b", u"/p/ü"); },
                              sftp_home, "[rename \"/p/a b\" \"/p/ü\"]"}),
    name_of_operation);

TEST_P(rename_options, is_one_request_where_the_session_stands_and_the_way_back)
{
    run(CURLE_OK, 250);
    EXPECT_EQ(recorder_.take(), whole_request());
}

TEST_P(rename_options, a_reply_of_500_to_553_raises_with_it_whatever_the_code)
{
    for (const auto code : {CURLE_OK, CURLE_QUOTE_ERROR, CURLE_COULDNT_CONNECT})
        for (const auto reply : {500L, 501L, 530L, 550L, 553L})
            EXPECT_ERROR_ID(run(code, reply), ftp_error(reply)) << code << ' ' << reply;
}

TEST_P(rename_options, any_other_reply_is_success_whatever_the_code)
{
    for (const auto code : {CURLE_OK, CURLE_QUOTE_ERROR, CURLE_COULDNT_CONNECT})
        for (const auto reply : {0L, 250L, 350L, 421L, 450L, 499L, 554L, 599L})
            EXPECT_NO_THROW(run(code, reply)) << code << ' ' << reply;
}

TEST_P(rename_options, the_reply_to_the_way_back_is_not_looked_at)
{
    EXPECT_NO_THROW(run(CURLE_OK, 250, 550));
    EXPECT_ERROR_ID(run(CURLE_QUOTE_ERROR, 550, 250), ftp_error(550));
}

TEST_P(rename_options, the_session_is_back_before_a_failure_is_raised)
{
    EXPECT_ANY_THROW(run(CURLE_QUOTE_ERROR, 553));
    EXPECT_EQ(recorder_.take(), whole_request());
}

TEST_P(rename_options, raises_for_an_empty_handle)
{
    call_on_empty_handle(GetParam().call);
}

TEST_F(remote_file_options, rename_sends_both_paths_as_given)
{
    rename_remote_file(handle_, u"old name", u"sub/a\"b%20ü");
    EXPECT_EQ(recorder_.take(),
              commanding_at(ftp_home, "[RNFR old name][RNTO sub/a\"b%20ü]", ftp_home));
}

TEST_F(remote_file_options, rename_uses_the_url_that_libcurl_used_last)
{
    recorder_.start_at("ftp://server");
    rename_remote_file(handle_, u"a", u"b");
    EXPECT_EQ(recorder_.take(),
              steps({{"URL=ftp://server", "FTP_FILEMETHOD=2", "NOBODY=1", "QUOTE=[RNFR a][RNTO b]",
                      "perform", "QUOTE=null", "NOBODY=0", "FTP_FILEMETHOD=1"},
                     moving_to("ftp://server/")}));
}

// SFTP: whole paths in the commands

class sftp_path_options : public remote_file_options {
protected:
    sftp_path_options() { start_at(sftp_home); }

    static transcript renaming(const std::string& command)
    {
        return commanding_at(sftp_home, command, sftp_home);
    }
};

TEST_F(sftp_path_options, delete_of_a_relative_path_costs_a_pwd_and_keeps_the_url_of_the_session)
{
    recorder_.answer({folder_is("/elsewhere"), {}, {}});
    sftp_delete_remote_file(handle_, u"my file.txt");
    EXPECT_EQ(recorder_.take(),
              steps({asking_pwd(), commanding_at("sftp://server/home/u/my%20file.txt/",
                                                 "[rm \"/elsewhere/my file.txt\"]", sftp_home)}));
}

TEST_F(sftp_path_options, delete_failed_carries_the_path_as_given)
{
    recorder_.answer({folder_is("/home/u"), {.code = CURLE_QUOTE_ERROR}, {}});
    EXPECT_ERROR_ID(sftp_delete_remote_file(handle_, u"größer"), delete_failed("größer"));
}

TEST_F(sftp_path_options, delete_escapes_no_quote)
{
    recorder_.answer({folder_is("/home/u"), {}, {}});
    sftp_delete_remote_file(handle_, u"a\"b%20ü");
    EXPECT_EQ(recorder_.take(),
              steps({asking_pwd(), commanding_at("sftp://server/home/u/a%22b%2520%C3%BC/",
                                                 "[rm \"/home/u/a\"b%20ü\"]", sftp_home)}));
}

TEST_F(sftp_path_options, delete_raises_when_its_pwd_fails_and_deletes_nothing)
{
    recorder_.answer({{.code = CURLE_RECV_ERROR}});
    EXPECT_ERROR_ID(sftp_delete_remote_file(handle_, u"a"),
                    id_of<ids::InternalError>("PWD", "Could not get PWD response"));
    EXPECT_EQ(recorder_.take(), asking_pwd());
}

TEST_F(sftp_path_options, rename_of_two_relative_paths_costs_two_pwds_source_first)
{
    recorder_.answer({folder_is("/one"), folder_is("/two"), {}, {}});
    sftp_rename_remote_file(handle_, u"old name", u"ü");
    EXPECT_EQ(recorder_.take(), steps({asking_pwd(), asking_pwd(),
                                       renaming("[rename \"/one/old name\" \"/two/ü\"]")}));
}

TEST_F(sftp_path_options, rename_with_one_relative_path_costs_one_pwd)
{
    recorder_.answer({folder_is("/home/u"), {}, {}, folder_is("/"), {}, {}});
    sftp_rename_remote_file(handle_, u"a", u"/b");
    EXPECT_EQ(recorder_.take(), steps({asking_pwd(), renaming("[rename \"/home/u/a\" \"/b\"]")}));
    sftp_rename_remote_file(handle_, u"/a", u"b");
    EXPECT_EQ(recorder_.take(), steps({asking_pwd(), renaming("[rename \"/a\" \"/b\"]")}));
}

TEST_F(sftp_path_options, rename_escapes_no_quote)
{
    sftp_rename_remote_file(handle_, u"/a\"b", u"/c\" \"d");
    EXPECT_EQ(recorder_.take(), renaming("[rename \"/a\"b\" \"/c\" \"d\"]"));
}

TEST_F(sftp_path_options, rename_raises_when_either_pwd_fails_and_renames_nothing)
{
    const auto no_pwd = id_of<ids::InternalError>("PWD", "Could not get PWD response");
    recorder_.answer({{.code = CURLE_RECV_ERROR}});
    EXPECT_ERROR_ID(sftp_rename_remote_file(handle_, u"a", u"b"), no_pwd);
    EXPECT_EQ(recorder_.take(), asking_pwd());
    recorder_.answer({folder_is("/"), {.code = CURLE_RECV_ERROR}});
    EXPECT_ERROR_ID(sftp_rename_remote_file(handle_, u"a", u"b"), no_pwd);
    EXPECT_EQ(recorder_.take(), steps({asking_pwd(), asking_pwd()}));
}

TEST_F(sftp_path_options, raise_for_an_empty_handle_before_any_pwd)
{
    const curl_ptr holder(std::move(handle_));
    recorder_.take_all();
    EXPECT_ERROR_ID(sftp_delete_remote_file(handle_, u"a"), id_of<ids::InvalidCurlHandle>());
    EXPECT_ERROR_ID(sftp_rename_remote_file(handle_, u"a", u"b"), id_of<ids::InvalidCurlHandle>());
    EXPECT_EQ(recorder_.take_all(), transcript{});
}

// Is it a file?

class is_file_options : public remote_file_options {
protected:
    static transcript asking(const std::string& command, const std::string& home = ftp_home)
    {
        return steps({{"TIMEOUT=20", "URL=" + home, "FTP_FILEMETHOD=2", "NOBODY=1",
                       "QUOTE=[" + command + "]"},
                      collecting_body(),
                      {"QUOTE=null", "NOBODY=0", "FTP_FILEMETHOD=1"},
                      moving_to(home),
                      {"TIMEOUT=0"}});
    }

    static transcript probing_the_working_folder()
    {
        return {"NOBODY=1", "FILETIME=1", "perform", "FILETIME=0", "NOBODY=0"};
    }
};

TEST_F(is_file_options, is_true_when_the_server_answers_and_asks_nothing_more)
{
    recorder_.answer({{.body = {"not looked at"}}, {}});
    EXPECT_TRUE(is_file(handle_, u"a b"));
    EXPECT_EQ(recorder_.take(), asking("statvfs \"a b\""));
}

TEST_F(is_file_options, is_the_same_over_sftp_without_a_pwd)
{
    start_at(sftp_home);
    EXPECT_TRUE(is_file(handle_, u"größer"));
    EXPECT_EQ(recorder_.take(), asking("statvfs \"größer\"", sftp_home));
}

TEST_F(is_file_options, sends_the_path_as_given_and_stays_at_the_url_of_the_session)
{
    is_file(handle_, u"/srv/a\"b%20");
    EXPECT_EQ(recorder_.take(), asking("statvfs \"/srv/a\"b%20\""));
    is_file(handle_, u"");
    EXPECT_EQ(recorder_.take(), asking("statvfs \"\""));
}

TEST_F(is_file_options, the_reply_code_is_not_looked_at)
{
    recorder_.answer({{.reply = 550}, {}});
    EXPECT_TRUE(is_file(handle_, u"a"));
}

class unanswered_is_file : public is_file_options, public testing::WithParamInterface<CURLcode> {};

INSTANTIATE_TEST_SUITE_P(codes, unanswered_is_file,
                         testing::Values(CURLE_QUOTE_ERROR, CURLE_OPERATION_TIMEDOUT));

TEST_P(unanswered_is_file, is_true_whatever_the_path_when_the_working_folder_can_be_reached)
{
    for (const std::u16string path : {u"file", u"/missing", u""}) {
        recorder_.answer({{.code = GetParam(), .reply = 500}, {}, {.reply = 550}});
        EXPECT_TRUE(is_file(handle_, path));
    }
}

TEST_P(unanswered_is_file, is_false_for_any_failure_of_that_request)
{
    for (const auto code : {CURLE_QUOTE_ERROR, CURLE_OPERATION_TIMEDOUT, CURLE_COULDNT_CONNECT,
                            CURLE_REMOTE_ACCESS_DENIED}) {
        recorder_.answer({{.code = GetParam()}, {}, {.code = code, .reply = 226}});
        EXPECT_FALSE(is_file(handle_, u"file")) << code;
    }
}

TEST_P(unanswered_is_file, asks_once_more_after_the_way_back_and_sets_no_url)
{
    recorder_.answer({{.code = GetParam()}, {}, {}});
    is_file(handle_, u"a");
    EXPECT_EQ(recorder_.take(), steps({asking("statvfs \"a\""), probing_the_working_folder()}));
    recorder_.answer({{.code = GetParam()}, {}, {.code = CURLE_COULDNT_CONNECT}});
    is_file(handle_, u"a");
    EXPECT_EQ(recorder_.take(), steps({asking("statvfs \"a\""), probing_the_working_folder()}));
}

TEST_P(unanswered_is_file, does_not_judge_the_way_back)
{
    recorder_.answer({{.code = GetParam()}, {.code = CURLE_COULDNT_CONNECT}, {}});
    EXPECT_TRUE(is_file(handle_, u"a"));
}

TEST_P(unanswered_is_file, runs_its_last_request_without_the_time_limit)
{
    std::string limit;
    recorder_.answer({{.code = GetParam()}, {}, {.during = [&] {
                          limit = recorder_.value_of(CURLOPT_TIMEOUT);
                      }}});
    is_file(handle_, u"a");
    EXPECT_EQ(limit, "0");
}

TEST_F(is_file_options, any_other_code_raises_with_it_and_asks_nothing_more)
{
    for (const auto code : {CURLE_COULDNT_RESOLVE_HOST, CURLE_COULDNT_CONNECT, CURLE_WRITE_ERROR,
                            CURLE_FTP_ACCEPT_TIMEOUT, CURLE_RECV_ERROR, CURLE_LOGIN_DENIED}) {
        recorder_.answer({{.code = code, .reply = 550}, {}});
        EXPECT_ERROR_ID(is_file(handle_, u"a"), ftp_error(code));
        EXPECT_EQ(recorder_.take(), asking("statvfs \"a\"")) << code;
    }
}

TEST_F(is_file_options, a_time_limit_set_before_is_gone_afterwards)
{
    transfer_timeout(handle_, 5000);
    EXPECT_TRUE(is_file(handle_, u"a"));
    EXPECT_EQ(recorder_.take(), steps({{"TIMEOUT_MS=5000"}, asking("statvfs \"a\"")}));
    EXPECT_EQ(recorder_.value_of(CURLOPT_TIMEOUT), "0");
}

TEST_F(is_file_options, raises_for_an_empty_handle)
{
    call_on_empty_handle([](curl_ptr& h) { is_file(h, u"a"); });
}

// All of them

TEST_F(remote_file_options, a_path_that_is_not_well_formed_raises_before_anything_is_sent)
{
    start_at(sftp_home);
    EXPECT_THROW(delete_remote_file(handle_, lone_surrogate), std::exception);
    EXPECT_THROW(sftp_delete_remote_file(handle_, lone_surrogate), std::exception);
    EXPECT_THROW(rename_remote_file(handle_, lone_surrogate, u"b"), std::exception);
    EXPECT_THROW(rename_remote_file(handle_, u"a", lone_surrogate), std::exception);
    EXPECT_THROW(sftp_rename_remote_file(handle_, lone_surrogate, u"b"), std::exception);
    EXPECT_THROW(sftp_rename_remote_file(handle_, u"a", lone_surrogate), std::exception);
    EXPECT_THROW(is_file(handle_, lone_surrogate), std::exception);
    EXPECT_EQ(recorder_.take_all(), transcript{});
}

class remote_file_requests : public operation_options {};

INSTANTIATE_TEST_SUITE_P(
    operations, remote_file_requests,
    testing::Values(
        remote_file_operation{
            "delete", ftp_home, [](curl_ptr& h) { delete_remote_file(h, u"a"); }, {}, "[DELE a]"},
        remote_file_operation{"rename",
                              ftp_home,
                              [](curl_ptr& h) { rename_remote_file(h, u"a", u"b"); },
                              {},
                              "[RNFR a][RNTO b]"},
        remote_file_operation{
            "is_file", ftp_home, [](curl_ptr& h) { is_file(h, u"a"); }, {}, "[statvfs \"a\"]"}),
    name_of_operation);

TEST_P(remote_file_requests, the_commands_live_as_long_as_the_request)
{
    std::string sent;
    recorder_.answer({{.during =
                           [&] {
                               auto entry = static_cast<const curl_slist*>(
                                   recorder_.pointer_of(CURLOPT_QUOTE));
                               for (; entry; entry = entry->next)
                                   sent += '[' + std::string(entry->data) + ']';
                           }},
                      {}});
    GetParam().call(handle_);
    EXPECT_EQ(sent, GetParam().commands);
    EXPECT_EQ(recorder_.pointer_of(CURLOPT_QUOTE), nullptr);
}

TEST_P(remote_file_requests, the_reply_is_asked_for_before_the_way_back)
{
    GetParam().call(handle_);
    const auto calls = recorder_.take_all();
    const auto first_request = std::find(calls.begin(), calls.end(), "perform");
    ASSERT_LT(2, calls.end() - first_request);
    EXPECT_EQ(first_request[1], "ask RESPONSE_CODE");
}

TEST_P(remote_file_requests, options_and_folder_are_back_when_the_request_itself_raises)
{
    recorder_.answer({{.during = [] { throw 1; }}, {}});
    EXPECT_THROW(GetParam().call(handle_), int);
    EXPECT_EQ(recorder_.value_of(CURLOPT_QUOTE), "null");
    EXPECT_EQ(recorder_.value_of(CURLOPT_NOBODY), "0");
    EXPECT_EQ(recorder_.value_of(CURLOPT_FTP_FILEMETHOD), "1");
    EXPECT_EQ(recorder_.value_of(CURLOPT_URL), ftp_home);
}

} // namespace
} // namespace tarnix::test

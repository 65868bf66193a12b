#include "session.hpp"

namespace tarnix::test {
namespace {

class remote_file_options : public scripted_session {
protected:
    static constexpr auto home = "ftp://server/home/u/";
};

TEST_F(remote_file_options, delete_sends_dele_with_the_path_as_given_at_its_url)
{
    delete_remote_file(handle_, u"my file.txt");
    EXPECT_EQ(recorder_.take(),
              commanding_at("ftp://server/home/u/my%20file.txt/", "[DELE my file.txt]", home));
}

TEST_F(remote_file_options, delete_of_an_absolute_path)
{
    delete_remote_file(handle_, u"/pub/gr\u00fc\u00df");
    EXPECT_EQ(recorder_.take(), commanding_at("ftp://server//pub/gr%C3%BC%C3%9F/",
                                              "[DELE /pub/gr\xC3\xBC\xC3\x9F]", home));
}

TEST_F(remote_file_options, delete_looks_at_the_code_and_never_at_the_reply)
{
    for (const auto reply : {550L, 250L, 0L}) {
        recorder_.answer({{.code = CURLE_QUOTE_ERROR, .reply = reply}, {}});
        EXPECT_ERROR_ID(delete_remote_file(handle_, u"a b"), id_of<ids::DeleteFailed>("a b"));
        recorder_.answer({{.reply = reply}, {}});
        EXPECT_NO_THROW(delete_remote_file(handle_, u"a b"));
    }
}

TEST_F(remote_file_options, rename_sends_both_commands_at_the_current_url)
{
    rename_remote_file(handle_, u"old name", u"/pub/new");
    EXPECT_EQ(recorder_.take(), commanding_at(home, "[RNFR old name][RNTO /pub/new]", home));
}

TEST_F(remote_file_options, rename_looks_at_the_reply_and_never_at_the_code)
{
    for (const auto reply : {0L, 250L, 350L, 421L, 450L, 499L, 554L}) {
        recorder_.answer({{.code = CURLE_QUOTE_ERROR, .reply = reply}, {}});
        EXPECT_NO_THROW(rename_remote_file(handle_, u"a", u"b")) << reply;
    }
    for (const auto reply : {500LL, 550LL, 553LL}) {
        recorder_.answer({{.reply = static_cast<long>(reply)}, {}});
        EXPECT_ERROR_ID(rename_remote_file(handle_, u"a", u"b"), id_of<ids::FTPError>(reply));
    }
}

class sftp_remote_file_options : public scripted_session {
protected:
    static constexpr auto home = "sftp://server/home/u/";

    sftp_remote_file_options() { start_at(home); }

    static transcript testing_file(const std::string& command)
    {
        return steps({{"TIMEOUT=20", std::string("URL=") + home, "FTP_FILEMETHOD=2", "NOBODY=1",
                       "QUOTE=" + command},
                      collecting_body(),
                      {"QUOTE=null", "NOBODY=0", "FTP_FILEMETHOD=1"},
                      moving_to(home),
                      {"TIMEOUT=0"}});
    }

    static transcript asking_where_the_session_stands()
    {
        return {"NOBODY=1", "FILETIME=1", "perform", "FILETIME=0", "NOBODY=0"};
    }
};

TEST_F(sftp_remote_file_options, delete_of_a_relative_path_costs_one_pwd)
{
    recorder_.answer({folder_is("/home/u")});
    sftp_delete_remote_file(handle_, u"my file");
    EXPECT_EQ(recorder_.take(),
              steps({asking_pwd(), commanding_at("sftp://server/home/u/my%20file/",
                                                 "[rm \"/home/u/my file\"]", home)}));
}

TEST_F(sftp_remote_file_options, delete_of_an_absolute_path_costs_none)
{
    sftp_delete_remote_file(handle_, u"/pub/a\"b");
    EXPECT_EQ(recorder_.take(),
              commanding_at("sftp://server/pub/a%22b/", "[rm \"/pub/a\"b\"]", home))
        << "quotes are not escaped";
}

TEST_F(sftp_remote_file_options, a_failed_delete_carries_the_path_as_given)
{
    recorder_.answer({folder_is("/home/u"), {.code = CURLE_QUOTE_ERROR}, {}});
    EXPECT_ERROR_ID(sftp_delete_remote_file(handle_, u"a"), id_of<ids::DeleteFailed>("a"));
}

TEST_F(sftp_remote_file_options, rename_of_two_relative_paths_costs_two_pwds)
{
    recorder_.answer({folder_is("/one"), folder_is("/two")});
    sftp_rename_remote_file(handle_, u"a b", u"c");
    EXPECT_EQ(recorder_.take(),
              steps({asking_pwd(), asking_pwd(),
                     commanding_at(home, "[rename \"/one/a b\" \"/two/c\"]", home)}));
}

TEST_F(sftp_remote_file_options, rename_of_absolute_paths_costs_none)
{
    sftp_rename_remote_file(handle_, u"/a", u"/b c");
    EXPECT_EQ(recorder_.take(), commanding_at(home, "[rename \"/a\" \"/b c\"]", home));
}

TEST_F(sftp_remote_file_options, rename_looks_at_the_reply_and_never_at_the_code)
{
    recorder_.answer({{.code = CURLE_QUOTE_ERROR, .reply = 0}, {}});
    EXPECT_NO_THROW(sftp_rename_remote_file(handle_, u"/a", u"/b"));
    recorder_.answer({{.reply = 553}, {}});
    EXPECT_ERROR_ID(sftp_rename_remote_file(handle_, u"/a", u"/b"), id_of<ids::FTPError>(553LL));
}

TEST_F(sftp_remote_file_options, is_file_asks_statvfs_with_the_path_as_given_and_20_seconds)
{
    EXPECT_TRUE(is_file(handle_, u"my file"));
    EXPECT_EQ(recorder_.take(), testing_file("[statvfs \"my file\"]"));
}

TEST_F(sftp_remote_file_options, is_file_erases_a_transfer_time_out_set_before)
{
    transfer_timeout(handle_, 5000);
    is_file(handle_, u"a");
    EXPECT_EQ(recorder_.value_of(CURLOPT_TIMEOUT), "0");
}

TEST_F(sftp_remote_file_options, is_file_falls_back_to_where_the_session_stands)
{
    for (const auto code : {CURLE_OPERATION_TIMEDOUT, CURLE_QUOTE_ERROR}) {
        recorder_.answer({{.code = code}, {}, {}});
        EXPECT_TRUE(is_file(handle_, u"a"));
        EXPECT_EQ(recorder_.take(),
                  steps({testing_file("[statvfs \"a\"]"), asking_where_the_session_stands()}));
        recorder_.answer({{.code = code}, {}, {.code = CURLE_SSH}});
        EXPECT_FALSE(is_file(handle_, u"a"));
        recorder_.take();
    }
}

TEST_F(sftp_remote_file_options, is_file_raises_ftp_error_with_libcurls_code_for_any_other)
{
    recorder_.answer({{.code = CURLE_COULDNT_CONNECT, .reply = 550}, {}});
    EXPECT_ERROR_ID(is_file(handle_, u"a"), id_of<ids::FTPError>(7LL));
}

TEST_F(remote_file_options, every_operation_raises_for_an_empty_handle)
{
    const curl_ptr holder(std::move(handle_));
    const auto empty = id_of<ids::InvalidCurlHandle>();
    EXPECT_ERROR_ID(delete_remote_file(handle_, u"a"), empty);
    EXPECT_ERROR_ID(rename_remote_file(handle_, u"a", u"b"), empty);
    EXPECT_ERROR_ID(sftp_delete_remote_file(handle_, u"a"), empty);
    EXPECT_ERROR_ID(sftp_rename_remote_file(handle_, u"a", u"b"), empty);
    EXPECT_ERROR_ID(is_file(handle_, u"a"), empty);
    EXPECT_ERROR_ID(syst(handle_), empty);
}

// SYST

TEST_F(scripted_session, syst_sends_its_command_ahead_of_the_transfer_and_gives_all_lines)
{
    recorder_.answer({{.reply = 215, .headers = {"250 ok\r\n", "215 UNIX\r\n"}}});
    EXPECT_EQ(syst(handle_), "250 ok\r\n215 UNIX\r\n");
    EXPECT_EQ(recorder_.take(), steps({{"NOBODY=1", "PREQUOTE=[SYST]"},
                                       collecting_headers(),
                                       {"PREQUOTE=null", "NOBODY=0"}}));
}

TEST_F(scripted_session, a_rejected_syst_gives_nothing_and_raises_nothing)
{
    const log_recorder log(getLogger(), 1 | 4 | 8 | 256);
    recorder_.answer({{.code = CURLE_QUOTE_ERROR, .reply = 502, .headers = {"502 no\r\n"}}});
    EXPECT_EQ(syst(handle_), "");
    EXPECT_EQ(log.lines(),
              (transcript{"4 SYST response code: 21", "4 SYST response text: 502 no\r\n"}));
}

} // namespace
} // namespace tarnix::test

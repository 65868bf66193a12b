#include "session.hpp"

#include <algorithm>
#include <string>

namespace tarnix::test {
namespace {

class folder_options : public scripted_session {
protected:
    static constexpr auto home = "ftp://server/home/u/";

    void refuse(CURLcode code, long reply)
    {
        recorder_.answer({{.code = code, .reply = reply}, {.reply = 250}});
    }
};

// is_folder

TEST_F(folder_options, is_folder_is_true_for_what_the_session_can_change_into)
{
    recorder_.answer({{}, folder_is("/home/u/a b"), {}});
    EXPECT_TRUE(is_folder(handle_, "a b"));
    EXPECT_EQ(recorder_.take(),
              steps({moving_to("ftp://server/home/u/a%20b/"), asking_pwd(), moving_to(home)}));
}

TEST_F(folder_options, is_folder_asks_for_the_urls_without_traffic_before_it_moves)
{
    recorder_.answer({{}, folder_is("/"), {}});
    is_folder(handle_, "a");
    const auto calls = recorder_.take_all();
    EXPECT_EQ(transcript(calls.begin(), calls.begin() + 4),
              (transcript{"ask EFFECTIVE_URL", "ask EFFECTIVE_URL", "ask EFFECTIVE_URL",
                          "URL=ftp://server/home/u/a/"}));
}

TEST_F(folder_options, is_folder_is_false_for_a_missing_path_and_goes_back)
{
    recorder_.answer({{.code = CURLE_REMOTE_ACCESS_DENIED, .reply = 550}, {.reply = 250}});
    EXPECT_FALSE(is_folder(handle_, "/missing"));
    EXPECT_EQ(recorder_.take(), steps({moving_to("ftp://server//missing/"), moving_to(home)}));
}

TEST_F(folder_options, is_folder_is_true_even_if_the_trip_back_fails)
{
    recorder_.answer({{}, folder_is("/home/u/a"), {.code = CURLE_COULDNT_CONNECT}});
    EXPECT_TRUE(is_folder(handle_, "a"));
}

TEST_F(folder_options, is_folder_is_false_when_the_pwd_fails_and_then_stays_there)
{
    recorder_.answer({{}, {.code = CURLE_RECV_ERROR}});
    EXPECT_FALSE(is_folder(handle_, "a"));
    EXPECT_EQ(recorder_.value_of(CURLOPT_URL), "ftp://server/home/u/a/");
}

TEST_F(folder_options, is_folder_is_false_for_an_exception_of_any_kind)
{
    recorder_.answer({{.during = [] { throw 1; }}});
    EXPECT_FALSE(is_folder(handle_, "a"));
}

TEST_F(folder_options, is_folder_raises_when_the_url_cannot_be_composed)
{
    recorder_.start_at("server");
    EXPECT_ERROR_ID(is_folder(handle_, "/a"),
                    id_of<ids::InternalError>("URL Generation", "Couldn't find URL scheme"));
}

TEST_F(folder_options, is_folder_raises_for_an_empty_handle)
{
    const curl_ptr holder(std::move(handle_));
    EXPECT_ERROR_ID(is_folder(handle_, "a"), id_of<ids::InvalidCurlHandle>());
}

// create_folder

TEST_F(folder_options, create_folder_sends_mkd_with_the_path_as_given_at_the_url_of_the_folder)
{
    refuse(CURLE_OK, 257);
    create_folder(handle_, "new data");
    EXPECT_EQ(recorder_.take(),
              commanding_at("ftp://server/home/u/new%20data/", "[MKD new data]", home));
}

TEST_F(folder_options, create_folder_of_an_absolute_path)
{
    create_folder(handle_, "/srv/a%b/");
    EXPECT_EQ(recorder_.take(), commanding_at("ftp://server//srv/a%25b/", "[MKD /srv/a%b/]", home));
}

TEST_F(folder_options, create_folder_succeeds_on_code_0_whatever_the_reply)
{
    refuse(CURLE_OK, 550);
    EXPECT_NO_THROW(create_folder(handle_, "a"));
}

TEST_F(folder_options, create_folder_refused_with_550_could_not_create_it)
{
    refuse(CURLE_QUOTE_ERROR, 550);
    EXPECT_ERROR_ID(create_folder(handle_, "new data"),
                    id_of<ids::CouldNotCreateFolder>("new data"));
    EXPECT_EQ(recorder_.take(),
              commanding_at("ftp://server/home/u/new%20data/", "[MKD new data]", home));
}

TEST_F(folder_options, create_folder_refused_otherwise_is_an_internal_error_of_mkdir)
{
    for (const auto reply : {553L, 450L, 0L, 257L}) {
        refuse(CURLE_QUOTE_ERROR, reply);
        EXPECT_ERROR_ID(create_folder(handle_, "a"), id_of<ids::InternalError>("mkdir", "a"))
            << reply;
    }
}

TEST_F(folder_options, create_folder_raises_for_an_empty_handle)
{
    const curl_ptr holder(std::move(handle_));
    EXPECT_ERROR_ID(create_folder(handle_, "a"), id_of<ids::InvalidCurlHandle>());
}

// delete_folder

TEST_F(folder_options, delete_folder_sends_rmd_with_the_path_as_given_at_the_url_of_the_folder)
{
    refuse(CURLE_OK, 250);
    delete_folder(handle_, "old data");
    EXPECT_EQ(recorder_.take(),
              commanding_at("ftp://server/home/u/old%20data/", "[RMD old data]", home));
}

TEST_F(folder_options, delete_folder_reads_every_550_as_not_empty)
{
    refuse(CURLE_QUOTE_ERROR, 550);
    EXPECT_ERROR_ID(delete_folder(handle_, "missing"), id_of<ids::FolderNotEmpty>("missing"));
}

TEST_F(folder_options, delete_folder_raises_ftp_error_with_any_other_reply)
{
    for (const auto reply : {450LL, 553LL, 0LL}) {
        refuse(CURLE_QUOTE_ERROR, static_cast<long>(reply));
        EXPECT_ERROR_ID(delete_folder(handle_, "a"), id_of<ids::FTPError>(reply));
    }
}

TEST_F(folder_options, delete_folder_raises_for_an_empty_handle)
{
    const curl_ptr holder(std::move(handle_));
    EXPECT_ERROR_ID(delete_folder(handle_, "a"), id_of<ids::InvalidCurlHandle>());
}

// SFTP

class sftp_folder_options : public scripted_session {
protected:
    static constexpr auto home = "sftp://server/home/u/";

    sftp_folder_options() { start_at(home); }

    static transcript checking(const std::string& url)
    {
        return steps({{"URL=" + url, "DIRLISTONLY=0"},
                      collecting_body(),
                      {"DIRLISTONLY=1"},
                      moving_to(home)});
    }
};

TEST_F(sftp_folder_options, sftp_is_folder_lists_the_folder_in_full_and_moves_back)
{
    recorder_.answer({{.body = {"drwxr-xr-x .\n"}}, {}});
    EXPECT_EQ(sftp_is_folder(handle_, "a b", false),
              (std::pair<CURLcode, std::string>(CURLE_OK, "drwxr-xr-x .\n")));
    EXPECT_EQ(recorder_.take(), checking("sftp://server/home/u/a%20b"));
}

TEST_F(sftp_folder_options, sftp_is_folder_takes_an_encoded_path_as_it_is)
{
    sftp_is_folder(handle_, "/srv/a%20b/", true);
    EXPECT_EQ(recorder_.take(), checking("sftp://server/srv/a%20b/"));
}

TEST_F(sftp_folder_options, sftp_is_folder_returns_a_failure_with_what_arrived_and_never_raises)
{
    recorder_.answer({{.code = CURLE_REMOTE_FILE_NOT_FOUND, .body = {"part"}}, {}});
    EXPECT_EQ(sftp_is_folder(handle_, "missing", false),
              (std::pair<CURLcode, std::string>(CURLE_REMOTE_FILE_NOT_FOUND, "part")));
}

TEST_F(sftp_folder_options, sftp_is_folder_leaves_names_only_listings_on)
{
    sftp_is_folder(handle_, "a", false);
    EXPECT_EQ(recorder_.value_of(CURLOPT_DIRLISTONLY), "1");
}

TEST_F(sftp_folder_options, sftp_create_folder_sends_the_path_unencoded_where_the_session_stands)
{
    recorder_.answer({folder_is("/home/u"), folder_is("/home/u"), {}});
    sftp_create_folder(handle_, "new data");
    EXPECT_EQ(recorder_.take(),
              steps({asking_pwd(), asking_pwd(), commanding("[mkdir \"new data\"]")}));
    EXPECT_EQ(recorder_.value_of(CURLOPT_URL), "untouched");
}

TEST_F(sftp_folder_options, sftp_create_folder_does_not_escape_quotes)
{
    recorder_.answer({folder_is("/home/u"), folder_is("/home/u"), {}});
    sftp_create_folder(handle_, "a\"b");
    const auto calls = recorder_.take();
    EXPECT_THAT(calls, testing::Contains("QUOTE=[mkdir \"a\"b\"]"));
}

TEST_F(sftp_folder_options, sftp_create_folder_refused_could_not_create_it_whatever_the_reply)
{
    for (const auto reply : {0L, 550L, 226L}) {
        recorder_.answer(
            {folder_is("/"), folder_is("/"), {.code = CURLE_QUOTE_ERROR, .reply = reply}});
        EXPECT_ERROR_ID(sftp_create_folder(handle_, "a b"), id_of<ids::CouldNotCreateFolder>("a b"))
            << reply;
    }
}

TEST_F(sftp_folder_options, sftp_create_folder_raises_when_its_first_pwd_fails)
{
    recorder_.answer({{.code = CURLE_RECV_ERROR}});
    EXPECT_ERROR_ID(sftp_create_folder(handle_, "a"),
                    id_of<ids::InternalError>("PWD", "Could not get PWD response"));
    EXPECT_EQ(recorder_.take(), asking_pwd());
}

TEST_F(sftp_folder_options, sftp_create_folder_composes_a_url_only_for_its_failures)
{
    recorder_.start_at("server");
    recorder_.answer({folder_is("/home/u"), folder_is("/home/u")});
    EXPECT_ERROR_ID(sftp_create_folder(handle_, "a"),
                    id_of<ids::InternalError>("URL Generation", "Couldn't find URL scheme"));
    EXPECT_EQ(recorder_.take(), steps({asking_pwd(), asking_pwd()}));
}

TEST_F(sftp_folder_options, sftp_create_folder_raises_for_an_empty_handle)
{
    const curl_ptr holder(std::move(handle_));
    EXPECT_ERROR_ID(sftp_create_folder(handle_, "a"), id_of<ids::InvalidCurlHandle>());
}

class sftp_delete_options : public sftp_folder_options {
protected:
    /// Runs the deletion of "old data", whose request writes `text` into libcurl's error buffer.
    void delete_with(CURLcode code, long reply, const std::string& text)
    {
        recorder_.answer({folder_is("/home/u"),
                          {.code = code,
                           .reply = reply,
                           .during =
                               [this, text] {
                                   const auto buffer = static_cast<char*>(const_cast<void*>(
                                       recorder_.pointer_of(CURLOPT_ERRORBUFFER)));
                                   std::copy_n(text.c_str(), text.size() + 1, buffer);
                               }},
                          {}});
        sftp_delete_folder(handle_, "old data");
    }

    /// What a failed deletion prints.
    std::string printed(CURLcode code, const std::string& text)
    {
        testing::internal::CaptureStderr();
        EXPECT_ANY_THROW(delete_with(code, 0, text));
        return testing::internal::GetCapturedStderr();
    }
};

TEST_F(sftp_delete_options, sends_rmdir_with_the_path_as_given)
{
    testing::internal::CaptureStderr();
    delete_with(CURLE_OK, 0, "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(recorder_.take(), steps({asking_pwd(),
                                       {"ERRORBUFFER=set"},
                                       commanding_at("sftp://server/home/u/old%2520data/",
                                                     "[rmdir \"old data\"]", home),
                                       {"ERRORBUFFER=null"}}))
        << "the encoded name is encoded again in the URL";
}

TEST_F(sftp_delete_options, prints_libcurls_text_and_adds_a_line_feed)
{
    EXPECT_EQ(printed(CURLE_QUOTE_ERROR, "rmdir command failed"),
              "\nlibcurl: (21) rmdir command failed\n");
}

TEST_F(sftp_delete_options, prints_no_second_line_feed)
{
    EXPECT_EQ(printed(CURLE_QUOTE_ERROR, "rmdir command failed\n"),
              "\nlibcurl: (21) rmdir command failed\n");
}

TEST_F(sftp_delete_options, prints_percent_signs_as_they_are)
{
    EXPECT_EQ(printed(CURLE_QUOTE_ERROR, "100%s %d"), "\nlibcurl: (21) 100%s %d\n");
}

TEST_F(sftp_delete_options, prints_the_name_of_the_code_when_there_is_no_text)
{
    EXPECT_EQ(printed(CURLE_COULDNT_CONNECT, ""),
              "\nlibcurl: (7) " + std::string(curl_easy_strerror(CURLE_COULDNT_CONNECT)) + "\n");
}

TEST_F(sftp_delete_options, prints_a_text_that_fills_the_buffer)
{
    const std::string longest(CURL_ERROR_SIZE - 1, 'x');
    EXPECT_EQ(printed(CURLE_QUOTE_ERROR, longest), "\nlibcurl: (21) " + longest + "\n");
}

TEST_F(sftp_delete_options, the_buffer_reads_as_empty_when_libcurl_wrote_nothing)
{
    recorder_.answer({folder_is("/home/u"), {.code = CURLE_QUOTE_ERROR}, {}});
    testing::internal::CaptureStderr();
    EXPECT_ANY_THROW(sftp_delete_folder(handle_, "a"));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "\nlibcurl: (21) " + std::string(curl_easy_strerror(CURLE_QUOTE_ERROR)) + "\n");
}

TEST_F(sftp_delete_options, refused_with_550_failed_to_remove_it)
{
    testing::internal::CaptureStderr();
    EXPECT_ERROR_ID(delete_with(CURLE_QUOTE_ERROR, 550, "no"),
                    id_of<ids::RemoveFolderFailed>("old data"));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "\nlibcurl: (21) no\n");
}

TEST_F(sftp_delete_options, refused_otherwise_is_an_ftp_error_with_the_reply)
{
    testing::internal::CaptureStderr();
    EXPECT_ERROR_ID(delete_with(CURLE_QUOTE_ERROR, 0, "no"), id_of<ids::FTPError>(0LL));
    EXPECT_ERROR_ID(delete_with(CURLE_QUOTE_ERROR, 450, "no"), id_of<ids::FTPError>(450LL));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "\nlibcurl: (21) no\n\nlibcurl: (21) no\n");
}

TEST_F(sftp_delete_options, raises_when_its_pwd_fails)
{
    recorder_.answer({{.code = CURLE_RECV_ERROR}});
    EXPECT_ERROR_ID(sftp_delete_folder(handle_, "a"),
                    id_of<ids::InternalError>("PWD", "Could not get PWD response"));
}

TEST_F(sftp_delete_options, raises_for_an_empty_handle)
{
    const curl_ptr holder(std::move(handle_));
    EXPECT_ERROR_ID(sftp_delete_folder(handle_, "a"), id_of<ids::InvalidCurlHandle>());
}

} // namespace
} // namespace tarnix::test

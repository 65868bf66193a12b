#include "session.hpp"

namespace tarnix::test {
namespace {

class listing_options : public scripted_session {
protected:
    static transcript listing(const std::string& command)
    {
        return steps({{"CUSTOMREQUEST=" + command}, collecting_body(), {"CUSTOMREQUEST=null"}});
    }

    std::vector<std::string> dir_of(const std::string& body)
    {
        recorder_.answer({{.reply = 226, .body = {body}}});
        return dir(handle_, "");
    }
};

TEST_F(listing_options, list_sends_its_command_where_the_session_stands)
{
    recorder_.answer({{.reply = 226, .body = {"-rw a\n", "drw b\n"}}});
    EXPECT_EQ(list(handle_, "-a my data"), "-rw a\ndrw b\n");
    EXPECT_EQ(recorder_.take(), listing("LIST -a my data"));
}

TEST_F(listing_options, nlst_sends_its_command_where_the_session_stands)
{
    recorder_.answer({{.reply = 226, .body = {"a\nb\n"}}});
    EXPECT_EQ(nlst(handle_, "my data"), "a\nb\n");
    EXPECT_EQ(recorder_.take(), listing("NLST my data"));
}

TEST_F(listing_options, an_empty_path_leaves_the_command_with_its_trailing_blank)
{
    list(handle_, "");
    nlst(handle_, "");
    EXPECT_EQ(recorder_.take(), steps({listing("LIST "), listing("NLST ")}));
}

TEST_F(listing_options, the_url_is_never_touched)
{
    list(handle_, "/pub");
    dir(handle_, "/pub");
    EXPECT_EQ(recorder_.value_of(CURLOPT_URL), "untouched");
}

TEST_F(listing_options, a_failed_listing_gives_what_arrived_and_raises_nothing)
{
    recorder_.answer({{.code = CURLE_PARTIAL_FILE, .reply = 426, .body = {"a\nb"}},
                      {.code = CURLE_FTP_COULDNT_RETR_FILE, .reply = 550},
                      {.code = CURLE_COULDNT_CONNECT}});
    EXPECT_EQ(list(handle_, ""), "a\nb");
    EXPECT_EQ(nlst(handle_, ""), "");
    EXPECT_EQ(dir(handle_, ""), std::vector<std::string>{});
}

TEST_F(listing_options, the_code_and_the_contents_are_logged_at_level_4)
{
    const log_recorder log(getLogger(), 1 | 4 | 8 | 256);
    recorder_.answer({{.code = CURLE_PARTIAL_FILE, .body = {"a\nb"}}, {.body = {"c\n"}}});
    list(handle_, "/pub");
    nlst(handle_, "");
    EXPECT_EQ(
        log.lines(),
        (transcript{"4 Received code: 18 for list command: LIST /pub", "4 Listing contents: a\nb",
                    "4 Received code: 0 for list command: NLST ", "4 Listing contents: c\n"}));
}

TEST_F(listing_options, dir_gives_one_name_for_each_line)
{
    recorder_.answer({{.body = {"a\nb\n"}}});
    EXPECT_EQ(dir(handle_, "pub"), (transcript{"a", "b"}));
    EXPECT_EQ(recorder_.take(), listing("NLST pub"));
}

TEST_F(listing_options, dir_keeps_carriage_returns)
{
    EXPECT_EQ(dir_of("a\r\nb\r\n"), (transcript{"a\r", "b\r"}));
}

TEST_F(listing_options, dir_of_an_empty_listing_is_empty)
{
    EXPECT_EQ(dir_of(""), transcript{});
    EXPECT_EQ(dir_of("\n"), transcript{});
    EXPECT_EQ(dir_of("\n\n"), transcript{});
}

TEST_F(listing_options, dir_filters_and_sorts_nothing)
{
    EXPECT_EQ(dir_of("b\n..\n.\n\n a \nb\n\r\nlast"),
              (transcript{"b", "..", ".", " a ", "b", "\r", "last"}));
}

TEST_F(listing_options, listings_of_an_empty_handle_raise)
{
    const curl_ptr holder(std::move(handle_));
    EXPECT_ERROR_ID(list(handle_, ""), id_of<ids::InvalidCurlHandle>());
    EXPECT_ERROR_ID(nlst(handle_, ""), id_of<ids::InvalidCurlHandle>());
    EXPECT_ERROR_ID(dir(handle_, ""), id_of<ids::InvalidCurlHandle>());
}

} // namespace
} // namespace tarnix::test

#include "wire_test.hpp"

namespace tarnix::test {

namespace {

using io::ftp::core::scoped_request;
using io::ftp::core::slist;

class ScopedRequestTest : public WireTest {
protected:
    void SetUp() override
    {
        server().tree().add_file("/home/u/sub/inside", "x");
        start_session();
    }

    std::string sub_url() const { return std::string(home_url) + "sub/"; }
};

TEST_F(ScopedRequestTest, request_header_collects_the_replies)
{
    const slist commands{"SYST", "NOOP"};
    const auto [code, text] = scoped_request(session())
                                  .setopt(CURLOPT_NOBODY, 1L, 0)
                                  .setopt(CURLOPT_QUOTE, commands.get(), nullptr)
                                  .request_header();
    EXPECT_EQ(code, CURLE_OK);
    EXPECT_EQ(text, "215 UNIX Type: L8\r\n200 Done nothing.\r\n");
    EXPECT_THAT(server().received(), ElementsAre("SYST", "NOOP"));
    expect_usable_session();
}

TEST_F(ScopedRequestTest, request_body_collects_the_body)
{
    const auto [code, text] =
        scoped_request(session()).setopt(CURLOPT_DIRLISTONLY, 1L, 0).request_body();
    EXPECT_EQ(code, CURLE_OK);
    EXPECT_EQ(text, "sub\n");
    EXPECT_THAT(server().received(), ElementsAre("EPSV", "TYPE A", "NLST"));
    // The option is back at 0.
    server().take_received();
    EXPECT_THAT(scoped_request(session()).request_body().second, testing::HasSubstr("drwx"));
    EXPECT_THAT(server().received(), ElementsAre("EPSV", "LIST"));
}

TEST_F(ScopedRequestTest, failing_transfer_is_a_code_and_no_exception)
{
    server().reply_to("LIST", 550, "No.");
    EXPECT_EQ(scoped_request(session()).request_body().first, CURLE_FTP_COULDNT_RETR_FILE);
    expect_usable_session();
}

TEST_F(ScopedRequestTest, seturl_moves_the_session_back_at_the_end)
{
    {
        scoped_request scope(session());
        scope.seturl(sub_url());
        EXPECT_EQ(scope.request_body().second, "-rw-r--r-- 1 u u 1 Jan 02 2020 inside\n");
        EXPECT_EQ(current_remote_url(session()), sub_url());
        EXPECT_EQ(server().take_received(),
                  home_levels() + sent("CWD sub", "EPSV", "TYPE A", "LIST"));
    }
    EXPECT_EQ(server().received(), home_levels());
    expect_usable_session();
}

TEST_F(ScopedRequestTest, request_quoted_enters_no_folder)
{
    const auto [code, reply] =
        scoped_request(session()).request_quoted(sub_url(), slist{"NOOP", "MKD sub/x"});
    EXPECT_EQ(code, CURLE_OK);
    EXPECT_EQ(reply, 257);
    EXPECT_THAT(server().received(), ElementsAre("NOOP", "MKD sub/x"));
    expect_usable_session();
}

TEST_F(ScopedRequestTest, request_quoted_stops_at_the_first_refusal)
{
    const auto [code, reply] =
        scoped_request(session()).request_quoted(sub_url(), slist{"MKD sub", "NOOP"});
    EXPECT_EQ(code, CURLE_QUOTE_ERROR);
    EXPECT_EQ(reply, 550);
    EXPECT_EQ(server().received(), sent("MKD sub") + login_again());
    expect_usable_session();
}

TEST_F(ScopedRequestTest, request_post_quoted_runs_where_the_session_stands)
{
    const auto [code, reply] = scoped_request(session()).request_post_quoted(slist{"NOOP", "SYST"});
    EXPECT_EQ(code, CURLE_OK);
    EXPECT_EQ(reply, 215);
    EXPECT_THAT(server().received(), ElementsAre("NOOP", "SYST"));
    expect_usable_session();
}

TEST_F(ScopedRequestTest, request_post_quoted_sends_ahead_of_the_folder_change_and_keeps_it)
{
    set_option(session(), CURLOPT_URL, sub_url().c_str());
    EXPECT_EQ(scoped_request(session()).request_post_quoted(slist{"NOOP"}).first, CURLE_OK);
    EXPECT_EQ(server().received(), sent("NOOP") + home_levels() + sent("CWD sub"));
    EXPECT_EQ(current_remote_url(session()), sub_url());
}

TEST_F(ScopedRequestTest, request_post_quoted_reports_the_refusal)
{
    const auto [code, reply] = scoped_request(session()).request_post_quoted(slist{"DELE nothing"});
    EXPECT_EQ(code, CURLE_QUOTE_ERROR);
    EXPECT_EQ(reply, 550);
}

TEST_F(ScopedRequestTest, request_quoted_body_has_no_body)
{
    const auto [code, text] =
        scoped_request(session()).request_quoted_body(sub_url(), slist{"NOOP"});
    EXPECT_EQ(code, CURLE_OK);
    EXPECT_EQ(text, "");
    EXPECT_THAT(server().received(), ElementsAre("NOOP"));
    expect_usable_session();
}

TEST_F(ScopedRequestTest, options_are_back_when_a_request_raises)
{
    const auto raise_in_the_middle = [this] {
        const auto request =
            scoped_request(session()).seturl(sub_url()).setopt(CURLOPT_NOBODY, 1L, 0).perform();
        EXPECT_EQ(request.first, CURLE_OK);
        scoped_request scope(session());
        scope.seturl(sub_url()).setopt(CURLOPT_NOBODY, 1L, 0);
        throw std::runtime_error("in the middle");
    };
    EXPECT_THROW(raise_in_the_middle(), std::runtime_error);
    expect_usable_session();
}

// An empty handle

struct operation_row : test_row {
    std::function<void(curl_ptr&)> run;
};

class EmptyHandleTest : public WireTest, public testing::WithParamInterface<operation_row> {};

TEST_P(EmptyHandleTest, every_operation_raises_invalid_handle)
{
    curl_ptr empty;
    const curl_ptr taken(std::move(empty));
    // NOLINTNEXTLINE(bugprone-use-after-move): the moved-from handle is the subject
    EXPECT_ERROR_ID(GetParam().run(empty), id_of<ids::InvalidCurlHandle>());
}

namespace core = io::ftp::core;

INSTANTIATE_TEST_SUITE_P(
    Operations, EmptyHandleTest,
    testing::Values(
        operation_row{{"current_remote_url"}, [](curl_ptr& h) { core::current_remote_url(h); }},
        operation_row{{"last_response_code"}, [](curl_ptr& h) { core::last_response_code(h); }},
        operation_row{{"perform"}, [](curl_ptr& h) { h.perform(); }},
        operation_row{{"scoped_setopt"},
                      [](curl_ptr& h) { scoped_request(h).setopt(CURLOPT_NOBODY, 1L, 0); }},
        operation_row{{"scoped_seturl"}, [](curl_ptr& h) { scoped_request(h).seturl("ftp://h/"); }},
        operation_row{{"scoped_perform"}, [](curl_ptr& h) { scoped_request(h).perform(); }},
        operation_row{{"request_header"}, [](curl_ptr& h) { scoped_request(h).request_header(); }},
        operation_row{{"request_body"}, [](curl_ptr& h) { scoped_request(h).request_body(); }},
        operation_row{
            {"request_quoted"},
            [](curl_ptr& h) { scoped_request(h).request_quoted("ftp://h/", slist{"NOOP"}); }},
        operation_row{{"unsafe_cd"}, [](curl_ptr& h) { core::unsafe_cd(h, "ftp://h/"); }},
        operation_row{{"cd"}, [](curl_ptr& h) { core::cd(h, "ftp://h/"); }},
        operation_row{{"pwd"}, [](curl_ptr& h) { core::pwd(h); }},
        operation_row{{"fullurl"}, [](curl_ptr& h) { core::fullurl(h, "x", false); }},
        operation_row{{"fullfile"}, [](curl_ptr& h) { core::fullfile(h, "x"); }},
        operation_row{{"connect"},
                      [](curl_ptr& h) {
                          core::connect(h, "ftp://h", "u", "p", 21, "", "none", false, "", false,
                                        false, 0, 0);
                      }},
        operation_row{{"connect_with_unknown_tls_mode"},
                      [](curl_ptr& h) {
                          core::connect(h, "ftp://h", "u", "p", 21, "", "no", false, "", false,
                                        false, 0, 0);
                      }},
        operation_row{{"connect_with_password"},
                      [](curl_ptr& h) {
                          core::connect_with_password(h, "h", "u", 22, "p", false, "", "", false,
                                                      false, 0, 0, false);
                      }},
        operation_row{{"connect_with_keys"},
                      [](curl_ptr& h) {
                          core::connect_with_keys(h, "h", "u", 22, "", "k", "", false, "", "",
                                                  false, false, 0, 0, false);
                      }},
        operation_row{{"transfer_timeout"}, [](curl_ptr& h) { core::transfer_timeout(h, 1); }},
        operation_row{{"connection_timeout"}, [](curl_ptr& h) { core::connection_timeout(h, 1); }},
        operation_row{{"is_folder"}, [](curl_ptr& h) { core::is_folder(h, "x"); }},
        operation_row{{"create_folder"}, [](curl_ptr& h) { core::create_folder(h, "x"); }},
        operation_row{{"delete_folder"}, [](curl_ptr& h) { core::delete_folder(h, "x"); }},
        operation_row{{"list"}, [](curl_ptr& h) { core::list(h, "x"); }},
        operation_row{{"nlst"}, [](curl_ptr& h) { core::nlst(h, "x"); }},
        operation_row{{"dir"}, [](curl_ptr& h) { core::dir(h, "x"); }},
        operation_row{{"send_file"},
                      [](curl_ptr& h) { core::send_file(h, u"missing", u"x", false); }},
        operation_row{{"receive_file"},
                      [](curl_ptr& h) { core::receive_file(h, u"x", u"missing/x", false); }}),
    label_of<operation_row>);

} // namespace

} // namespace tarnix::test

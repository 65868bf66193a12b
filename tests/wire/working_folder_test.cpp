#include "wire_test.hpp"

namespace tarnix::test {

namespace {

class WorkingFolderTest : public WireTest {
protected:
    void SetUp() override
    {
        server().tree().add_folder("/home/u/sub dir");
        start_session();
    }
};

TEST_F(WorkingFolderTest, pwd_is_one_command)
{
    EXPECT_EQ(pwd(session()), "/home/u");
    EXPECT_THAT(server().received(), ElementsAre("PWD"));
    EXPECT_EQ(current_remote_url(session()), home_url);
    expect_usable_session();
}

TEST_F(WorkingFolderTest, pwd_doubled_slashes_become_single_and_quotes_stay)
{
    server().reply_raw("PWD", "257 \"//srv//a\"\"b\" it says \"here\"\r\n");
    EXPECT_EQ(pwd(session()), "/srv/a\"\"b\" it says \"here");
}

TEST_F(WorkingFolderTest, pwd_of_nothing_but_slashes_is_the_root)
{
    server().reply_raw("PWD", "257 \"///\"\r\n", 1);
    EXPECT_EQ(pwd(session()), "/");
    server().reply_raw("PWD", "257 \"\"\r\n", 1);
    EXPECT_EQ(pwd(session()), "/");
}

TEST_F(WorkingFolderTest, pwd_takes_the_first_257_line_of_a_long_reply)
{
    server().reply_raw("PWD", "257-\"/first\"\r\n257 \"/last\"\r\n");
    EXPECT_EQ(pwd(session()), "/first");
}

TEST_F(WorkingFolderTest, pwd_after_a_dropped_connection_names_the_login_folder)
{
    cd(session(), std::string(home_url) + "sub%20dir/");
    EXPECT_EQ(pwd(session()), "/home/u/sub dir");
    server().take_received();
    server().drop_connections();
    // The first 257 of the new connection is the one of the login.
    EXPECT_EQ(pwd(session()), "/home/u");
    EXPECT_EQ(server().received(), login() + sent("PWD") + home_levels() + sent("CWD sub dir"));
}

struct pwd_row : test_row {
    std::string reply;
    std::string message;
};

class PwdReplyTest : public WorkingFolderTest, public testing::WithParamInterface<pwd_row> {};

TEST_P(PwdReplyTest, unusable_reply_raises_internal_error)
{
    server().reply_raw("PWD", GetParam().reply);
    EXPECT_ERROR_ID(pwd(session()), id_of<ids::InternalError>("PWD", GetParam().message));
    EXPECT_EQ(current_remote_url(session()), home_url);
    expect_usable_session();
}

INSTANTIATE_TEST_SUITE_P(
    Replies, PwdReplyTest,
    testing::Values(
        pwd_row{{"refused"}, "550 No.\r\n", "Could not get PWD response"},
        pwd_row{{"refused_for_now"}, "450 No.\r\n", "Could not get PWD response"},
        pwd_row{{"another_success"},
                "250 \"/home/u\"\r\n",
                "Could not match any server responses to the PWD command: 250 \"/home/u\"\r\n"},
        pwd_row{{"without_quotes"},
                "257 /home/u\r\n",
                "Could not find opening quote in PWD response: 257 /home/u"},
        pwd_row{{"with_one_quote"},
                "257 \"/home/u\r\n",
                "Could not find closing quote in PWD response: 257 \"/home/u"}),
    label_of<pwd_row>);

TEST_F(WorkingFolderTest, pwd_on_a_connection_that_dies_raises_internal_error)
{
    server().close_on("PWD");
    EXPECT_ERROR_ID(pwd(session()), id_of<ids::InternalError>("PWD", "Could not get PWD response"));
    expect_usable_session();
}

TEST_F(WorkingFolderTest, pwd_that_is_not_answered_ends_with_the_transfer_time_out)
{
    transfer_timeout(session(), 200);
    server().stay_silent_on("PWD", 1);
    EXPECT_ERROR_ID(pwd(session()), id_of<ids::InternalError>("PWD", "Could not get PWD response"));
    transfer_timeout(session(), 0);
    expect_usable_session();
}

TEST_F(WorkingFolderTest, cd_enters_each_level_and_asks_for_the_name)
{
    EXPECT_EQ(cd(session(), "ftp://127.0.0.1//home/u/sub%20dir"), "/home/u/sub dir");
    EXPECT_EQ(server().received(), home_levels() + sent("CWD sub dir", "PWD"));
    EXPECT_EQ(current_remote_url(session()), "ftp://127.0.0.1//home/u/sub%20dir/");
}

TEST_F(WorkingFolderTest, cd_to_where_the_session_stands_sends_only_pwd)
{
    EXPECT_EQ(cd(session(), home_url), "/home/u");
    EXPECT_THAT(server().received(), ElementsAre("PWD"));
}

TEST_F(WorkingFolderTest, cd_to_a_missing_folder_moves_back_and_carries_the_url_as_given)
{
    const std::string missing = "ftp://127.0.0.1//home/u/missing";
    EXPECT_ERROR_ID(cd(session(), missing), id_of<ids::NoSuchDirectory>(missing));
    EXPECT_EQ(server().received(), home_levels() + sent("CWD missing") + home_levels());
    expect_usable_session();
}

TEST_F(WorkingFolderTest, cd_on_a_connection_that_dies_raises_and_logs_in_again)
{
    server().close_on("CWD", 1);
    const std::string target = std::string(home_url) + "sub%20dir/";
    EXPECT_ERROR_ID(cd(session(), target), id_of<ids::NoSuchDirectory>(target));
    EXPECT_EQ(server().received(), sent("CWD /") + login_again());
    expect_usable_session();
}

TEST_F(WorkingFolderTest, cd_raises_even_when_the_way_back_fails_too)
{
    server().reply_to("CWD", 550, "No.");
    const std::string target = std::string(home_url) + "sub%20dir/";
    EXPECT_ERROR_ID(cd(session(), target), id_of<ids::NoSuchDirectory>(target));
    expect_usable_session();
}

TEST_F(WorkingFolderTest, cd_whose_pwd_fails_stays_in_the_new_folder)
{
    server().reply_to("PWD", 550, "No.", 1);
    EXPECT_ERROR_ID(cd(session(), std::string(home_url) + "sub%20dir"),
                    id_of<ids::InternalError>("PWD", "Could not get PWD response"));
    EXPECT_EQ(current_remote_url(session()), std::string(home_url) + "sub%20dir/");
}

TEST_F(WorkingFolderTest, cd_back_to_a_url_without_slash_leaves_it_with_one)
{
    // Without a slash at its end the URL names a file, which there is none.
    set_option(session(), CURLOPT_URL, "ftp://127.0.0.1//home/u");
    const auto probe =
        io::ftp::core::scoped_request(session()).setopt(CURLOPT_NOBODY, 1L, 0).perform();
    ASSERT_EQ(probe.first, CURLE_REMOTE_FILE_NOT_FOUND);
    ASSERT_EQ(current_remote_url(session()), "ftp://127.0.0.1//home/u");
    EXPECT_ANY_THROW(cd(session(), "ftp://127.0.0.1//missing"));
    EXPECT_EQ(current_remote_url(session()), home_url);
}

TEST_F(WorkingFolderTest, unsafe_cd_adds_the_slash_and_stays)
{
    EXPECT_EQ(unsafe_cd(session(), "ftp://127.0.0.1//home/u/sub%20dir"), CURLE_OK);
    EXPECT_EQ(server().received(), home_levels() + sent("CWD sub dir"));
    EXPECT_EQ(current_remote_url(session()), "ftp://127.0.0.1//home/u/sub%20dir/");
}

TEST_F(WorkingFolderTest, unsafe_cd_that_is_refused_keeps_the_new_url)
{
    EXPECT_EQ(unsafe_cd(session(), "ftp://127.0.0.1//missing/"), CURLE_REMOTE_ACCESS_DENIED);
    EXPECT_EQ(server().received(), sent("CWD /", "CWD missing"));
    EXPECT_EQ(current_remote_url(session()), "ftp://127.0.0.1//missing/");
}

TEST_F(WorkingFolderTest, fullfile_asks_for_the_folder_and_appends_the_name_as_it_is)
{
    EXPECT_EQ(fullfile(session(), "a b"), "/home/u/a b");
    EXPECT_EQ(fullfile(session(), "/abs"), "/home/u//abs");
    EXPECT_THAT(server().received(), ElementsAre("PWD", "PWD"));
}

TEST_F(WorkingFolderTest, fullfile_at_the_root_has_one_slash)
{
    cd(session(), "ftp://127.0.0.1//");
    EXPECT_EQ(fullfile(session(), "x"), "/x");
}

TEST_F(WorkingFolderTest, fullurl_costs_nothing)
{
    EXPECT_EQ(fullurl(session(), "", false), home_url);
    EXPECT_EQ(fullurl(session(), "a/b c", false), std::string(home_url) + "a/b%20c");
    EXPECT_EQ(fullurl(session(), "a%20b", true), std::string(home_url) + "a%20b");
    EXPECT_EQ(fullurl(session(), "/pub/a b", false), "ftp://127.0.0.1//pub/a%20b");
    EXPECT_THAT(server().received(), IsEmpty());
}

TEST_F(WorkingFolderTest, last_response_code_is_that_of_the_last_command)
{
    pwd(session());
    EXPECT_EQ(last_response_code(session()), 257);
    EXPECT_ANY_THROW(cd(session(), "ftp://127.0.0.1//missing"));
    EXPECT_EQ(last_response_code(session()), 250);
}

} // namespace

} // namespace tarnix::test

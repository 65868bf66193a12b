#include "wire_test.hpp"

namespace tarnix::test {

namespace {

class FolderTest : public WireTest {
protected:
    void SetUp() override
    {
        server().tree().add_folder("/home/u/old data");
        server().tree().add_file("/home/u/plain", "x");
        start_session();
    }
};

// Is it a folder?

TEST_F(FolderTest, is_folder_goes_there_and_back)
{
    EXPECT_TRUE(is_folder(session(), "old data"));
    EXPECT_EQ(server().received(), home_levels() + sent("CWD old data", "PWD") + home_levels());
    expect_usable_session();
}

TEST_F(FolderTest, is_folder_of_an_absolute_path)
{
    server().tree().add_folder("/srv/x#y");
    EXPECT_TRUE(is_folder(session(), "/srv/x#y"));
    EXPECT_EQ(server().received(), sent("CWD /", "CWD srv", "CWD x#y", "PWD") + home_levels());
    expect_usable_session();
}

TEST_F(FolderTest, is_folder_of_nothing_asks_about_the_working_folder)
{
    EXPECT_TRUE(is_folder(session(), ""));
    EXPECT_THAT(server().received(), ElementsAre("PWD"));
}

TEST_F(FolderTest, is_folder_of_a_file_or_a_missing_name_is_false)
{
    EXPECT_FALSE(is_folder(session(), "plain"));
    EXPECT_EQ(server().received(), home_levels() + sent("CWD plain") + home_levels());
    EXPECT_FALSE(is_folder(session(), "missing"));
    expect_usable_session();
}

TEST_F(FolderTest, is_folder_is_false_when_the_folder_has_no_name)
{
    server().reply_to("PWD", 550, "No.", 1);
    EXPECT_FALSE(is_folder(session(), "old data"));
    // The failed PWD left the session in the folder that was asked about.
    EXPECT_EQ(current_remote_url(session()), std::string(home_url) + "old%20data/");
}

TEST_F(FolderTest, is_folder_is_true_even_when_the_way_back_fails)
{
    server().reply_to("CWD", 550, "No.", 5);
    EXPECT_TRUE(is_folder(session(), "old data"));
    EXPECT_EQ(server().received(), home_levels() + sent("CWD old data", "PWD", "CWD /"));
    expect_usable_session();
}

TEST_F(FolderTest, is_folder_is_false_on_a_connection_that_dies)
{
    server().close_on("CWD", 1);
    EXPECT_FALSE(is_folder(session(), "old data"));
    expect_usable_session();
}

TEST_F(FolderTest, is_folder_lets_an_impossible_url_through)
{
    set_option(session(), CURLOPT_URL, "");
    curl_ptr fresh;
    EXPECT_ERROR_ID(is_folder(fresh, "/x"),
                    id_of<ids::InternalError>("URL Generation", "Couldn't find URL scheme"));
}

// Creating

TEST_F(FolderTest, create_folder_is_one_command)
{
    create_folder(session(), "new");
    EXPECT_THAT(server().received(), ElementsAre("MKD new"));
    EXPECT_TRUE(server().tree().is_folder("/home/u/new"));
    expect_usable_session();
}

TEST_F(FolderTest, create_folder_sends_the_path_as_given)
{
    create_folder(session(), "a b#%20");
    create_folder(session(), "/top level");
    EXPECT_THAT(server().received(), ElementsAre("MKD a b#%20", "MKD /top level"));
    EXPECT_TRUE(server().tree().is_folder("/home/u/a b#%20"));
    EXPECT_TRUE(server().tree().is_folder("/top level"));
    expect_usable_session();
}

struct refusal_row : test_row {
    int reply;
    resource_core::BaseMsgID id;
};

class CreateFolderReplyTest : public FolderTest, public testing::WithParamInterface<refusal_row> {};

TEST_P(CreateFolderReplyTest, refusal_raises_the_mapped_identifier)
{
    server().reply_to("MKD", GetParam().reply, "refused");
    EXPECT_ERROR_ID(create_folder(session(), "new one"), GetParam().id);
    // A refused command costs the connection; the way back is a whole new login.
    EXPECT_EQ(server().received(), sent("MKD new one") + login_again());
    EXPECT_THAT(server().received_on(2), testing::SizeIs(login_again().size()));
    expect_usable_session();
}

INSTANTIATE_TEST_SUITE_P(
    Replies, CreateFolderReplyTest,
    testing::Values(
        refusal_row{{"not_available"}, 550, id_of<ids::CouldNotCreateFolder>("new one")},
        refusal_row{{"bad_name"}, 553, id_of<ids::InternalError>("mkdir", "new one")},
        refusal_row{{"busy"}, 450, id_of<ids::InternalError>("mkdir", "new one")},
        refusal_row{{"not_logged_in"}, 530, id_of<ids::InternalError>("mkdir", "new one")},
        refusal_row{{"unknown_command"}, 500, id_of<ids::InternalError>("mkdir", "new one")}),
    label_of<refusal_row>);

TEST_F(FolderTest, create_folder_on_a_connection_that_dies_is_an_internal_error)
{
    server().close_on("MKD");
    EXPECT_ERROR_ID(create_folder(session(), "new"), id_of<ids::InternalError>("mkdir", "new"));
    EXPECT_EQ(server().received(), sent("MKD new") + login_again());
    expect_usable_session();
}

TEST_F(FolderTest, relative_create_after_a_dropped_connection_lands_in_the_login_folder)
{
    cd(session(), std::string(home_url) + "old%20data");
    server().take_received();
    server().drop_connections();
    create_folder(session(), "new");
    EXPECT_EQ(server().received(),
              login() + sent("MKD new") + home_levels() + sent("CWD old data"));
    EXPECT_TRUE(server().tree().is_folder("/home/u/new"));
}

TEST_F(FolderTest, line_end_in_a_path_is_refused_with_its_url_and_begins_no_command)
{
    const std::string path = "new\r\nDELE plain";
    EXPECT_ERROR_ID(create_folder(session(), path), id_of<ids::InternalError>("mkdir", path));
    EXPECT_EQ(server().received(), login_again());
    expect_usable_session();
}

// Deleting

TEST_F(FolderTest, delete_folder_is_one_command)
{
    delete_folder(session(), "old data");
    EXPECT_THAT(server().received(), ElementsAre("RMD old data"));
    EXPECT_FALSE(server().tree().is_folder("/home/u/old data"));
    expect_usable_session();
}

TEST_F(FolderTest, delete_folder_of_an_absolute_path)
{
    server().tree().add_folder("/srv/gone");
    delete_folder(session(), "/srv/gone");
    EXPECT_THAT(server().received(), ElementsAre("RMD /srv/gone"));
    EXPECT_FALSE(server().tree().is_folder("/srv/gone"));
    expect_usable_session();
}

TEST_F(FolderTest, delete_folder_reads_every_550_as_not_empty)
{
    server().tree().add_file("/home/u/old data/x", "");
    EXPECT_ERROR_ID(delete_folder(session(), "old data"), id_of<ids::FolderNotEmpty>("old data"));
    EXPECT_ERROR_ID(delete_folder(session(), "missing"), id_of<ids::FolderNotEmpty>("missing"));
    expect_usable_session();
}

class DeleteFolderReplyTest : public FolderTest, public testing::WithParamInterface<refusal_row> {};

TEST_P(DeleteFolderReplyTest, refusal_raises_the_mapped_identifier)
{
    server().reply_to("RMD", GetParam().reply, "refused");
    EXPECT_ERROR_ID(delete_folder(session(), "old data"), GetParam().id);
    EXPECT_EQ(server().received(), sent("RMD old data") + login_again());
    EXPECT_TRUE(server().tree().is_folder("/home/u/old data"));
    expect_usable_session();
}

INSTANTIATE_TEST_SUITE_P(
    Replies, DeleteFolderReplyTest,
    testing::Values(refusal_row{{"not_available"}, 550, id_of<ids::FolderNotEmpty>("old data")},
                    refusal_row{{"busy"}, 450, id_of<ids::FTPError>(450)},
                    refusal_row{{"local_error"}, 451, id_of<ids::FTPError>(451)},
                    refusal_row{{"not_logged_in"}, 530, id_of<ids::FTPError>(530)},
                    refusal_row{{"bad_name"}, 553, id_of<ids::FTPError>(553)}),
    label_of<refusal_row>);

TEST_F(FolderTest, relative_delete_after_a_dropped_connection_happens_in_the_login_folder)
{
    server().tree().add_folder("/home/u/same");
    server().tree().add_folder("/srv/same");
    cd(session(), "ftp://127.0.0.1//srv");
    server().drop_connections();
    delete_folder(session(), "same");
    EXPECT_FALSE(server().tree().is_folder("/home/u/same"));
    EXPECT_TRUE(server().tree().is_folder("/srv/same"));
    EXPECT_EQ(current_remote_url(session()), "ftp://127.0.0.1//srv/");
}

TEST_F(FolderTest, absolute_delete_after_a_dropped_connection_is_safe)
{
    server().tree().add_folder("/home/u/same");
    server().tree().add_folder("/srv/same");
    cd(session(), "ftp://127.0.0.1//srv");
    server().drop_connections();
    delete_folder(session(), "/srv/same");
    EXPECT_TRUE(server().tree().is_folder("/home/u/same"));
    EXPECT_FALSE(server().tree().is_folder("/srv/same"));
}

TEST_F(FolderTest, refusal_is_reported_even_when_the_way_back_cannot_log_in)
{
    server().reply_to("RMD", 550, "No.");
    server().reply_to("PASS", 530, "Not twice.");
    EXPECT_ERROR_ID(delete_folder(session(), "old data"), id_of<ids::FolderNotEmpty>("old data"));
    EXPECT_EQ(server().received(), sent("RMD old data", "USER u", "PASS secret"));
    expect_usable_session();
}

TEST_F(FolderTest, delete_folder_on_a_connection_that_dies_is_an_ftp_error)
{
    server().close_on("RMD");
    EXPECT_ERROR_ID(delete_folder(session(), "old data"), id_of<ids::FTPError>(0));
    expect_usable_session();
}

} // namespace

} // namespace tarnix::test

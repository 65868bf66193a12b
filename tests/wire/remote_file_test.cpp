#include "wire_test.hpp"

#include <chrono>
#include <optional>

namespace tarnix::test {

namespace {

class RemoteFileTest : public WireTest {
protected:
    void SetUp() override
    {
        server().tree().add_file("/home/u/old name", "content");
        server().tree().add_folder("/home/u/sub");
        start_session();
    }

    /// Stands in "sub" from here on, without a connection.
    void lose_connection_in_sub()
    {
        cd(session(), std::string(home_url) + "sub");
        server().take_received();
        server().drop_connections();
    }
};

// Deleting

TEST_F(RemoteFileTest, delete_is_one_command)
{
    delete_remote_file(session(), u"old name");
    EXPECT_THAT(server().received(), ElementsAre("DELE old name"));
    EXPECT_FALSE(server().tree().is_file("/home/u/old name"));
    expect_usable_session();
}

TEST_F(RemoteFileTest, delete_sends_the_path_as_given)
{
    server().tree().add_file("/srv/größer", "");
    server().tree().add_file("/home/u/a\"b%20#c", "");
    delete_remote_file(session(), u"/srv/größer");
    delete_remote_file(session(), u"a\"b%20#c");
    EXPECT_THAT(server().received(), ElementsAre("DELE /srv/größer", "DELE a\"b%20#c"));
    EXPECT_THAT(server().tree().names("/srv"), IsEmpty());
    EXPECT_FALSE(server().tree().is_file("/home/u/a\"b%20#c"));
    expect_usable_session();
}

TEST_F(RemoteFileTest, delete_of_a_folder_or_a_missing_file_failed)
{
    EXPECT_ERROR_ID(delete_remote_file(session(), u"sub"), id_of<ids::DeleteFailed>("sub"));
    EXPECT_ERROR_ID(delete_remote_file(session(), u"missing"), id_of<ids::DeleteFailed>("missing"));
    EXPECT_EQ(server().received(),
              sent("DELE sub") + login_again() + sent("DELE missing") + login_again());
    expect_usable_session();
}

class DeleteReplyTest : public RemoteFileTest, public testing::WithParamInterface<int> {};

TEST_P(DeleteReplyTest, refusal_failed_whatever_the_reply)
{
    server().reply_to("DELE", GetParam(), "refused");
    EXPECT_ERROR_ID(delete_remote_file(session(), u"old name"),
                    id_of<ids::DeleteFailed>("old name"));
    EXPECT_EQ(server().received(), sent("DELE old name") + login_again());
    EXPECT_TRUE(server().tree().is_file("/home/u/old name"));
    expect_usable_session();
}

INSTANTIATE_TEST_SUITE_P(Replies, DeleteReplyTest,
                         testing::Values(400, 421, 450, 500, 502, 530, 550, 553, 554));

TEST_F(RemoteFileTest, delete_believes_any_reply_below_400)
{
    for (const int reply : {200, 226, 350}) {
        server().reply_to("DELE", reply, "Whatever.");
        EXPECT_NO_THROW(delete_remote_file(session(), u"old name")) << reply;
    }
    EXPECT_TRUE(server().tree().is_file("/home/u/old name"));
    expect_usable_session();
}

TEST_F(RemoteFileTest, delete_on_a_connection_that_dies_failed)
{
    server().close_on("DELE");
    EXPECT_ERROR_ID(delete_remote_file(session(), u"old name"),
                    id_of<ids::DeleteFailed>("old name"));
    EXPECT_EQ(server().received(), sent("DELE old name") + login_again());
    expect_usable_session();
}

TEST_F(RemoteFileTest, delete_that_is_not_answered_failed_once_the_time_out_is_over)
{
    transfer_timeout(session(), 200);
    server().stay_silent_on("DELE");
    EXPECT_ERROR_ID(delete_remote_file(session(), u"old name"),
                    id_of<ids::DeleteFailed>("old name"));
    transfer_timeout(session(), 0);
    expect_usable_session();
}

TEST_F(RemoteFileTest, delete_after_an_idle_time_out_failed)
{
    server().time_out_connections();
    EXPECT_ERROR_ID(delete_remote_file(session(), u"old name"),
                    id_of<ids::DeleteFailed>("old name"));
    EXPECT_TRUE(server().tree().is_file("/home/u/old name"));
    expect_usable_session();
}

TEST_F(RemoteFileTest, relative_delete_after_a_dropped_connection_happens_in_the_login_folder)
{
    server().tree().add_file("/home/u/sub/old name", "meant");
    lose_connection_in_sub();
    delete_remote_file(session(), u"old name");
    EXPECT_EQ(server().received(),
              login() + sent("DELE old name") + home_levels() + sent("CWD sub"));
    EXPECT_FALSE(server().tree().is_file("/home/u/old name"));
    EXPECT_TRUE(server().tree().is_file("/home/u/sub/old name"));
}

TEST_F(RemoteFileTest, line_end_in_a_deleted_path_is_refused_with_its_url_and_sends_nothing)
{
    EXPECT_ERROR_ID(delete_remote_file(session(), u"x\r\nDELE old name"),
                    id_of<ids::DeleteFailed>("x\r\nDELE old name"));
    EXPECT_TRUE(server().tree().is_file("/home/u/old name"));
    EXPECT_THAT(server().received(), testing::Each(testing::Not(testing::StartsWith("DELE"))));
    expect_usable_session();
}

// Renaming

TEST_F(RemoteFileTest, rename_is_two_commands)
{
    rename_remote_file(session(), u"old name", u"new name");
    EXPECT_THAT(server().received(), ElementsAre("RNFR old name", "RNTO new name"));
    EXPECT_EQ(server().tree().read("/home/u/new name"), "content");
    EXPECT_FALSE(server().tree().is_file("/home/u/old name"));
    expect_usable_session();
}

TEST_F(RemoteFileTest, rename_sends_both_paths_as_given)
{
    rename_remote_file(session(), u"/home/u/old name", u"sub/größer\"b%20#c");
    EXPECT_THAT(server().received(),
                ElementsAre("RNFR /home/u/old name", "RNTO sub/größer\"b%20#c"));
    EXPECT_EQ(server().tree().read("/home/u/sub/größer\"b%20#c"), "content");
    expect_usable_session();
}

TEST_F(RemoteFileTest, refused_source_ends_a_rename_before_its_second_command)
{
    EXPECT_ERROR_ID(rename_remote_file(session(), u"missing", u"new"), id_of<ids::FTPError>(550));
    EXPECT_EQ(server().received(), sent("RNFR missing") + login_again());
    expect_usable_session();
}

struct rename_row : test_row {
    int reply;
    std::optional<resource_core::BaseMsgID> id;
};

/// What a rename makes of a refusal of one of its commands: the reply decides.
class RenameReplyTest : public RemoteFileTest, public testing::WithParamInterface<rename_row> {
protected:
    void refuse(const std::string& word)
    {
        server().reply_to(word, GetParam().reply, "refused");
        if (GetParam().id)
            EXPECT_ERROR_ID(rename_remote_file(session(), u"old name", u"new"), *GetParam().id);
        else
            EXPECT_NO_THROW(rename_remote_file(session(), u"old name", u"new"));
        EXPECT_TRUE(server().tree().is_file("/home/u/old name"));
        EXPECT_FALSE(server().tree().is_file("/home/u/new"));
    }
};

TEST_P(RenameReplyTest, of_the_source)
{
    refuse("RNFR");
    EXPECT_EQ(server().received(), sent("RNFR old name") + login_again());
    expect_usable_session();
}

TEST_P(RenameReplyTest, of_the_target)
{
    refuse("RNTO");
    EXPECT_EQ(server().received(), sent("RNFR old name", "RNTO new") + login_again());
    expect_usable_session();
}

INSTANTIATE_TEST_SUITE_P(
    Replies, RenameReplyTest,
    testing::Values(rename_row{{"closing"}, 421, {}}, rename_row{{"busy"}, 450, {}},
                    rename_row{{"below"}, 499, {}},
                    rename_row{{"unknown_command"}, 500, id_of<ids::FTPError>(500)},
                    rename_row{{"bad_sequence"}, 503, id_of<ids::FTPError>(503)},
                    rename_row{{"not_logged_in"}, 530, id_of<ids::FTPError>(530)},
                    rename_row{{"not_available"}, 550, id_of<ids::FTPError>(550)},
                    rename_row{{"bad_name"}, 553, id_of<ids::FTPError>(553)},
                    rename_row{{"above"}, 554, {}}),
    label_of<rename_row>);

class RenameOnDyingConnectionTest : public RemoteFileTest,
                                    public testing::WithParamInterface<std::string> {};

TEST_P(RenameOnDyingConnectionTest, is_silent_and_renames_nothing)
{
    server().close_on(GetParam());
    EXPECT_NO_THROW(rename_remote_file(session(), u"old name", u"new"));
    EXPECT_TRUE(server().tree().is_file("/home/u/old name"));
    expect_usable_session();
}

INSTANTIATE_TEST_SUITE_P(Commands, RenameOnDyingConnectionTest, testing::Values("RNFR", "RNTO"));

TEST_F(RemoteFileTest, rename_after_an_idle_time_out_is_silent_and_renames_nothing)
{
    server().time_out_connections();
    EXPECT_NO_THROW(rename_remote_file(session(), u"old name", u"new"));
    EXPECT_TRUE(server().tree().is_file("/home/u/old name"));
    expect_usable_session();
}

TEST_F(RemoteFileTest, relative_rename_after_a_dropped_connection_happens_in_the_login_folder)
{
    server().tree().add_file("/home/u/sub/old name", "meant");
    lose_connection_in_sub();
    rename_remote_file(session(), u"old name", u"new");
    EXPECT_EQ(server().received(),
              login() + sent("RNFR old name", "RNTO new") + home_levels() + sent("CWD sub"));
    EXPECT_EQ(server().tree().read("/home/u/new"), "content");
    EXPECT_EQ(server().tree().read("/home/u/sub/old name"), "meant");
}

TEST_F(RemoteFileTest, line_end_in_a_renamed_path_begins_another_command)
{
    server().tree().add_file("/home/u/other", "");
    // The reply to the deletion is taken for that to the target.
    rename_remote_file(session(), u"old name\r\nDELE other", u"new");
    EXPECT_FALSE(server().tree().is_file("/home/u/other"));
}

// Is it a file?

class IsFileTest : public RemoteFileTest {};

TEST_F(IsFileTest, is_true_for_every_path_while_the_working_folder_can_be_reached)
{
    for (const std::u16string path : {u"old name", u"missing", u"sub", u"/nowhere/at/all", u""})
        EXPECT_TRUE(is_file(session(), path));
    expect_usable_session();
}

TEST_F(IsFileTest, costs_an_unknown_command_and_a_login)
{
    EXPECT_TRUE(is_file(session(), u"a \"größer\""));
    EXPECT_EQ(server().received(), sent("statvfs \"a \"größer\"\"") + login_again());
    EXPECT_THAT(server().received_on(2), testing::SizeIs(login_again().size()));
    expect_usable_session();
}

TEST_F(IsFileTest, is_true_without_a_login_where_the_command_is_known)
{
    server().reply_to("STATVFS", 200, "Fine.");
    EXPECT_TRUE(is_file(session(), u"missing"));
    EXPECT_THAT(server().received(), ElementsAre("statvfs \"missing\""));
    expect_usable_session();
}

class IsFileReplyTest : public IsFileTest, public testing::WithParamInterface<int> {};

TEST_P(IsFileReplyTest, is_true_whatever_the_refusal)
{
    server().reply_to("STATVFS", GetParam(), "refused");
    EXPECT_TRUE(is_file(session(), u"missing"));
    EXPECT_EQ(server().received(), sent("statvfs \"missing\"") + login_again());
    expect_usable_session();
}

INSTANTIATE_TEST_SUITE_P(Replies, IsFileReplyTest, testing::Values(421, 450, 500, 502, 550));

TEST_F(IsFileTest, is_false_when_the_working_folder_is_gone)
{
    cd(session(), std::string(home_url) + "sub");
    server().take_received();
    ASSERT_TRUE(server().tree().remove_folder("/home/u/sub"));
    EXPECT_FALSE(is_file(session(), u"old name"));
    // The move back and the last request each fail to enter the folder.
    const auto vain_walk = home_levels() + sent("CWD sub");
    EXPECT_EQ(server().received(), sent("statvfs \"old name\"") + login() + vain_walk + vain_walk);
}

TEST_F(IsFileTest, is_false_when_nobody_lets_the_session_in_again)
{
    server().reply_to("PASS", 530, "No.");
    EXPECT_FALSE(is_file(session(), u"old name"));
    EXPECT_EQ(server().received(),
              sent("statvfs \"old name\"", "USER u", "PASS secret", "USER u", "PASS secret"));
    expect_usable_session();
}

TEST_F(IsFileTest, raises_with_libcurls_code_on_a_connection_that_dies)
{
    server().close_on("STATVFS");
    EXPECT_ERROR_ID(is_file(session(), u"old name"), id_of<ids::FTPError>(CURLE_RECV_ERROR));
    EXPECT_EQ(server().received(), sent("statvfs \"old name\"") + login_again());
    expect_usable_session();
}

TEST_F(IsFileTest, is_true_on_a_silent_server_after_20_seconds)
{
    transfer_timeout(session(), 200);
    server().stay_silent_on("STATVFS");
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(is_file(session(), u"missing"));
    const auto elapsed = std::chrono::steady_clock::now() - start;
    EXPECT_GE(elapsed, std::chrono::seconds(19));
    EXPECT_LT(elapsed, std::chrono::seconds(60));
    EXPECT_EQ(server().received(), sent("statvfs \"missing\"") + login_again());
    expect_usable_session();
}

/// Where each listing takes longer than a transfer time-out.
class TimeOutAfterIsFileTest : public IsFileTest {
protected:
    void SetUp() override
    {
        IsFileTest::SetUp();
        server().list_as(listing + "\r\n");
        server().pace_data({.piece = 1, .gap = std::chrono::milliseconds(100)});
        transfer_timeout(session(), 1000);
    }

    const std::string listing = "thirty characters in one piece";
};

TEST_F(TimeOutAfterIsFileTest, ends_a_listing_before_it)
{
    EXPECT_NE(nlst(session(), ""), listing + "\n");
}

TEST_F(TimeOutAfterIsFileTest, is_gone)
{
    EXPECT_TRUE(is_file(session(), u"missing"));
    EXPECT_EQ(nlst(session(), ""), listing + "\n");
}

} // namespace

} // namespace tarnix::test

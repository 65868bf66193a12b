#include "core_session.hpp"

#include <support/identifier_matchers.hpp>

#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <vector>

using namespace tarnix::test;
using testing::Contains;
using testing::ElementsAre;
using testing::StartsWith;
using testing::UnorderedElementsAre;

namespace fs = std::filesystem;

namespace {

std::vector<std::string> names_in(const fs::path& folder)
{
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder))
        names.push_back(entry.path().filename());
    return names;
}

class FtpRemoteFileQuirks : public core_session {
protected:
    FtpRemoteFileQuirks()
    {
        reset(server_);
        connect(session(), ftp_login(server_));
        fs::resize_file(server_["log"], 0);
    }

    fs::path root() const { return server_.root(); }
    std::vector<std::string> commands() const { return commands_received(server_); }

private:
    const live_server& server_ = running_server("vsftpd");
};

TEST_F(FtpRemoteFileQuirks, successful_operations_send_their_commands_and_nothing_else)
{
    write_bytes(root() / "old name", "x");
    core::rename_remote_file(session(), u"old name", u"a \"b\" %20");
    core::delete_remote_file(session(), u"a \"b\" %20");
    core::syst(session());
    EXPECT_THAT(commands(),
                ElementsAre("RNFR old name", "RNTO a \"b\" %20", "DELE a \"b\" %20", "SYST"));
}

TEST_F(FtpRemoteFileQuirks, refusal_costs_a_whole_new_login)
{
    EXPECT_ERROR_ID(core::delete_remote_file(session(), u"missing"),
                    id_of<ids::DeleteFailed>("missing"));
    EXPECT_EQ(commands().front(), "DELE missing");
    EXPECT_THAT(commands(), Contains(StartsWith("USER ")));
    EXPECT_EQ(core::pwd(session()), root());
}

TEST_F(FtpRemoteFileQuirks, is_file_sends_a_command_that_the_server_does_not_know)
{
    EXPECT_TRUE(core::is_file(session(), u"two words"));
    EXPECT_EQ(commands().front(), "STATVFS \"two words\"") << "the log has words in capitals";
    EXPECT_THAT(commands(), Contains(StartsWith("USER ")));
}

TEST_F(FtpRemoteFileQuirks, is_file_is_false_once_the_working_folder_is_gone)
{
    make_folder(root() / "here");
    core::cd(session(), core::fullurl(session(), "here", false));
    fs::remove(root() / "here");
    EXPECT_FALSE(core::is_file(session(), u"file"));
}

TEST_F(FtpRemoteFileQuirks, folder_is_renamed_like_a_file)
{
    make_folder(root() / "folder");
    core::rename_remote_file(session(), u"folder", u"new");
    EXPECT_THAT(names_in(root()), ElementsAre("new"));
}

class SftpRemoteFileQuirks : public core_session {
protected:
    SftpRemoteFileQuirks()
    {
        reset(server_);
        sftp_login login(server_);
        login.starting_folder = root();
        connect_with_password(session(), login);
    }

    fs::path root() const { return server_.root(); }

private:
    const live_server& server_ = running_server("sshd");
};

TEST_F(SftpRemoteFileQuirks, double_quote_cuts_the_path_of_a_deletion_short)
{
    write_bytes(root() / "a", "not meant");
    write_bytes(root() / "a\"b", "meant");
    core::sftp_delete_remote_file(session(), u"a\"b");
    EXPECT_THAT(names_in(root()), ElementsAre("a\"b"));
}

TEST_F(SftpRemoteFileQuirks, double_quote_in_the_source_makes_a_rename_of_other_names)
{
    write_bytes(root() / "a", "not meant");
    write_bytes(root() / "a\"b", "meant");
    core::sftp_rename_remote_file(session(), u"a\"b", u"new");
    EXPECT_THAT(names_in(root()), UnorderedElementsAre("a\"b", "b\""));
    EXPECT_EQ(read_bytes(root() / "b\""), "not meant");
}

TEST_F(SftpRemoteFileQuirks, double_quote_cuts_the_target_of_a_rename_short)
{
    write_bytes(root() / "a", "content");
    core::sftp_rename_remote_file(session(), u"a", u"new\"name");
    EXPECT_THAT(names_in(root()), ElementsAre("new"));
}

TEST_F(SftpRemoteFileQuirks, rename_onto_an_existing_file_is_silent_and_changes_nothing)
{
    write_bytes(root() / "from", "from");
    write_bytes(root() / "to", "to");
    core::sftp_rename_remote_file(session(), u"from", u"to");
    EXPECT_EQ(read_bytes(root() / "to"), "to");
    EXPECT_EQ(read_bytes(root() / "from"), "from");
}

TEST_F(SftpRemoteFileQuirks, reply_code_is_0_after_success_and_failure)
{
    write_bytes(root() / "file", "content");
    core::sftp_rename_remote_file(session(), u"missing", u"new");
    EXPECT_EQ(core::last_response_code(session()), 0);
    core::sftp_rename_remote_file(session(), u"file", u"new");
    EXPECT_EQ(core::last_response_code(session()), 0);
    EXPECT_THAT(names_in(root()), ElementsAre("new"));
}

TEST_F(SftpRemoteFileQuirks, deleting_a_link_leaves_its_target)
{
    write_bytes(root() / "target", "content");
    fs::create_symlink(root() / "target", root() / "link");
    core::sftp_delete_remote_file(session(), u"link");
    EXPECT_THAT(names_in(root()), ElementsAre("target"));
}

TEST_F(SftpRemoteFileQuirks, is_file_is_true_for_a_folder_and_stays_in_the_working_folder)
{
    make_folder(root() / "folder");
    EXPECT_TRUE(core::is_file(session(), u"folder"));
    EXPECT_TRUE(core::is_file(session(), (root() / "missing" / "file").u16string()));
    EXPECT_EQ(core::pwd(session()), root().string() + "/");
}

TEST_F(SftpRemoteFileQuirks, syst_is_empty)
{
    EXPECT_EQ(core::syst(session()), "");
}

} // namespace

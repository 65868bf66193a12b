#include "ftp_flavours.hpp"

#include <support/identifier_matchers.hpp>

#include <gmock/gmock.h>

#include <filesystem>

using namespace tarnix::test;

namespace fs = std::filesystem;

namespace {

class FtpRemoteFileTest : public connected_ftp {
protected:
    void TearDown() override { EXPECT_EQ(core::pwd(session()), root()); }
};

INSTANTIATE_TEST_SUITE_P(Vsftpd, FtpRemoteFileTest, all_ftp_flavours, name_of_flavour);

TEST_P(FtpRemoteFileTest, deletes_a_file)
{
    make_folder(root() / "sub");
    for (const std::u16string name : {u"two words", u"größer", u"50%41", u"a#b", u"sub/inner"}) {
        write_bytes(root() / name, "content");
        core::delete_remote_file(session(), name);
        EXPECT_FALSE(fs::exists(root() / name)) << fs::path(name);
    }
    const auto absolute = write_bytes(root() / "absolute", "content");
    core::delete_remote_file(session(), absolute.u16string());
    EXPECT_FALSE(fs::exists(absolute));
}

TEST_P(FtpRemoteFileTest, deletes_a_file_in_the_working_folder)
{
    make_folder(root() / "sub");
    write_bytes(root() / "name", "stays");
    write_bytes(root() / "sub" / "name", "goes");
    core::cd(session(), root_url() + "sub/");
    core::delete_remote_file(session(), u"name");
    EXPECT_FALSE(fs::exists(root() / "sub" / "name"));
    EXPECT_EQ(read_bytes(root() / "name"), "stays");
    core::cd(session(), root_url());
}

TEST_P(FtpRemoteFileTest, refused_deletion_failed)
{
    make_folder(root() / "folder");
    make_folder(root() / "locked");
    write_bytes(root() / "locked" / "file", "content");
    fs::permissions(root() / "locked", fs::perms(0555));
    for (const auto* name : {"missing", "folder", "locked/file"})
        EXPECT_ERROR_ID(core::delete_remote_file(session(), fs::path(name).u16string()),
                        id_of<ids::DeleteFailed>(name));
    EXPECT_EQ(read_bytes(root() / "locked" / "file"), "content");
}

TEST_P(FtpRemoteFileTest, renames_and_moves_a_file)
{
    make_folder(root() / "sub");
    write_bytes(root() / "old name", "content");
    core::rename_remote_file(session(), u"old name", u"neuer Name ü");
    EXPECT_EQ(read_bytes(root() / u"neuer Name ü"), "content");
    core::rename_remote_file(session(), u"neuer Name ü", u"sub/moved");
    EXPECT_EQ(read_bytes(root() / "sub" / "moved"), "content");
    EXPECT_FALSE(fs::exists(root() / u"neuer Name ü"));
}

TEST_P(FtpRemoteFileTest, rename_replaces_the_target)
{
    write_bytes(root() / "from", "new");
    write_bytes(root() / "to", "old");
    core::rename_remote_file(session(), u"from", u"to");
    EXPECT_EQ(read_bytes(root() / "to"), "new");
}

TEST_P(FtpRemoteFileTest, refused_rename_carries_the_reply_code)
{
    write_bytes(root() / "file", "content");
    EXPECT_ERROR_ID(core::rename_remote_file(session(), u"missing", u"new"),
                    id_of<ids::FTPError>(550LL));
    EXPECT_ERROR_ID(core::rename_remote_file(session(), u"file", u"missing/new"),
                    id_of<ids::FTPError>(550LL));
    EXPECT_EQ(read_bytes(root() / "file"), "content");
}

TEST_P(FtpRemoteFileTest, is_file_is_true_whatever_the_path)
{
    write_bytes(root() / "file", "content");
    EXPECT_TRUE(core::is_file(session(), u"file"));
    EXPECT_TRUE(core::is_file(session(), u"missing"));
}

TEST_P(FtpRemoteFileTest, syst_holds_the_reply_of_the_server)
{
    EXPECT_THAT(core::syst(session()), testing::HasSubstr("215 UNIX Type: L8\r\n"));
}

} // namespace

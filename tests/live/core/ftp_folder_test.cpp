#include "ftp_flavours.hpp"

#include <support/identifier_matchers.hpp>

#include <filesystem>

using namespace tarnix::test;

namespace fs = std::filesystem;

namespace {

class FtpFolderTest : public connected_ftp {
protected:
    void TearDown() override
    {
        EXPECT_EQ(core::current_remote_url(session()), root_url());
        EXPECT_EQ(core::pwd(session()), root()) << "the session is not where it was";
    }
};

INSTANTIATE_TEST_SUITE_P(Vsftpd, FtpFolderTest, all_ftp_flavours, name_of_flavour);

TEST_P(FtpFolderTest, is_folder_tells_folders_from_all_else)
{
    make_folder(root() / "a b" / "ü#%41");
    write_bytes(root() / "file", "x");
    EXPECT_TRUE(core::is_folder(session(), "a b"));
    EXPECT_TRUE(core::is_folder(session(), "a b/ü#%41"));
    EXPECT_TRUE(core::is_folder(session(), (root() / "a b").string()));
    EXPECT_TRUE(core::is_folder(session(), "/"));
    EXPECT_FALSE(core::is_folder(session(), "file"));
    EXPECT_FALSE(core::is_folder(session(), "missing"));
    EXPECT_FALSE(core::is_folder(session(), "missing/deeper"));
}

TEST_P(FtpFolderTest, is_folder_is_false_where_entry_is_refused)
{
    make_folder(root() / "closed");
    fs::permissions(root() / "closed", fs::perms::none);
    EXPECT_FALSE(core::is_folder(session(), "closed"));
}

TEST_P(FtpFolderTest, creates_a_folder)
{
    for (const std::string name : {"plain", "two words", "größer", "50%", "a#b", "-l"}) {
        core::create_folder(session(), name);
        EXPECT_TRUE(fs::is_directory(root() / name)) << name;
    }
}

TEST_P(FtpFolderTest, creates_a_folder_by_a_longer_path)
{
    core::create_folder(session(), "outer");
    core::create_folder(session(), "outer/inner");
    core::create_folder(session(), (root() / "absolute").string());
    EXPECT_TRUE(fs::is_directory(root() / "outer" / "inner"));
    EXPECT_TRUE(fs::is_directory(root() / "absolute"));
}

TEST_P(FtpFolderTest, creates_a_folder_in_the_working_folder)
{
    core::create_folder(session(), "outer");
    core::cd(session(), root_url() + "outer/");
    core::create_folder(session(), "inner");
    EXPECT_TRUE(fs::is_directory(root() / "outer" / "inner"));
    core::cd(session(), root_url());
}

TEST_P(FtpFolderTest, refused_creation_could_not_create_the_folder)
{
    make_folder(root() / "there");
    make_folder(root() / "locked");
    fs::permissions(root() / "locked", fs::perms(0555));
    for (const std::string name : {"there", "missing/inner", "locked/inner"})
        EXPECT_ERROR_ID(core::create_folder(session(), name),
                        id_of<ids::CouldNotCreateFolder>(name));
    EXPECT_FALSE(fs::exists(root() / "missing"));
}

TEST_P(FtpFolderTest, deletes_an_empty_folder)
{
    for (const std::string name : {"plain", "two words", "größer"}) {
        make_folder(root() / name);
        core::delete_folder(session(), name);
        EXPECT_FALSE(fs::exists(root() / name)) << name;
    }
}

TEST_P(FtpFolderTest, every_refused_deletion_reads_as_not_empty)
{
    make_folder(root() / "full" / "inner");
    write_bytes(root() / "file", "x");
    for (const std::string name : {"full", "file", "missing"})
        EXPECT_ERROR_ID(core::delete_folder(session(), name), id_of<ids::FolderNotEmpty>(name));
    EXPECT_TRUE(fs::is_directory(root() / "full" / "inner"));
    EXPECT_TRUE(fs::is_regular_file(root() / "file"));
}

} // namespace

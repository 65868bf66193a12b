#include "ftp_flavours.hpp"

#include <support/identifier_matchers.hpp>

#include <filesystem>

using namespace tarnix::test;

namespace fs = std::filesystem;

namespace {

using FtpWorkingFolderTest = connected_ftp;

INSTANTIATE_TEST_SUITE_P(Vsftpd, FtpWorkingFolderTest, all_ftp_flavours, name_of_flavour);

TEST_P(FtpWorkingFolderTest, pwd_names_the_working_folder)
{
    EXPECT_EQ(core::pwd(session()), root());
    core::unsafe_cd(session(), "ftp://127.0.0.1//");
    EXPECT_EQ(core::pwd(session()), "/");
}

TEST_P(FtpWorkingFolderTest, cd_moves_the_session_and_names_the_folder)
{
    make_folder(root() / "a b" / "c");
    EXPECT_EQ(core::cd(session(), root_url() + "a%20b"), root() / "a b");
    EXPECT_EQ(core::current_remote_url(session()), root_url() + "a%20b/");
    EXPECT_EQ(core::cd(session(), core::fullurl(session(), "c", false)), root() / "a b" / "c");
    EXPECT_EQ(core::pwd(session()), root() / "a b" / "c");
}

TEST_P(FtpWorkingFolderTest, cd_to_a_missing_folder_leaves_the_session_where_it_was)
{
    make_folder(root() / "here");
    core::cd(session(), root_url() + "here/");
    const auto missing = root_url() + "missing";
    EXPECT_ERROR_ID(core::cd(session(), missing), id_of<ids::NoSuchDirectory>(missing));
    EXPECT_EQ(core::current_remote_url(session()), root_url() + "here/");
    EXPECT_EQ(core::pwd(session()), root() / "here");
}

TEST_P(FtpWorkingFolderTest, cd_to_a_file_or_a_closed_folder_is_no_such_directory)
{
    write_bytes(root() / "file", "x");
    make_folder(root() / "closed");
    fs::permissions(root() / "closed", fs::perms::none);
    for (const auto* name : {"file", "closed"})
        EXPECT_ERROR_ID(core::cd(session(), root_url() + name),
                        id_of<ids::NoSuchDirectory>(root_url() + name));
    EXPECT_EQ(core::pwd(session()), root());
}

TEST_P(FtpWorkingFolderTest, doubled_quotes_of_a_name_stay_doubled)
{
    make_folder(root() / "a\"b");
    EXPECT_EQ(core::cd(session(), root_url() + "a%22b"), root().string() + "/a\"\"b");
}

TEST_P(FtpWorkingFolderTest, fullfile_puts_a_name_after_the_working_folder)
{
    make_folder(root() / "here");
    core::cd(session(), root_url() + "here/");
    EXPECT_EQ(core::fullfile(session(), "name"), (root() / "here" / "name").string());
}

TEST_P(FtpWorkingFolderTest, last_response_code_is_that_of_the_server)
{
    core::list(session(), "");
    EXPECT_EQ(core::last_response_code(session()), 226);
}

} // namespace

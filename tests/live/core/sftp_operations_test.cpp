#include "core_session.hpp"
#include "transfer_cases.hpp"

#include <support/identifier_matchers.hpp>

#include <gmock/gmock.h>

#include <filesystem>

using namespace tarnix::test;
using testing::HasSubstr;
using testing::StartsWith;
using testing::UnorderedElementsAre;

namespace fs = std::filesystem;

namespace {

/// Connected to the empty home folder, named as starting folder.
class SftpTest : public core_session {
protected:
    SftpTest()
    {
        reset(server_);
        start_in(root());
    }

    fs::path root() const { return server_.root(); }
    std::string url_of(const fs::path& path) const { return "sftp://127.0.0.1" + path.string(); }

    void start_in(const fs::path& folder)
    {
        sftp_login login(server_);
        login.starting_folder = folder;
        connect_with_password(session(), login);
    }

private:
    const live_server& server_ = running_server("sshd");
};

TEST_F(SftpTest, pwd_is_the_folder_with_a_slash)
{
    EXPECT_EQ(core::pwd(session()), root().string() + "/");
}

TEST_F(SftpTest, cd_moves_the_session)
{
    make_folder(root() / "a b");
    EXPECT_EQ(core::cd(session(), url_of(root()) + "/a%20b"), (root() / "a b").string() + "/");
    EXPECT_EQ(core::current_remote_url(session()), url_of(root()) + "/a%20b/");
}

TEST_F(SftpTest, nobody_checks_whether_a_folder_exists)
{
    write_bytes(root() / "file", "x");
    EXPECT_TRUE(core::is_folder(session(), "missing"));
    EXPECT_TRUE(core::is_folder(session(), "file"));
    EXPECT_EQ(core::cd(session(), url_of(root() / "missing")), (root() / "missing").string() + "/");
}

TEST_F(SftpTest, sftp_is_folder_lists_the_folder)
{
    make_folder(root() / "a b");
    write_bytes(root() / "a b" / "inner", "12345");
    const auto [code, listing] = core::sftp_is_folder(session(), "a b/", false);
    EXPECT_EQ(code, CURLE_OK);
    EXPECT_THAT(listing, HasSubstr(" inner\n"));
    EXPECT_THAT(listing, HasSubstr("-rw"));
    EXPECT_EQ(core::sftp_is_folder(session(), "a%20b/", true).first, CURLE_OK);
}

TEST_F(SftpTest, sftp_is_folder_of_a_missing_folder_fails_without_raising)
{
    EXPECT_NE(core::sftp_is_folder(session(), "missing/", false).first, CURLE_OK);
    EXPECT_EQ(core::pwd(session()), root().string() + "/");
}

TEST_F(SftpTest, listings_are_the_names_in_the_working_folder_whatever_the_path)
{
    make_folder(root() / "sub");
    write_bytes(root() / "file", "x");
    write_bytes(root() / "sub" / "inner", "x");
    const auto all = UnorderedElementsAre(".", "..", "sub", "file");
    EXPECT_THAT(core::dir(session(), ""), all);
    EXPECT_THAT(core::dir(session(), "sub"), all);
    EXPECT_EQ(core::list(session(), ""), core::nlst(session(), "missing"));
}

TEST_F(SftpTest, creates_folders)
{
    core::sftp_create_folder(session(), "two words");
    core::sftp_create_folder(session(), "größer");
    core::sftp_create_folder(session(), (root() / "absolute").string());
    for (const auto* name : {"two words", "größer", "absolute"})
        EXPECT_TRUE(fs::is_directory(root() / name)) << name;
}

TEST_F(SftpTest, relative_folders_are_made_and_removed_in_the_login_folder)
{
    make_folder(root() / "sub");
    start_in(root() / "sub");
    core::sftp_create_folder(session(), "new");
    EXPECT_TRUE(fs::is_directory(root() / "new"));
    EXPECT_FALSE(fs::exists(root() / "sub" / "new"));
    core::sftp_delete_folder(session(), "new");
    EXPECT_FALSE(fs::exists(root() / "new"));
}

TEST_F(SftpTest, refused_creation_could_not_create_the_folder)
{
    make_folder(root() / "there");
    for (const std::string name : {"there", "missing/inner"})
        EXPECT_ERROR_ID(core::sftp_create_folder(session(), name),
                        id_of<ids::CouldNotCreateFolder>(name));
}

TEST_F(SftpTest, a_double_quote_ends_the_name_of_a_new_folder)
{
    core::sftp_create_folder(session(), "a\"b");
    EXPECT_TRUE(fs::is_directory(root() / "a"));
    EXPECT_FALSE(fs::exists(root() / "a\"b"));
}

TEST_F(SftpTest, deletes_an_empty_folder)
{
    make_folder(root() / "two words");
    core::sftp_delete_folder(session(), "two words");
    EXPECT_FALSE(fs::exists(root() / "two words"));
    make_folder(root() / "absolute");
    core::sftp_delete_folder(session(), (root() / "absolute").string());
    EXPECT_FALSE(fs::exists(root() / "absolute"));
}

TEST_F(SftpTest, refused_deletion_is_reply_zero_and_a_line_on_standard_error)
{
    make_folder(root() / "full" / "inner");
    for (const std::string name : {"full", "missing"}) {
        testing::internal::CaptureStderr();
        EXPECT_ERROR_ID(core::sftp_delete_folder(session(), name), id_of<ids::FTPError>(0LL));
        EXPECT_THAT(testing::internal::GetCapturedStderr(), StartsWith("\nlibcurl: (21) "));
    }
    EXPECT_TRUE(fs::is_directory(root() / "full" / "inner"));
}

TEST_F(SftpTest, binary_upload_and_download_keep_every_byte)
{
    expect_all_bytes_kept(session(), root(), local());
}

TEST_F(SftpTest, empty_file)
{
    expect_empty_file_kept(session(), root(), local());
}

TEST_F(SftpTest, names_with_blanks_and_other_letters_and_folders)
{
    make_folder(root() / "sub");
    const auto original = write_bytes(local() / "original", "content").u16string();
    const auto copy = local() / "copy";
    for (const std::u16string name : {u"two words", u"größer", u"50%41", u"a#b?c", u"sub/inner"}) {
        core::send_file(session(), original, name, binary);
        EXPECT_EQ(read_bytes(root() / name), "content");
        core::receive_file(session(), name, copy.u16string(), binary);
        EXPECT_EQ(read_bytes(copy), "content");
        fs::remove(copy);
    }
    const auto absolute = root() / "sub" / "absolute";
    core::send_file(session(), original, absolute.u16string(), binary);
    EXPECT_EQ(read_bytes(absolute), "content");
}

TEST_F(SftpTest, text_upload_stores_carriage_returns_and_download_keeps_them)
{
    const auto original = write_bytes(local() / "original", "a\nb\n").u16string();
    core::send_file(session(), original, u"remote", as_text);
    EXPECT_EQ(read_bytes(root() / "remote"), "a\r\nb\r\n");
    const auto copy = local() / "copy";
    core::receive_file(session(), u"remote", copy.u16string(), as_text);
    EXPECT_EQ(read_bytes(copy), "a\r\nb\r\n");
}

TEST_F(SftpTest, missing_remote_file_is_reply_zero_and_leaves_an_empty_one)
{
    const auto copy = write_bytes(local() / "copy", "old content");
    EXPECT_ERROR_ID(core::receive_file(session(), u"missing", copy.u16string(), binary),
                    id_of<ids::FTPError>(0LL));
    EXPECT_EQ(read_bytes(copy), "");
}

TEST_F(SftpTest, missing_local_file_is_not_found)
{
    const auto missing = (local() / "missing").u16string();
    EXPECT_ERROR_ID(core::send_file(session(), missing, u"remote", binary),
                    id_of<ids::NotFound>(missing));
}

TEST_F(SftpTest, refused_upload_failed)
{
    make_folder(root() / "locked");
    fs::permissions(root() / "locked", fs::perms(0555));
    const auto original = write_bytes(local() / "original", "content").u16string();
    for (const std::u16string name : {u"missing/remote", u"locked/remote"})
        EXPECT_ERROR_ID(core::send_file(session(), original, name, binary),
                        id_of<ids::UploadFailed>(original));
}

TEST_F(SftpTest, deletes_a_file)
{
    make_folder(root() / "sub");
    for (const std::u16string name : {u"two words", u"größer", u"sub/inner"}) {
        write_bytes(root() / name, "content");
        core::sftp_delete_remote_file(session(), name);
        EXPECT_FALSE(fs::exists(root() / name)) << fs::path(name);
    }
    const auto absolute = write_bytes(root() / "absolute", "content");
    core::sftp_delete_remote_file(session(), absolute.u16string());
    EXPECT_FALSE(fs::exists(absolute));
}

TEST_F(SftpTest, deletes_a_file_in_the_working_folder)
{
    make_folder(root() / "sub");
    write_bytes(root() / "name", "stays");
    write_bytes(root() / "sub" / "name", "goes");
    start_in(root() / "sub");
    core::sftp_delete_remote_file(session(), u"name");
    EXPECT_FALSE(fs::exists(root() / "sub" / "name"));
    EXPECT_EQ(read_bytes(root() / "name"), "stays");
}

TEST_F(SftpTest, refused_deletion_failed)
{
    make_folder(root() / "folder");
    for (const auto* name : {"missing", "folder"})
        EXPECT_ERROR_ID(core::sftp_delete_remote_file(session(), fs::path(name).u16string()),
                        id_of<ids::DeleteFailed>(name));
}

TEST_F(SftpTest, renames_and_moves_a_file)
{
    make_folder(root() / "sub");
    write_bytes(root() / "old name", "content");
    core::sftp_rename_remote_file(session(), u"old name", u"neuer Name ü");
    EXPECT_EQ(read_bytes(root() / u"neuer Name ü"), "content");
    core::sftp_rename_remote_file(session(), u"neuer Name ü",
                                  (root() / "sub" / "moved").u16string());
    EXPECT_EQ(read_bytes(root() / "sub" / "moved"), "content");
}

TEST_F(SftpTest, refused_rename_is_silent)
{
    core::sftp_rename_remote_file(session(), u"missing", u"new");
    EXPECT_FALSE(fs::exists(root() / "new"));
    write_bytes(root() / "from", "from");
    core::sftp_rename_remote_file(session(), u"from", u"missing/new");
    EXPECT_EQ(read_bytes(root() / "from"), "from");
}

TEST_F(SftpTest, is_file_is_true_whatever_the_path)
{
    write_bytes(root() / "file", "content");
    EXPECT_TRUE(core::is_file(session(), u"file"));
    EXPECT_TRUE(core::is_file(session(), u"missing"));
}

} // namespace
